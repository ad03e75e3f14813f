#pragma once
// Files that GStreamer makes.

#include <QByteArray>

#include <gst/gst.h>
#include <gtest/gtest.h>

namespace tests {

/// Runs a pipeline to its end.
inline void RunPipeline(const QByteArray& line) {
    gst_init(nullptr, nullptr);
    GstElement* pipeline = gst_parse_launch(line.constData(), nullptr);
    ASSERT_NE(pipeline, nullptr);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    GstBus* bus = gst_element_get_bus(pipeline);
    GstMessage* message =
        gst_bus_timed_pop_filtered(bus, 60 * GST_SECOND, GstMessageType(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    EXPECT_TRUE(message && GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS);
    if (message) gst_message_unref(message);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(bus);
    gst_object_unref(pipeline);
}

}  // namespace tests
