#include "gstreamer/Pipeline.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

#include <unistd.h>

namespace {

using namespace gsttest;
using integration::VirtualBus;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kCapsCamera[] = R"([{"serial": "7", "sensorWidth": 640, "sensorHeight": 480, "frameRate": 100}])";

std::string Offered(Pipeline& pipeline) {
    GstPad* pad = gst_element_get_static_pad(pipeline.Find("src").get(), "src");
    const Handle<GstCaps> caps(gst_pad_query_caps(pad, nullptr));
    gst_object_unref(pad);
    gchar* text = gst_caps_to_string(caps.get());
    const std::string copy = text;
    g_free(text);
    return copy;
}

std::string Feature(Pipeline& pipeline, const char* name) {
    GValue* value = nullptr;
    g_signal_emit_by_name(pipeline.Find("src").get(), "get-feature", name, &value);
    gchar* text = g_strdup_value_contents(value);
    const std::string copy = text;
    g_free(text);
    g_boxed_free(G_TYPE_VALUE, value);
    return copy;
}

TEST(GstCaps, AreTheLimitsOfTheCamera) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(std::string("tavixsrc name=src") + kAppSink);
    EXPECT_THAT(Offered(pipeline), HasSubstr("width=(int)[ 1, 2147483647 ]")); // no camera is open
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    const std::string offered = Offered(pipeline);
    EXPECT_THAT(offered, StartsWith("video/x-raw, format=(string)GRAY8, width=(int)[ 16, 640, 4 ]"));
    EXPECT_THAT(offered, AllOf(HasSubstr("framerate=(fraction)[ 1/10, "), HasSubstr("framerate=(fraction)0/1")));
    for (const char* format : {"RGB", "BGR", "YUY2", "rggb"})
        EXPECT_THAT(offered, HasSubstr(std::string("format=(string)") + format + ","));
    EXPECT_THAT(offered, Not(HasSubstr("GRAY16_LE"))); // the camera has 12 bits, which GStreamer does not
}

TEST(GstCaps, AreSetInTheCamera) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(
        std::string("tavixsrc name=src num-buffers=1 ! video/x-raw,format=BGR,width=320,height=240,framerate=25/2") +
        kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    const Handle<GstSample> sample = pipeline.Pull();
    ASSERT_TRUE(sample);
    EXPECT_EQ(CapsOf(sample.get()), "video/x-raw,format=BGR,width=320,height=240,framerate=25/2");
    EXPECT_EQ(gst_buffer_get_size(gst_sample_get_buffer(sample.get())), 320U * 240 * 3);
    EXPECT_EQ(Feature(pipeline, "PixelFormat"), "\"BGR8\"");
    EXPECT_EQ(Feature(pipeline, "Width"), "320");
    EXPECT_EQ(Feature(pipeline, "AcquisitionFrameRate"), "12.500000");
}

TEST(GstCaps, FollowTheCameraWhereThePipelineDoesNotCare) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(
        std::string("tavixsrc name=src num-buffers=1 features=\"PixelFormat=BayerRG8 Width=128 Height=64\"") +
        kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    const Handle<GstSample> sample = pipeline.Pull();
    ASSERT_TRUE(sample);
    EXPECT_EQ(CapsOf(sample.get()), "video/x-bayer,format=rggb,width=128,height=64,framerate=100/1");
}

TEST(GstCaps, TakeTheNearestOfWhatThePipelineAllows) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(std::string("tavixsrc name=src num-buffers=1 ! video/x-raw,width=[1,330],framerate=[1/1,30/1]") +
                      kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    const Handle<GstSample> sample = pipeline.Pull();
    ASSERT_TRUE(sample);
    EXPECT_THAT(CapsOf(sample.get()), AllOf(HasSubstr("width=328,"), EndsWith("framerate=30/1")));
}

TEST(GstCaps, AreRefusedBeyondTheLimits) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(std::string("tavixsrc name=src ! video/x-raw,width=101") + kAppSink); // no multiple of 4
    pipeline.Reach(GST_STATE_PLAYING);
    const std::string error = pipeline.AwaitError();
    EXPECT_THAT(error, HasSubstr("no such images")) << "what the pipeline wants, and what there is";
    EXPECT_THAT(error, HasSubstr("width=(int)101"));
    EXPECT_THAT(error, HasSubstr("640, 4 ]"));
}

TEST(GstCaps, AreRefusedAtOnce) {
    VirtualBus bus(kCapsCamera);
    gint64 least = G_MAXINT64;
    for (int i = 0; i < 5; ++i) { // a busy computer may be late once
        Pipeline pipeline(std::string("tavixsrc name=src ! video/x-raw,width=101") + kAppSink);
        ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
        const gint64 start = g_get_monotonic_time();
        pipeline.Reach(GST_STATE_PLAYING);
        EXPECT_THAT(pipeline.AwaitError(), HasSubstr("no such images"));
        least = std::min(least, g_get_monotonic_time() - start);
    }
    EXPECT_LT(least, 400000) << "without waiting for the notice that the camera has gone";
}

TEST(GstCaps, DoNotKeepTheReasonWhyAStreamDoesNotStart) {
    VirtualBus bus(kCapsCamera);
    gint64 least = G_MAXINT64;
    for (int i = 0; i < 5; ++i) { // a busy computer may be late once
        Pipeline pipeline(std::string("tavixsrc name=src memory-limit=1000") + kAppSink);
        ASSERT_TRUE(pipeline.Reach(GST_STATE_PAUSED));
        const gint64 start = g_get_monotonic_time();
        pipeline.Reach(GST_STATE_PLAYING);
        EXPECT_THAT(pipeline.AwaitError(), HasSubstr("memory-limit"));
        least = std::min(least, g_get_monotonic_time() - start);
    }
    EXPECT_LT(least, 400000) << "without waiting for the notice that the camera has gone";
}

TEST(GstCaps, CanBeComparedByOthers) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(std::string("tavixsrc name=src") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    const Handle<GstCaps> offered(gst_caps_from_string(Offered(pipeline).c_str()));
    const Handle<GstCaps> wanted(gst_caps_from_string("video/x-raw,framerate=[1/1,30/1]"));
    const Handle<GstCaps> common(gst_caps_intersect(offered.get(), wanted.get()));
    EXPECT_FALSE(gst_caps_is_empty(common.get()));
    EXPECT_TRUE(gst_caps_is_subset(common.get(), offered.get()));
}

TEST(GstCaps, ChangeWhileThePipelineRuns) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(std::string("tavixsrc name=src ! capsfilter name=filter caps=video/x-raw,width=320") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    EXPECT_EQ(WidthOf(pipeline.Pull().get()), 320);
    const Handle<GstCaps> other(gst_caps_from_string("video/x-raw,width=128"));
    g_object_set(pipeline.Find("filter").get(), "caps", other.get(), nullptr);
    Handle<GstSample> sample = pipeline.Pull();
    while (sample && WidthOf(sample.get()) == 320)
        sample = pipeline.Pull();
    ASSERT_TRUE(sample);
    EXPECT_EQ(WidthOf(sample.get()), 128);
    EXPECT_EQ(Unsigned(FactsOf(sample.get()), "block-id"), 0U); // the camera began anew
}

TEST(GstCaps, ChangeWhileThePipelineWaitsForATrigger) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(std::string("tavixsrc name=src features=\"TriggerSource=Software TriggerMode=On\" ! "
                                  "capsfilter name=filter caps=video/x-raw,width=320") +
                      kAppSink);
    const auto trigger = [&] {
        gboolean isTriggered = FALSE;
        g_signal_emit_by_name(pipeline.Find("src").get(), "trigger", &isTriggered);
        return isTriggered != FALSE;
    };
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    ASSERT_TRUE(trigger());
    EXPECT_EQ(WidthOf(pipeline.Pull().get()), 320);
    const Handle<GstCaps> other(gst_caps_from_string("video/x-raw,width=128"));
    g_object_set(pipeline.Find("filter").get(), "caps", other.get(), nullptr);
    while (Feature(pipeline, "Width") != "128")
        g_thread_yield();
    ASSERT_TRUE(trigger());
    EXPECT_EQ(WidthOf(pipeline.Pull().get()), 128);
}

/// The next sample with such caps; null when there is none before the end.
Handle<GstSample> PullWith(Pipeline& pipeline, const std::string& caps) {
    Handle<GstSample> sample = pipeline.Pull();
    while (sample && CapsOf(sample.get()).find(caps) == std::string::npos)
        sample = pipeline.Pull();
    return sample;
}

void SetFeatures(Pipeline& pipeline, const char* features) {
    g_object_set(pipeline.Find("src").get(), "features", features, nullptr);
}

TEST(GstCaps, TakeBackWhatDoesNotGoWithThem) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(std::string("tavixsrc name=src ! video/x-raw,format=GRAY8,width=320,height=240,framerate=50/1") +
                      kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    ASSERT_TRUE(pipeline.Pull());
    const char* const changes[][3] = {{"Width=640", "Width", "320"},
                                      {"PixelFormat=BayerRG8", "PixelFormat", "\"Mono8\""},
                                      {"PixelFormat=Mono12p", "PixelFormat", "\"Mono8\""},
                                      {"AcquisitionFrameRate=5", "AcquisitionFrameRate", "50.000000"}};
    for (const auto& [change, name, kept] : changes) {
        SetFeatures(pipeline, change);
        EXPECT_THAT(pipeline.AwaitWarning(), AllOf(StartsWith(change), HasSubstr("set back to"))) << change;
        EXPECT_EQ(Feature(pipeline, name), kept);
        EXPECT_TRUE(pipeline.Pull());
    }
    EXPECT_EQ(pipeline.Stat("copied"), 0U) << "without convert nothing is";
}

/// A camera that takes no more images a second than its exposure time leaves room for.
class CameraWithExposureLimit {
public:
    CameraWithExposureLimit() {
        std::ifstream file(TAVIX_VIRTUAL_CAMERA_XML);
        std::string xml((std::istreambuf_iterator<char>(file)), {});
        const std::string most = "<Max>10000</Max>", end = "</RegisterDescription>";
        xml.replace(xml.find(most), most.size(), "<pMax>ExposureLimit</pMax>");
        xml.insert(xml.rfind(end), R"(<SwissKnife Name="ExposureLimit" NameSpace="Custom">
                                         <pVariable Name="EXPOSURE">ExposureTime</pVariable>
                                         <Formula>1000000 / EXPOSURE</Formula></SwissKnife>)");
        std::ofstream(m_Path) << xml;
    }
    ~CameraWithExposureLimit() { std::remove(m_Path.c_str()); }

    std::string Settings() const {
        return R"([{"sensorWidth": 64, "sensorHeight": 64, "registers": {"descriptionPath": ")" + m_Path + "\"}}]";
    }

private:
    const std::string m_Path = testing::TempDir() + "exposure-limit-" + std::to_string(getpid()) + ".xml";
};

TEST(GstCaps, TakeBackWhatLeavesTheCameraNoneOfThem) {
    const CameraWithExposureLimit camera;
    VirtualBus bus(camera.Settings());
    Pipeline pipeline(std::string("tavixsrc name=src features=ExposureTime=5000 ! video/x-raw,framerate=50/1") +
                      kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    for (const char* exposure : {"100000", "200000"}) {
        ASSERT_TRUE(pipeline.Pull());
        SetFeatures(pipeline, (std::string("ReverseX=1 ExposureTime=") + exposure + " Gain=3").c_str());
        EXPECT_THAT(pipeline.AwaitWarning(),
                    AllOf(StartsWith(std::string("ExposureTime=") + exposure), HasSubstr("framerate=(fraction)50/1"),
                          HasSubstr("set back to 5000")));
        EXPECT_EQ(Feature(pipeline, "ExposureTime"), "5000.000000");
        EXPECT_EQ(Feature(pipeline, "Gain"), "3.000000") << "which has nothing to do with it";
    }
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(pipeline.Pull());
}

TEST(GstCaps, ThatTheCameraLacksFromTheBeginningAreNotTakenBack) {
    const CameraWithExposureLimit camera;
    VirtualBus bus(camera.Settings());
    Pipeline pipeline(std::string("tavixsrc name=src ! video/x-raw,framerate=50/1") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    SetFeatures(pipeline, "ExposureTime=100000");
    pipeline.Reach(GST_STATE_PLAYING);
    EXPECT_THAT(pipeline.AwaitError(), HasSubstr("no such images"));
    EXPECT_EQ(Feature(pipeline, "ExposureTime"), "100000.000000");
}

TEST(GstCaps, ChangeBeforeTheFirstImageOfAnotherFormat) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(std::string("tavixsrc name=src features=PixelFormat=BayerRG8") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    ASSERT_TRUE(PullWith(pipeline, "format=rggb"));
    const char* const formats[][2] = {
        {"RGB8", "RGB"}, {"YCbCr422_8", "YUY2"}, {"Mono8", "GRAY8"}, {"BayerRG8", "rggb"}};
    for (const auto& [camera, caps] : formats) {
        SetFeatures(pipeline, (std::string("PixelFormat=") + camera).c_str());
        EXPECT_TRUE(PullWith(pipeline, std::string("format=") + caps + ",")) << camera;
    }
    EXPECT_EQ(pipeline.Stat("copied"), 0U) << "none was converted to what stood in the caps before";
}

TEST(GstCaps, StateTheRateOfTheCamera) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline(std::string("tavixsrc name=src ! video/x-raw,framerate=[1/1,60/1]") + kAppSink);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    ASSERT_TRUE(PullWith(pipeline, "framerate=60/1"));
    SetFeatures(pipeline, "AcquisitionFrameRate=50");
    const Handle<GstSample> sample = PullWith(pipeline, "framerate=50/1");
    ASSERT_TRUE(sample);
    EXPECT_EQ(GST_BUFFER_DURATION(gst_sample_get_buffer(sample.get())), 20 * GST_MSECOND);
    SetFeatures(pipeline, "AcquisitionFrameRate=60");
    ASSERT_TRUE(PullWith(pipeline, "framerate=60/1"));
    SetFeatures(pipeline, "AcquisitionFrameRate=90");
    EXPECT_THAT(pipeline.AwaitWarning(), HasSubstr("set back to 60"));
    EXPECT_EQ(Feature(pipeline, "AcquisitionFrameRate"), "60.000000");
}

TEST(GstCaps, HoldConvertedFormatsOnRequestOnly) {
    VirtualBus bus(kCapsCamera);
    const std::string twelve = "tavixsrc name=src num-buffers=1 features=PixelFormat=Mono12p ";
    Pipeline without(twelve + "! video/x-raw,format=GRAY16_LE" + kAppSink);
    without.Reach(GST_STATE_PLAYING);
    EXPECT_FALSE(without.AwaitError().empty());
    without.Reach(GST_STATE_NULL);

    Pipeline with(twelve + "convert=true" + kAppSink);
    ASSERT_TRUE(with.Reach(GST_STATE_PLAYING));
    const Handle<GstSample> sample = with.Pull();
    ASSERT_TRUE(sample);
    EXPECT_THAT(CapsOf(sample.get()), HasSubstr("format=GRAY16_LE"));
    EXPECT_EQ(gst_buffer_get_size(gst_sample_get_buffer(sample.get())), 640U * 480 * 2);
    EXPECT_EQ(with.Stat("copied"), 640U * 480 * 2);
    EXPECT_EQ(Feature(with, "PixelFormat"), "\"Mono12p\"");
}

/// The first image that such a camera sends.
std::string ConvertedImage(const std::string& properties) {
    VirtualBus bus(kCapsCamera);
    Pipeline pipeline("tavixsrc name=src num-buffers=1 features=PixelFormat=BayerRG8 convert=true " + properties +
                      " ! video/x-raw,format=RGBA" + kAppSink);
    EXPECT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    const Handle<GstSample> sample = pipeline.Pull();
    if (!sample) return {};
    GstBuffer* buffer = gst_sample_get_buffer(sample.get());
    std::string pixels(gst_buffer_get_size(buffer), '\0');
    gst_buffer_extract(buffer, 0, pixels.data(), pixels.size());
    return pixels;
}

TEST(GstCaps, OfConvertedBayerImagesHoldColoursFoundAsItIsAsked) {
    const std::string plain = ConvertedImage("demosaicing=bilinear");
    EXPECT_EQ(plain.size(), 640U * 480 * 4);
    EXPECT_EQ(plain, ConvertedImage(""));
    EXPECT_NE(plain, ConvertedImage("demosaicing=edge-aware"));
}

} // namespace
