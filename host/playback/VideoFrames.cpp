#include "VideoFrames.h"

#include <QtGlobal>

#include <gst/gst.h>

namespace vexa::host {

namespace {

/// The toolkit's 32-bit pixels in the order of their bytes.
constexpr const char* kFormat = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? "video/x-raw,format=BGRx" : "video/x-raw,format=xRGB";

/// The memory of a picture, for as long as an image uses it.
struct Mapping {
    std::shared_ptr<GstSample> Sample;
    GstBuffer* Buffer;  // of the sample
    GstMapInfo Map;
};

void FreeMapping(void* held) {
    const std::unique_ptr<Mapping> mapping(static_cast<Mapping*>(held));
    gst_buffer_unmap(mapping->Buffer, &mapping->Map);
}

}  // namespace

void VideoFrames::Tell() {
    if (FIsTold.exchange(true)) return;
    const auto tell = [this] {
        FIsTold = false;
        Q_EMIT Changed();
    };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}

void VideoFrames::Clear() {
    {
        const TLock lock(FMutex);
        FNewest.reset();
    }
    Tell();
}

void VideoFrames::SetWanted(bool areWanted) {
    {
        const TLock lock(FMutex);
        FAreWanted = areWanted;
    }
    if (!areWanted) Clear();
}

void VideoFrames::Take(GstElement* sink, const char* action) {
    GstSample* sample = nullptr;
    g_signal_emit_by_name(sink, action, &sample);
    if (!sample) return;
    std::shared_ptr<GstSample> taken(sample, gst_sample_unref);
    {
        const TLock lock(FMutex);
        if (!FAreWanted) return;
        FNewest.swap(taken);
    }
    Tell();
}

GstElement* VideoFrames::MakeSink() {
    GstElement* sink = gst_element_factory_make("appsink", nullptr);
    if (!sink) return nullptr;
    GstCaps* caps = gst_caps_from_string(kFormat);
    g_object_set(sink, "caps", caps, "emit-signals", TRUE, "max-buffers", 1U, "drop", TRUE, "qos", TRUE,
                 "enable-last-sample", FALSE, nullptr);
    gst_caps_unref(caps);
    using Handler = GstFlowReturn (*)(GstElement*, VideoFrames*);
    const Handler take = [](GstElement* from, VideoFrames* self) {
        self->Take(from, "pull-sample");
        return GST_FLOW_OK;
    };
    const Handler takeFirst = [](GstElement* from, VideoFrames* self) {
        self->Take(from, "pull-preroll");
        return GST_FLOW_OK;
    };
    g_signal_connect(sink, "new-sample", G_CALLBACK(take), this);
    g_signal_connect(sink, "new-preroll", G_CALLBACK(takeFirst), this);
    return sink;
}

VideoFrame VideoFrames::Newest() const {
    auto mapping = std::make_unique<Mapping>();
    {
        const TLock lock(FMutex);
        mapping->Sample = FNewest;
    }
    if (!mapping->Sample) return {};
    const GstCaps* caps = gst_sample_get_caps(mapping->Sample.get());
    mapping->Buffer = gst_sample_get_buffer(mapping->Sample.get());
    if (!caps || !mapping->Buffer) return {};
    const GstStructure* format = gst_caps_get_structure(caps, 0);
    int width = 0, height = 0, across = 1, down = 1;
    gst_structure_get_int(format, "width", &width);
    gst_structure_get_int(format, "height", &height);
    gst_structure_get_fraction(format, "pixel-aspect-ratio", &across, &down);
    constexpr int kPixel = 4;  // bytes
    if (width <= 0 || height <= 0 || !gst_buffer_map(mapping->Buffer, &mapping->Map, GST_MAP_READ)) return {};
    Mapping* const held = mapping.release();
    if (held->Map.size < static_cast<gsize>(width) * static_cast<gsize>(height) * kPixel) {
        FreeMapping(held);
        return {};
    }
    const double aspect = across > 0 && down > 0 ? static_cast<double>(across) / down : 1;
    return {QImage(static_cast<const uchar*>(held->Map.data), width, height, qsizetype(width) * kPixel,
                   QImage::Format_RGB32, FreeMapping, held),
            QSizeF(width * aspect, height)};
}

}  // namespace vexa::host
