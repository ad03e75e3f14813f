#pragma once
// The pictures of a video: keeps the newest one, and drops those that nobody has looked at in time. Main thread, except
// for what GStreamer calls on its own.

#include "VEXA.Runtime.Mutex.h"

#include <QImage>
#include <QObject>
#include <QSizeF>

#include <atomic>
#include <memory>

using GstElement = struct _GstElement;
using GstSample = struct _GstSample;

namespace vexa::host {

struct VideoFrame {
    QImage Picture;    // null when there is none
    QSizeF ShownSize;  // of the picture with square pixels
};

class VideoFrames final : public QObject {
    Q_OBJECT
public:
    ~VideoFrames() override { Clear(); }

    /// The newest picture. It shares the memory that the decoder has filled.
    VideoFrame Newest() const;
    /// Forgets the picture.
    void Clear();
    /// While nobody wants pictures, those that still come are dropped, and there is none.
    void SetWanted(bool areWanted);

    /// Makes a sink that gives its pictures to this object, which has to outlive it. The caller owns it. Null when
    /// GStreamer has none.
    GstElement* MakeSink();

Q_SIGNALS:
    /// There is a newer picture, or none any more.
    void Changed();

private:
    void Take(GstElement* sink, const char* action);
    void Tell();

    mutable TMutex FMutex;
    std::shared_ptr<GstSample> FNewest VEXA_GUARDED_BY(FMutex);
    bool FAreWanted VEXA_GUARDED_BY(FMutex) = false;
    std::atomic<bool> FIsTold{false};  // a notification is on its way to the main thread
};

}  // namespace vexa::host
