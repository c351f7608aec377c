#include "gstreamer/DeviceProvider.h"

#include "core/Mutex.h"
#include "gstreamer/caps/CapsFormat.h"

#include <tavix/camera/CameraInfo.h>

#include <map>
#include <string>

GST_DEBUG_CATEGORY_STATIC(tavixdevice_debug);
#define GST_CAT_DEFAULT tavixdevice_debug

namespace {

/// The devices that are told of, and who watches for others.
struct Watching {
    Tavix::Mutex mutex;
    // By path and serial number; owned by the provider.
    std::map<std::string, GstDevice*> known TAVIX_GUARDED_BY(mutex);
    std::unique_ptr<Tavix::CameraWatch> watch; // of start and stop
};

} // namespace

struct GstTavixDevice {
    GstDevice parent;
};
struct GstTavixDeviceClass {
    GstDeviceClass parent;
};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast" // in GObject's macro
G_DEFINE_TYPE(GstTavixDevice, gst_tavix_device, GST_TYPE_DEVICE)
#pragma GCC diagnostic pop

struct GstTavixDeviceProvider {
    GstDeviceProvider parent;
    Watching* watching; // owned
};
struct GstTavixDeviceProviderClass {
    GstDeviceProviderClass parent;
};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast" // in GObject's macro
G_DEFINE_TYPE_WITH_CODE(GstTavixDeviceProvider, gst_tavix_device_provider, GST_TYPE_DEVICE_PROVIDER,
                        GST_DEBUG_CATEGORY_INIT(tavixdevice_debug, "tavixdeviceprovider", 0,
                                                "USB3 Vision camera devices"))
#pragma GCC diagnostic pop

namespace {

using Tavix::CameraInfo;

// A GUID names one camera in the world; not every camera tells one.
std::string NameFor(const GstDevice& device) {
    GstStructure* properties = gst_device_get_properties(const_cast<GstDevice*>(&device));
    const gchar* guid = gst_structure_get_string(properties, "guid");
    const gchar* path = gst_structure_get_string(properties, "path");
    std::string name = guid && *guid ? guid : path ? path : "";
    gst_structure_free(properties);
    return name;
}

GstElement* CreateElement(GstDevice* device, const gchar* name) {
    GstElement* element = gst_element_factory_make("tavixsrc", name);
    if (element) g_object_set(element, "camera", NameFor(*device).c_str(), nullptr);
    return element;
}

gboolean ReconfigureElement(GstDevice* device, GstElement* element) {
    if (g_strcmp0(G_OBJECT_TYPE_NAME(element), "GstTavixSrc") != 0) return FALSE;
    g_object_set(element, "camera", NameFor(*device).c_str(), nullptr);
    return TRUE;
}

/// Floating.
GstDevice* NewDevice(const CameraInfo& info) {
    GstStructure* properties =
        gst_structure_new("tavix-camera", "vendor", G_TYPE_STRING, info.vendor.c_str(), "model", G_TYPE_STRING,
                          info.model.c_str(), "serial", G_TYPE_STRING, info.serial.c_str(), "guid", G_TYPE_STRING,
                          info.guid.c_str(), "user-name", G_TYPE_STRING, info.userName.c_str(), "path", G_TYPE_STRING,
                          info.path.c_str(), "speed", G_TYPE_STRING, info.speed.c_str(), nullptr);
    GstCaps* caps = tavixgst::TemplateCaps();
    auto* device = static_cast<GstDevice*>(g_object_new(gst_tavix_device_get_type(), "display-name",
                                                        info.friendlyName.c_str(), "device-class", "Video/Source",
                                                        "caps", caps, "properties", properties, nullptr));
    gst_caps_unref(caps);
    gst_structure_free(properties);
    return device;
}

std::string KeyOf(const CameraInfo& info) {
    return info.path + '\n' + info.serial;
}

Watching& WatchingOf(gpointer provider) {
    return *static_cast<GstTavixDeviceProvider*>(provider)->watching;
}

void Come(GstDeviceProvider* provider, const CameraInfo& info) {
    Watching& watching = WatchingOf(provider);
    const Tavix::MutexLock lock(watching.mutex);
    GstDevice*& known = watching.known[KeyOf(info)];
    if (known != nullptr) return;
    GST_INFO_OBJECT(provider, "%s is here: %s", info.friendlyName.c_str(), info.path.c_str());
    known = NewDevice(info);
    gst_device_provider_device_add(provider, known);
}

void Go(GstDeviceProvider* provider, const CameraInfo& info) {
    Watching& watching = WatchingOf(provider);
    const Tavix::MutexLock lock(watching.mutex);
    const auto found = watching.known.find(KeyOf(info));
    if (found == watching.known.end()) return;
    GST_INFO_OBJECT(provider, "%s is gone: %s", info.friendlyName.c_str(), info.path.c_str());
    gst_device_provider_device_remove(provider, found->second);
    watching.known.erase(found);
}

std::vector<CameraInfo> CamerasNow(GstDeviceProvider* provider) noexcept {
    try {
        return Tavix::Cameras();
    } catch (const std::exception& problem) {
        GST_WARNING_OBJECT(provider, "%s", problem.what());
    }
    return {};
}

GList* Probe(GstDeviceProvider* provider) {
    GList* devices = nullptr;
    for (const CameraInfo& info : CamerasNow(provider))
        devices = g_list_append(devices, gst_object_ref_sink(NewDevice(info)));
    return devices;
}

/// Those that are there are known when it returns, as others expect it.
gboolean Start(GstDeviceProvider* provider) {
    for (const CameraInfo& info : CamerasNow(provider))
        Come(provider, info);
    WatchingOf(provider).watch = std::make_unique<Tavix::CameraWatch>(
        [provider](const CameraInfo& info, bool arrived) { arrived ? Come(provider, info) : Go(provider, info); });
    return TRUE;
}

void Stop(GstDeviceProvider* provider) {
    Watching& watching = WatchingOf(provider);
    watching.watch.reset();
    const Tavix::MutexLock lock(watching.mutex);
    watching.known.clear();
}

void Finalize(GObject* object) {
    delete static_cast<GstTavixDeviceProvider*>(static_cast<void*>(object))->watching;
    G_OBJECT_CLASS(gst_tavix_device_provider_parent_class)->finalize(object);
}

} // namespace

static void gst_tavix_device_class_init(GstTavixDeviceClass* klass) {
    GST_DEVICE_CLASS(klass)->create_element = CreateElement;
    GST_DEVICE_CLASS(klass)->reconfigure_element = ReconfigureElement;
}

static void gst_tavix_device_init(GstTavixDevice*) {}

static void gst_tavix_device_provider_class_init(GstTavixDeviceProviderClass* klass) {
    G_OBJECT_CLASS(klass)->finalize = Finalize;
    GstDeviceProviderClass* provider = GST_DEVICE_PROVIDER_CLASS(klass);
    provider->probe = Probe;
    provider->start = Start;
    provider->stop = Stop;
    gst_device_provider_class_set_static_metadata(provider, "USB3 Vision cameras", "Source/Video",
                                                  "Lists USB3 Vision cameras and tells of those that come and go",
                                                  "The Tavix project");
}

static void gst_tavix_device_provider_init(GstTavixDeviceProvider* self) {
    self->watching = new Watching;
}
