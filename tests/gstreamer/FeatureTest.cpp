#include "gstreamer/Pipeline.h"

#include <gmock/gmock.h>

namespace {

using namespace gsttest;
using integration::VirtualBus;
using testing::HasSubstr;

constexpr char kFeatureCamera[] = R"([{"serial": "7", "sensorWidth": 640, "sensorHeight": 480, "frameRate": 200}])";

class GstFeature : public testing::Test {
protected:
    VirtualBus bus{kFeatureCamera};
    Pipeline pipeline{"tavixsrc name=src ! appsink name=sink sync=false async=false drop=true max-buffers=1"};

    /// The value's type as GObject calls it, then the value.
    std::string Get(const char* name) {
        GValue* value = nullptr;
        g_signal_emit_by_name(pipeline.Find("src").get(), "get-feature", name, &value);
        gchar* text = g_strdup_value_contents(value);
        const std::string all = std::string(G_VALUE_TYPE_NAME(value)) + " " + text;
        g_free(text);
        g_boxed_free(G_TYPE_VALUE, value);
        return all;
    }
    bool Set(const char* name, GType type, const char* text) {
        GValue value = G_VALUE_INIT;
        g_value_init(&value, type);
        gst_value_deserialize(&value, text);
        gboolean isSet = FALSE;
        g_signal_emit_by_name(pipeline.Find("src").get(), "set-feature", name, &value, &isSet);
        g_value_unset(&value);
        return isSet != FALSE;
    }
    void SetAll(const char* text) { g_object_set(pipeline.Find("src").get(), "features", text, nullptr); }
};

TEST_F(GstFeature, IsReadAndWrittenWithItsType) {
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    EXPECT_EQ(Get("Width"), "gint64 640");
    EXPECT_EQ(Get("PixelFormat"), "gchararray \"Mono8\"");
    EXPECT_EQ(Get("ReverseX"), "gboolean FALSE");
    EXPECT_TRUE(Set("ExposureTime", G_TYPE_DOUBLE, "1250.5"));
    EXPECT_EQ(Get("ExposureTime"), "gdouble 1250.500000");
    EXPECT_TRUE(Set("ExposureTime", G_TYPE_INT, "1300"));
    EXPECT_TRUE(Set("ReverseX", G_TYPE_BOOLEAN, "true"));
    ASSERT_TRUE(Set("PixelFormat", G_TYPE_STRING, "RGB8"));
    EXPECT_TRUE(Set("Width", G_TYPE_UINT64, "320"));
    EXPECT_EQ(Get("Width"), "gint64 320");
}

TEST_F(GstFeature, TellsWhyItIsRefused) {
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    EXPECT_EQ(Get("Gian"), "gchararray NULL");
    EXPECT_THAT(pipeline.AwaitWarning(), HasSubstr("Gian"));
    EXPECT_FALSE(Set("Width", G_TYPE_INT, "100000"));
    EXPECT_THAT(pipeline.AwaitWarning(), HasSubstr("Width"));
    EXPECT_FALSE(Set("Width", GST_TYPE_FRACTION, "1/2"));
    EXPECT_THAT(pipeline.AwaitWarning(), HasSubstr("GstFraction"));
    for (const GType type : {G_TYPE_UINT64, G_TYPE_ULONG}) {
        EXPECT_FALSE(Set("Width", type, "18446744073709551615"));
        EXPECT_THAT(pipeline.AwaitWarning(), HasSubstr("18446744073709551615"));
    }
}

TEST_F(GstFeature, ListsThatCannotBeReadAreNoListsOfNothing) {
    SetAll("\"Gain=3");
    EXPECT_FALSE(pipeline.Reach(GST_STATE_READY));
    EXPECT_THAT(pipeline.AwaitError(), HasSubstr("\"Gain=3\" cannot be read"));
    SetAll("");
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    SetAll("\"Gain=3");
    EXPECT_THAT(pipeline.AwaitWarning(), HasSubstr("cannot be read"));
    ASSERT_TRUE(pipeline.Reach(GST_STATE_NULL));
    EXPECT_TRUE(pipeline.Reach(GST_STATE_READY)); // as before
}

TEST_F(GstFeature, WithoutAValueIsRefusedAloud) {
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    const GValue unset = G_VALUE_INIT;
    for (const GValue* value : {static_cast<const GValue*>(nullptr), &unset}) {
        gboolean isSet = TRUE;
        g_signal_emit_by_name(pipeline.Find("src").get(), "set-feature", "Width", value, &isSet);
        EXPECT_FALSE(isSet);
        EXPECT_THAT(pipeline.AwaitWarning(), HasSubstr("needs a value for 'Width'"));
    }
}

TEST_F(GstFeature, IsOutOfReachWithoutACamera) {
    EXPECT_EQ(Get("Gain"), "gchararray NULL");
    EXPECT_THAT(pipeline.AwaitWarning(), HasSubstr("READY"));
}

TEST_F(GstFeature, EventsArePostedThatWereAskedFor) {
    g_object_set(pipeline.Find("src").get(), "events", "ExposureEnd", nullptr);
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    const Handle<GstMessage> message = pipeline.AwaitElementMessage("tavix-event");
    ASSERT_TRUE(message);
    const GstStructure* event = gst_message_get_structure(message.get());
    EXPECT_STREQ(gst_structure_get_string(event, "event"), "ExposureEnd");
    GstStructure* values = nullptr;
    ASSERT_TRUE(gst_structure_get(event, "values", GST_TYPE_STRUCTURE, &values, nullptr));
    const Handle<GstStructure> owned(values);
    EXPECT_TRUE(gst_structure_has_field_typed(values, "EventExposureEndTimestamp", G_TYPE_INT64));
}

TEST_F(GstFeature, AnEventThatTheCameraHasNotIsAnError) {
    g_object_set(pipeline.Find("src").get(), "events", "ExposureEnd Sunset", nullptr);
    EXPECT_FALSE(pipeline.Reach(GST_STATE_READY));
    EXPECT_THAT(pipeline.AwaitError(), HasSubstr("Sunset"));
}

TEST_F(GstFeature, IsSetWhileTheStreamGoesOn) {
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    ASSERT_TRUE(pipeline.Pull());
    SetAll("ExposureTime=2000 'Gain=3'");
    EXPECT_EQ(Get("ExposureTime"), "gdouble 2000.000000");
    EXPECT_EQ(Get("Gain"), "gdouble 3.000000");
    EXPECT_TRUE(pipeline.Pull());
}

TEST_F(GstFeature, StopsTheStreamForAMomentIfThatIsNeeded) {
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    ASSERT_TRUE(pipeline.Pull());
    SetAll("Width=320");
    EXPECT_EQ(Get("Width"), "gint64 320");
    Handle<GstSample> sample = pipeline.Pull();
    while (sample && WidthOf(sample.get()) == 640)
        sample = pipeline.Pull();
    ASSERT_TRUE(sample);
    EXPECT_EQ(WidthOf(sample.get()), 320);
    EXPECT_TRUE(Set("PixelFormat", G_TYPE_STRING, "RGB8"));
    while (sample && gst_buffer_get_size(gst_sample_get_buffer(sample.get())) != 320U * 480 * 3)
        sample = pipeline.Pull();
    EXPECT_TRUE(sample);
}

TEST_F(GstFeature, IsWarnedOfAndTheOthersAreSet) {
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    SetAll("Gian=3 Gain=2");
    EXPECT_THAT(pipeline.AwaitWarning(), HasSubstr("Gian"));
    EXPECT_EQ(Get("Gain"), "gdouble 2.000000");
    SetAll("'Gain=3");
    EXPECT_THAT(pipeline.AwaitWarning(), HasSubstr("cannot be read"));
}

TEST_F(GstFeature, OfWhichOneIsRefusedKeepsTheElementInNull) {
    SetAll("Gain=3 Gian=3");
    EXPECT_FALSE(pipeline.Reach(GST_STATE_READY));
    EXPECT_THAT(pipeline.AwaitError(), HasSubstr("Gian"));
}

TEST_F(GstFeature, MayBeACommand) {
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    SetAll("Gain=3 UserSetSelector=Default UserSetLoad");
    EXPECT_EQ(Get("Gain"), "gdouble 0.000000");
}

TEST_F(GstFeature, IsListed) {
    ASSERT_TRUE(pipeline.Reach(GST_STATE_READY));
    gchar** names = nullptr;
    g_signal_emit_by_name(pipeline.Find("src").get(), "list-features", &names);
    EXPECT_TRUE(g_strv_contains(names, "ExposureTime"));
    g_strfreev(names);
}

} // namespace
