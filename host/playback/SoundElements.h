#pragma once
// The sound's filters as GStreamer elements, "vexasilence" and "vexalevel". They exist in this process only, and each
// has a property "active", false by default. Their sound is 32-bit floating point, of any rate and number of channels.
//
//     RegisterSoundElements();
//     GstRef<GstElement> silence = MakeSoundElement("vexasilence");
//     g_object_set(silence.get(), "active", TRUE, nullptr);
//
// Shortened silence makes the sound end earlier, so the time stamps after such an element are not those of the file:
// they follow each other without gaps, which is what sinks need. FileTime translates them back.

#include "GstRef.h"

#include <cstdint>

namespace vexa::host {

/// Call it after gst_init; repeated calls do nothing. Any thread.
void RegisterSoundElements();
/// Null if there is no such element.
GstRef<GstElement> MakeSoundElement(const char* name);

/// The position in the file for a position that the sink reports, both in ns of stream time. What is still buffered
/// between the element and the sink is accounted for, at every speed. `element` is one of the above. Any thread.
std::int64_t FileTime(GstElement* element, std::int64_t position);

}  // namespace vexa::host
