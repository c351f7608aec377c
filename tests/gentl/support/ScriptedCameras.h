#pragma once
// The producer's inside on scripted cameras.

#include "gentl/GenTL.h"
#include "gentl/TreeMutex.h"
#include "support/ScriptedBackend.h"
#include "vexlo/discovery/BackendSet.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <utility>

namespace scripted {

/// A camera on a bus of its own, which lets a test in whenever the camera is opened. Thread-safe but for the handler.
class Place final : public usb::Backend {
public:
    Place(Camera& camera, const std::string& name) : m_Bus(camera, name) {}

    /// Told how often it was opened since it was set, under no lock.
    void OnOpen(std::function<void(int)> handler) {
        m_OnOpen = std::move(handler);
        m_Opened = 0;
    }

    const char* Name() const override { return m_Bus.Name(); }
    [[nodiscard]] usb::Result Enumerate(std::vector<usb::DeviceEntry>& devices) override {
        const usb::Result result = m_Bus.Enumerate(devices);
        for (usb::DeviceEntry& device : devices)
            device.id = kMark + device.id;
        return result;
    }
    [[nodiscard]] usb::Result Open(const std::string& id, std::unique_ptr<usb::Handle>& handle) override {
        if (m_OnOpen) m_OnOpen(++m_Opened);
        return m_Bus.Open(id.substr(kMark.size()), handle);
    }
    std::uint64_t RegisterHotplug(usb::HotplugHandler handler) override {
        return m_Bus.RegisterHotplug(
            [this, handler = std::move(handler)](usb::HotplugEvent event, const std::string& id) {
                handler(event, kMark + id);
            });
    }
    void DeregisterHotplug(std::uint64_t registration) override { m_Bus.DeregisterHotplug(registration); }

private:
    /// Before the names of devices, which are those of a host controller's ports otherwise.
    const std::string kMark = "port";
    ScriptedBackend m_Bus;
    std::function<void(int)> m_OnOpen;
    std::atomic<int> m_Opened{0};
};

/// The camera as a consumer sees it.
struct Seen {
    IF_HANDLE interface = nullptr;
    char id[256] = "";

    GC_ERROR Open(DEV_HANDLE* device, DEVICE_ACCESS_FLAGS flags = DEVICE_ACCESS_EXCLUSIVE) const {
        return IFOpenDevice(interface, id, flags, device);
    }
    int32_t Number(DEVICE_INFO_CMD command) const {
        int32_t value = -1;
        size_t size = sizeof value;
        EXPECT_EQ(IFGetDeviceInfo(interface, id, command, nullptr, &value, &size), GC_ERR_SUCCESS);
        return value;
    }
    std::string Text(DEVICE_INFO_CMD command) const {
        char text[256] = "";
        size_t size = sizeof text;
        EXPECT_EQ(IFGetDeviceInfo(interface, id, command, nullptr, text, &size), GC_ERR_SUCCESS);
        return text;
    }
};

/// On another thread than the one that opens or closes.
template<class Action>
auto Elsewhere(Action action) {
    return std::async(std::launch::async, std::move(action)).get();
}

inline bool IsTreeFree() {
    return Elsewhere([] {
        if (!gentl::TreeMutex().try_lock()) return false;
        gentl::TreeMutex().unlock();
        return true;
    });
}

/// Two cameras, each on an interface of its own, and the library initialised.
class OnTwoCameras : public testing::Test {
protected:
    OnTwoCameras() {
        rightCamera.SetString(4, "120900000099");
        vexlo::InjectBackends({leftPlace, rightPlace});
    }
    ~OnTwoCameras() override {
        vexlo::InjectBackends({});
        EXPECT_EQ(leftCamera.OpenHandles(), 0);
        EXPECT_EQ(rightCamera.OpenHandles(), 0);
    }
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(Begin()); }
    void TearDown() override {
        leftPlace->OnOpen(nullptr);
        rightPlace->OnOpen(nullptr);
        (void)GCCloseLib();
    }
    void Begin() {
        ASSERT_EQ(GCInitLib(), GC_ERR_SUCCESS);
        ASSERT_EQ(TLOpen(&tl), GC_ERR_SUCCESS);
        ASSERT_EQ(TLUpdateInterfaceList(tl, nullptr, 0), GC_ERR_SUCCESS);
        left.interface = right.interface = nullptr;
        ASSERT_NO_FATAL_FAILURE(Look());
        ASSERT_TRUE(left.interface && right.interface);
    }
    /// Opens the interfaces that are not open.
    void Look() {
        uint32_t count = 0;
        ASSERT_EQ(TLGetNumInterfaces(tl, &count), GC_ERR_SUCCESS);
        for (uint32_t i = 0; i < count; ++i)
            ASSERT_NO_FATAL_FAILURE(Look(i));
    }
    void Look(uint32_t number) {
        char name[256] = "";
        size_t size = sizeof name;
        ASSERT_EQ(TLGetInterfaceID(tl, number, name, &size), GC_ERR_SUCCESS);
        const bool isLeft = std::string(name).find("left") != std::string::npos;
        if (!isLeft && std::string(name).find("right") == std::string::npos) return;
        Seen& seen = isLeft ? left : right;
        if (seen.interface) return;
        ASSERT_EQ(TLOpenInterface(tl, name, &seen.interface), GC_ERR_SUCCESS);
        ASSERT_EQ(IFUpdateDeviceList(seen.interface, nullptr, 0), GC_ERR_SUCCESS);
        size = sizeof seen.id;
        ASSERT_EQ(IFGetDeviceID(seen.interface, 0, seen.id, &size), GC_ERR_SUCCESS);
    }

    Camera leftCamera, rightCamera;
    const std::shared_ptr<Place> leftPlace = std::make_shared<Place>(leftCamera, "left");
    const std::shared_ptr<Place> rightPlace = std::make_shared<Place>(rightCamera, "right");
    TL_HANDLE tl = nullptr;
    Seen left, right;
};

} // namespace scripted
