#include "gstreamer/Pipeline.h"

#include <gmock/gmock.h>

namespace {

using namespace gsttest;
using integration::VirtualBus;

/// Watches for video sources; those of other plug-ins are not among those that the tests load.
class Monitor {
public:
    Monitor() {
        gst_init(nullptr, nullptr);
        m_Monitor = gst_device_monitor_new();
        gst_device_monitor_add_filter(m_Monitor, "Video/Source", nullptr);
        m_IsStarted = gst_device_monitor_start(m_Monitor) != FALSE;
        m_Bus = gst_device_monitor_get_bus(m_Monitor);
    }
    ~Monitor() {
        if (m_IsStarted) gst_device_monitor_stop(m_Monitor);
        gst_object_unref(m_Bus);
        gst_object_unref(m_Monitor);
    }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    std::vector<std::string> Names() {
        std::vector<std::string> names;
        GList* devices = gst_device_monitor_get_devices(m_Monitor);
        for (GList* one = devices; one; one = one->next)
            names.push_back(NameOf(GST_DEVICE(one->data)));
        g_list_free_full(devices, gst_object_unref);
        return names;
    }
    Handle<GstElement> ElementOf(const std::string& name) {
        GstElement* element = nullptr;
        GList* devices = gst_device_monitor_get_devices(m_Monitor);
        for (GList* one = devices; one; one = one->next) {
            if (NameOf(GST_DEVICE(one->data)) == name)
                element = gst_device_create_element(GST_DEVICE(one->data), nullptr);
        }
        g_list_free_full(devices, gst_object_unref);
        return Handle<GstElement>(element ? GST_ELEMENT(gst_object_ref_sink(element)) : nullptr);
    }
    /// What the next message is about: "+" or "-" for a device that came or went, and its name.
    std::string Await() {
        const Handle<GstMessage> message(gst_bus_timed_pop(m_Bus, 20 * GST_SECOND));
        if (!message) return "nothing";
        const bool isArrival = GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_DEVICE_ADDED;
        GstDevice* device = nullptr;
        if (isArrival)
            gst_message_parse_device_added(message.get(), &device);
        else
            gst_message_parse_device_removed(message.get(), &device);
        const std::string name = NameOf(device);
        gst_object_unref(device);
        return (isArrival ? "+" : "-") + name;
    }

private:
    static std::string NameOf(GstDevice* device) {
        gchar* name = gst_device_get_display_name(device);
        const std::string copy = name;
        g_free(name);
        return copy;
    }

    GstDeviceMonitor* m_Monitor;
    GstBus* m_Bus;
    bool m_IsStarted;
};

TEST(GstDevice, IsEachCamera) {
    VirtualBus bus(R"([{"serial": "7", "guid": "120900000007"}, {"serial": "8", "guid": "120900000008"}])");
    Monitor monitor;
    EXPECT_THAT(monitor.Names(), testing::UnorderedElementsAre("VC-1300 (7)", "VC-1300 (8)"));
    const Handle<GstElement> element = monitor.ElementOf("VC-1300 (8)");
    ASSERT_TRUE(element);
    gchar* camera = nullptr;
    g_object_get(element.get(), "camera", &camera, nullptr);
    EXPECT_STREQ(camera, "120900000008");
    g_free(camera);
}

TEST(GstDevice, ComesAndGoesWithTheCamera) {
    VirtualBus bus(R"([{"serial": "7", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 200, "faults":
        {"stream": [{"fault": "Unplug", "frame": 5, "value": 100}], "replugAfterMs": 2000}}])");
    Monitor monitor;
    EXPECT_EQ(monitor.Await(), "+VC-1300 (7)");
    Pipeline pipeline("tavixsrc ! fakesink async=false");
    ASSERT_TRUE(pipeline.Reach(GST_STATE_PLAYING));
    EXPECT_EQ(monitor.Await(), "-VC-1300 (7)");
    EXPECT_EQ(monitor.Await(), "+VC-1300 (7)");
}

} // namespace
