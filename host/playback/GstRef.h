#pragma once
// References to GStreamer's objects. Any thread.

#include <memory>

using GstElement = struct _GstElement;

namespace vexa::host {

struct FreeGstObject {
    void operator()(void* object) const noexcept;
};
/// A reference to a GStreamer object.
template <class Object>
using GstRef = std::unique_ptr<Object, FreeGstObject>;

}  // namespace vexa::host
