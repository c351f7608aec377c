#include "gstreamer/Pipeline.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

using namespace gsttest;
using integration::VirtualBus;
using testing::HasSubstr;

std::string CameraWith(const std::string& faults, const std::string& rate = R"("frameRate": 200)") {
    return R"([{"serial": "7", "sensorWidth": 64, "sensorHeight": 64, )" + rate + R"(, "faults": {)" + faults + "}}]";
}
constexpr char kUnplug[] = R"("stream": [{"fault": "Unplug", "frame": 5, "value": 100}])";

TEST(GstLoss, OfAnImageIsFlaggedAndTold) {
    // Without a rate of its own, so that a busy machine misses none beside the one that the fault takes.
    VirtualBus bus(CameraWith(R"("stream": [{"fault": "LostTrailer", "frame": 3}])", R"("frameRateEnable": false)"));
    Pipeline pipeline(std::string("tavixsrc name=src num-buffers=6") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    for (guint64 i = 0; i < 6; ++i) {
        const Handle<GstSample> sample = pipeline.Pull();
        ASSERT_TRUE(sample);
        GstBuffer* buffer = gst_sample_get_buffer(sample.get());
        const bool isAfter = Unsigned(FactsOf(sample.get()), "block-id") == 4;
        EXPECT_EQ(GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT), i == 0 || isAfter) << i;
        EXPECT_EQ(Unsigned(FactsOf(sample.get()), "missed-before"), isAfter ? 1U : 0U);
        EXPECT_EQ(GST_BUFFER_OFFSET(buffer), Unsigned(FactsOf(sample.get()), "block-id"));
    }
    const Handle<GstMessage> message = pipeline.Await(GST_MESSAGE_QOS);
    ASSERT_TRUE(message);
    guint64 processed = 0, dropped = 0;
    GstFormat format = GST_FORMAT_UNDEFINED;
    gst_message_parse_qos_stats(message.get(), &format, &processed, &dropped);
    EXPECT_EQ(format, GST_FORMAT_BUFFERS);
    EXPECT_EQ(dropped, 1U);
}

TEST(GstLoss, OfTheCameraIsAnError) {
    VirtualBus bus(CameraWith(kUnplug));
    Pipeline pipeline(std::string("tavixsrc name=src") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    const Handle<GstMessage> removed = pipeline.AwaitElementMessage("tavix-removed");
    EXPECT_TRUE(removed);
    EXPECT_THAT(pipeline.AwaitError(), HasSubstr("unplugged"));
}

/// At one command after the other, from when it is open until it sends.
TEST(GstLoss, OfTheCameraBeforeItSendsIsThatError) {
    int lost = 0;
    for (int skip = 0;; ++skip) {
        VirtualBus bus(CameraWith(R"("control": [{"fault": "Unplug", "skip": )" + std::to_string(skip) + "}]"));
        Pipeline pipeline(std::string("tavixsrc name=src") + kAppSink);
        if (!pipeline.Reach(GST_STATE_READY)) continue;
        pipeline.Reach(GST_STATE_PLAYING);
        if (pipeline.Pull()) break;
        EXPECT_THAT(pipeline.AwaitError(), HasSubstr("unplugged; plug it in")) << skip;
        ++lost;
    }
    EXPECT_GT(lost, 5);
}

TEST(GstLoss, OfTheCameraIsRiddenOutOnRequest) {
    VirtualBus bus(CameraWith(std::string(kUnplug) + R"(, "replugAfterMs": 1500)"));
    Pipeline pipeline(std::string("tavixsrc name=src reconnect=true timeout=1000000000 features=ExposureTime=1234 "
                                  "num-buffers=12") +
                      kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    GstClockTime last = 0, longest = 0;
    for (int i = 0; i < 12; ++i) {
        const Handle<GstSample> sample = pipeline.Pull();
        ASSERT_TRUE(sample) << i;
        GstBuffer* buffer = gst_sample_get_buffer(sample.get());
        if (i > 0 && GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT))
            longest = std::max(longest, GST_BUFFER_PTS(buffer) - last);
        last = GST_BUFFER_PTS(buffer);
    }
    EXPECT_GT(longest, 1500 * GST_MSECOND);
    EXPECT_TRUE(pipeline.AwaitElementMessage("tavix-returned"));
    EXPECT_EQ(pipeline.Stat("reconnects"), 1U);
}

/// Whether such an error comes, behind those of the base class.
bool Tells(Pipeline& pipeline, const char* text) {
    for (std::string error; !(error = pipeline.AwaitError()).empty();) {
        if (error.find(text) != std::string::npos) return true;
    }
    return false;
}

TEST(GstLoss, OfTheCameraEndsInReadyOnceItIsBack) {
    VirtualBus bus(CameraWith(std::string(kUnplug) + R"(, "replugAfterMs": 1500)"));
    Pipeline pipeline("tavixsrc post-messages=true ! fakesink");
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    EXPECT_TRUE(Tells(pipeline, "unplugged; plug it in"));
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!pipeline.Reach(GST_STATE_PLAYING)) {
        ASSERT_TRUE(Tells(pipeline, "unplugged; plug it in"));
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    Handle<GstMessage> message;
    do {
        message = pipeline.Await(GST_MESSAGE_ELEMENT);
    } while (message && !gst_message_has_name(message.get(), "tavix-image"));
    EXPECT_TRUE(message);
}

TEST(GstLoss, OfMemoryToThePipelineIsToldAndEndsWithTheFirstBufferThatComesBack) {
    VirtualBus bus(R"([{"serial": "7", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 1000}])");
    Pipeline pipeline(std::string("tavixsrc name=src buffers=2 keep-budget=0") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    const Handle<GstMessage> starved = pipeline.AwaitElementMessage("tavix-starved"); // the appsink holds them all
    EXPECT_TRUE(starved);
    for (int i = 0; i < 50; ++i)
        EXPECT_TRUE(pipeline.Pull());
}

TEST(GstLoss, OfMemoryToThePipelineIsNamedByTheTimeout) {
    VirtualBus bus(R"([{"serial": "7", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 1000}])");
    Pipeline pipeline(std::string("tavixsrc name=src buffers=2 keep-budget=0 timeout=2000000000") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    EXPECT_THAT(pipeline.AwaitError(), HasSubstr("all 2 images that there is memory for are kept"));
}

TEST(GstLoss, OfTheCameraBeforeItIsOpenedIsAnError) {
    VirtualBus bus(CameraWith(R"("refuseClaims": 50)"));
    Pipeline pipeline(std::string("tavixsrc name=src") + kAppSink);
    EXPECT_FALSE(pipeline.Reach(GST_STATE_PLAYING));
    EXPECT_FALSE(pipeline.AwaitError().empty());
}

} // namespace
