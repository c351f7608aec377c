#include "gstreamer/Pipeline.h"

#include <gst/check/gstharness.h>

#include <gmock/gmock.h>

namespace {

using namespace gsttest;
using integration::VirtualBus;

constexpr char kTwo[] = R"([
    {"serial": "7", "guid": "120900000007", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 200},
    {"serial": "8", "guid": "120900000008", "sensorWidth": 128, "sensorHeight": 64, "frameRate": 200}])";

TEST(GstState, ChangesFiveHundredTimes) {
    VirtualBus bus(kTwo);
    Pipeline pipeline(std::string("tavixsrc name=src") + kAppSink);
    constexpr GstState kStates[] = {GST_STATE_PLAYING, GST_STATE_PAUSED, GST_STATE_PLAYING, GST_STATE_READY};
    for (int i = 0; i < 500; ++i) {
        const GstState state = i % 50 == 49 ? GST_STATE_NULL : kStates[i % 4];
        ASSERT_TRUE(pipeline.Reach(state)) << i;
        if (i % 20 == 0) {
            EXPECT_TRUE(pipeline.Pull()) << i;
        }
    }
}

TEST(GstState, OfTwoCamerasIsThatOfOnePipeline) {
    VirtualBus bus(kTwo);
    Pipeline pipeline("tavixsrc camera=8 num-buffers=5 ! fakesink "
                      "tavixsrc name=src camera=120900000007 num-buffers=5 ! appsink name=sink sync=false");
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(WidthOf(pipeline.Pull().get()), 64);
    EXPECT_TRUE(pipeline.AwaitEnd());
}

TEST(GstState, KeepsASecondElementFromTheSameCamera) {
    VirtualBus bus(kTwo);
    Pipeline first(std::string("tavixsrc camera=7") + kAppSink), second(std::string("tavixsrc camera=7") + kAppSink);
    ASSERT_TRUE(first.Reach(GST_STATE_READY));
    EXPECT_FALSE(second.Reach(GST_STATE_READY));
    ASSERT_TRUE(first.Reach(GST_STATE_NULL));
    EXPECT_TRUE(second.Reach(GST_STATE_READY));
}

/// Behind what the sink has kept from before: it forgets in NULL only.
bool PullsWidth(Pipeline& pipeline, gint width) {
    while (const Handle<GstSample> sample = pipeline.Pull()) {
        if (WidthOf(sample.get()) == width) return true;
    }
    return false;
}

TEST(GstState, OfReadyTakesAnotherCameraAndOtherEvents) {
    VirtualBus bus(kTwo);
    Pipeline pipeline(std::string("tavixsrc name=src camera=7") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    EXPECT_EQ(WidthOf(pipeline.Pull().get()), 64);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    g_object_set(pipeline.Find("src").get(), "camera", "8", "events", "ExposureEnd", nullptr);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    EXPECT_TRUE(PullsWidth(pipeline, 128));
    EXPECT_TRUE(pipeline.AwaitElementMessage("tavix-event"));
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    g_object_set(pipeline.Find("src").get(), "camera", "nobody", nullptr);
    EXPECT_FALSE(pipeline.Reach(GST_STATE_PLAYING));
    EXPECT_NE(pipeline.AwaitError().find("nobody"), std::string::npos);
    g_object_set(pipeline.Find("src").get(), "camera", "7", nullptr);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    EXPECT_TRUE(PullsWidth(pipeline, 64));
}

TEST(GstState, OfReadyHasOffsetsBeginAnew) {
    VirtualBus bus(kTwo);
    Pipeline pipeline(std::string("tavixsrc camera=7 num-buffers=3") + kAppSink);
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
        const Handle<GstSample> sample = pipeline.Pull();
        ASSERT_TRUE(sample);
        GstBuffer* buffer = gst_sample_get_buffer(sample.get());
        EXPECT_EQ(GST_BUFFER_OFFSET(buffer), Unsigned(FactsOf(sample.get()), "missed-before"));
        EXPECT_TRUE(GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT));
        ASSERT_TRUE(pipeline.Reach(GST_STATE_NULL));
    }
}

TEST(GstState, BelowPlayingHasNothingToTrigger) {
    VirtualBus bus(kTwo);
    Pipeline pipeline(std::string("tavixsrc name=src camera=7 features=\"TriggerMode=On TriggerSource=Software\"") +
                      kAppSink);
    const auto source = pipeline.Find("src");
    for (const GstState state : {GST_STATE_READY, GST_STATE_PAUSED, GST_STATE_PLAYING, GST_STATE_PAUSED}) {
        ASSERT_TRUE(pipeline.Reach(state));
        gboolean isTriggered = FALSE;
        g_signal_emit_by_name(source.get(), "trigger", &isTriggered);
        EXPECT_EQ(isTriggered, state == GST_STATE_PLAYING);
        if (isTriggered) {
            EXPECT_TRUE(pipeline.Pull());
        } else {
            EXPECT_NE(pipeline.AwaitWarning().find("set the pipeline to PLAYING"), std::string::npos);
        }
    }
}

TEST(GstState, RefusesToSeek) {
    VirtualBus bus(kTwo);
    Pipeline pipeline(std::string("tavixsrc name=src") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    ASSERT_TRUE(pipeline.Pull());
    EXPECT_FALSE(gst_element_seek_simple(pipeline.Get(), GST_FORMAT_TIME,
                                         static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_KEY_UNIT), 0));
    EXPECT_TRUE(pipeline.Pull());
}

TEST(GstState, KeepsBuffersAliveLongerThanThePipeline) {
    VirtualBus bus(kTwo);
    Handle<GstSample> kept;
    {
        Pipeline pipeline(std::string("tavixsrc name=src") + kAppSink);
        ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
        kept = pipeline.Pull();
    }
    ASSERT_TRUE(kept);
    GstMapInfo map;
    ASSERT_TRUE(gst_buffer_map(gst_sample_get_buffer(kept.get()), &map, GST_MAP_READ));
    unsigned int sum = 0;
    for (gsize i = 0; i < map.size; ++i)
        sum += map.data[i];
    EXPECT_GT(sum, 0U);
    gst_buffer_unmap(gst_sample_get_buffer(kept.get()), &map);
}

TEST(GstState, OfAHarnessPullsBuffersThatAreLive) {
    VirtualBus bus(kTwo);
    gst_init(nullptr, nullptr);
    GstHarness* harness = gst_harness_new("tavixsrc");
    gst_harness_use_systemclock(harness);
    gst_harness_set_sink_caps_str(harness, "video/x-raw,format=GRAY8,framerate=50/1");
    gst_harness_play(harness);
    for (int i = 0; i < 3; ++i) {
        const Handle<GstBuffer> buffer(gst_harness_pull(harness));
        ASSERT_TRUE(buffer);
        EXPECT_TRUE(GST_BUFFER_PTS_IS_VALID(buffer.get()));
    }
    EXPECT_GE(gst_harness_query_latency(harness), 20 * GST_MSECOND); // a period
    gst_harness_teardown(harness);
}

} // namespace
