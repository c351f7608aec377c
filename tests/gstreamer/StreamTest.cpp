#include "gstreamer/Pipeline.h"

#include <gst/video/video.h>

#include <gmock/gmock.h>

namespace {

using namespace gsttest;
using integration::VirtualBus;
using testing::HasSubstr;

constexpr char kSmall[] = R"([{"serial": "7", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 200}])";
constexpr char kTriggered[] = "features=\"TriggerSource=Software TriggerMode=On\"";

TEST(GstStream, EndsAfterTheBuffersThatWereAskedFor) {
    VirtualBus bus(kSmall);
    Pipeline pipeline(std::string("tavixsrc name=src num-buffers=10") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(pipeline.Pull());
    EXPECT_FALSE(pipeline.Pull());
    EXPECT_TRUE(pipeline.AwaitEnd());
}

TEST(GstStream, ThatDoesNotStartNamesTheProperties) {
    VirtualBus bus(kSmall);
    const char* const wrong[][2] = {{"transfer-size=1", "tavixsrc is set to transfer-size=1"},
                                    {"buffers=100 memory-limit=5000", "buffers=100 memory-limit=5000"}};
    for (const auto& [properties, told] : wrong) {
        Pipeline pipeline(std::string("tavixsrc name=src ") + properties + kAppSink);
        pipeline.Reach(GST_STATE_PLAYING);
        EXPECT_THAT(pipeline.AwaitError(), testing::AllOf(HasSubstr(told), Not(HasSubstr("memoryLimit"))));
    }
}

TEST(GstStream, HandsOnTheMemoryOfTheCamera) {
    VirtualBus bus(kSmall);
    Pipeline pipeline(std::string("tavixsrc name=src num-buffers=5") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    while (const Handle<GstSample> sample = pipeline.Pull()) {
        GstBuffer* buffer = gst_sample_get_buffer(sample.get());
        ASSERT_EQ(gst_buffer_n_memory(buffer), 1U);
        EXPECT_TRUE(gst_memory_is_type(gst_buffer_peek_memory(buffer, 0), "TavixImage"));
        EXPECT_EQ(gst_buffer_get_size(buffer), 64U * 64);
    }
    EXPECT_EQ(pipeline.Stat("copied"), 0U);
}

TEST(GstStream, TakesConvertedImagesFromOnePool) {
    VirtualBus bus(kSmall);
    Pipeline pipeline(std::string("tavixsrc name=src num-buffers=4 convert=true features=PixelFormat=Mono12p ! "
                                  "video/x-raw,format=GRAY16_LE") +
                      kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    const Handle<GstSample> first = pipeline.Pull();
    ASSERT_TRUE(first);
    const GstBufferPool* pool = gst_sample_get_buffer(first.get())->pool;
    EXPECT_NE(pool, nullptr) << "the sink offers none";
    while (const Handle<GstSample> sample = pipeline.Pull())
        EXPECT_EQ(gst_sample_get_buffer(sample.get())->pool, pool);
}

TEST(GstStream, CountsBlocksAndTime) {
    VirtualBus bus(kSmall);
    Pipeline pipeline(std::string("tavixsrc name=src num-buffers=5") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    GstClockTime last = 0;
    for (guint64 i = 0; i < 5; ++i) {
        const Handle<GstSample> sample = pipeline.Pull();
        ASSERT_TRUE(sample);
        GstBuffer* buffer = gst_sample_get_buffer(sample.get());
        EXPECT_GE(GST_BUFFER_OFFSET(buffer), i); // a slow computer may miss some
        EXPECT_EQ(Unsigned(FactsOf(sample.get()), "block-id"), GST_BUFFER_OFFSET(buffer));
        EXPECT_GE(GST_BUFFER_PTS(buffer), last);
        EXPECT_EQ(GST_BUFFER_DURATION(buffer), 5 * GST_MSECOND);
        last = GST_BUFFER_PTS(buffer);
    }
    EXPECT_GT(last, 0U);
}

gint64 Milliseconds(GstClockTimeDiff time) {
    return time / static_cast<GstClockTimeDiff>(GST_MSECOND);
}

/// Also where the sink lets the camera's images wait, and has asked the clock meanwhile.
TEST(GstStream, IsStampedWithTheMomentOfExposure) {
    VirtualBus bus(kSmall);
    Pipeline pipeline("tavixsrc name=src num-buffers=10 ! appsink name=sink sync=true");
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    const Handle<GstSample> first = pipeline.Pull();
    ASSERT_TRUE(first);
    const auto offset = [](const Handle<GstSample>& sample) {
        return GST_CLOCK_DIFF(Unsigned(FactsOf(sample.get()), "camera-time"),
                              GST_BUFFER_PTS(gst_sample_get_buffer(sample.get())));
    };
    while (const Handle<GstSample> sample = pipeline.Pull())
        EXPECT_NEAR(Milliseconds(offset(sample) - offset(first)), 0, 2);
}

TEST(GstStream, IsStampedWithTheMomentOfArrivalOnRequest) {
    VirtualBus bus(kSmall);
    Pipeline pipeline(std::string("tavixsrc name=src num-buffers=5 do-timestamp=true post-messages=true") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    while (const Handle<GstSample> sample = pipeline.Pull()) {
        GstBuffer* buffer = gst_sample_get_buffer(sample.get());
        EXPECT_TRUE(GST_BUFFER_DTS_IS_VALID(buffer));
        EXPECT_EQ(GST_BUFFER_PTS(buffer), GST_BUFFER_DTS(buffer)); // which would be later than the exposure
        const Handle<GstMessage> message = pipeline.AwaitElementMessage("tavix-image");
        ASSERT_TRUE(message);
        EXPECT_EQ(Unsigned(gst_message_get_structure(message.get()), "timestamp"), GST_BUFFER_PTS(buffer));
    }
}

/// It would wait for what waits for it, longer and longer.
TEST(GstStream, CountsNoWaitForThePipelineAsLatency) {
    VirtualBus bus(kSmall);
    Pipeline pipeline("tavixsrc name=src num-buffers=10 ! identity sleep-time=100000 ! fakesink sync=false");
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    ASSERT_TRUE(pipeline.AwaitEnd());
    const std::unique_ptr<GstQuery, decltype(&gst_query_unref)> query(gst_query_new_latency(), &gst_query_unref);
    ASSERT_TRUE(gst_element_query(pipeline.Find("src").get(), query.get()));
    gboolean isLive = FALSE;
    GstClockTime least = 0, most = 0;
    gst_query_parse_latency(query.get(), &isLive, &least, &most);
    EXPECT_TRUE(isLive);
    EXPECT_LT(Milliseconds(static_cast<GstClockTimeDiff>(least)), 300);
    EXPECT_EQ(Milliseconds(static_cast<GstClockTimeDiff>(most - least)), 40); // of eight images
}

TEST(GstStream, IsMadeByTriggers) {
    VirtualBus bus(kSmall);
    Pipeline pipeline(std::string("tavixsrc name=src ") + kTriggered + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    for (int i = 0; i < 3; ++i) {
        gboolean isTriggered = FALSE;
        g_signal_emit_by_name(pipeline.Find("src").get(), "trigger", &isTriggered);
        EXPECT_TRUE(isTriggered);
        const Handle<GstSample> sample = pipeline.Pull();
        ASSERT_TRUE(sample);
        EXPECT_THAT(CapsOf(sample.get()), HasSubstr("framerate=0/1"));
    }
}

TEST(GstStream, IsLeftAtOnceWhileNothingComes) {
    VirtualBus bus(kSmall);
    Pipeline pipeline(std::string("tavixsrc name=src ") + kTriggered + kAppSink);
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
        ASSERT_TRUE(pipeline.Reach(GST_STATE_PAUSED));
        ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
        ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    }
}

TEST(GstStream, FailsAfterSilenceOnlyWhereATimeIsSet) {
    VirtualBus bus(kSmall);
    Pipeline pipeline(std::string("tavixsrc name=src timeout=50000000 ") + kTriggered + " ! fakesink async=false");
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    EXPECT_THAT(pipeline.AwaitError(), HasSubstr("no image came for 50 ms"));
}

} // namespace
