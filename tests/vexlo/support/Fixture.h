#pragma once
// The library on a scripted camera.

#include "support/ScriptedBackend.h"

#include "vexlo/Enumerator.h"
#include "vexlo/Vexlo.h"
#include "vexlo/VxCallback.h"
#include "vexlo/VxDevice.h"
#include "vexlo/VxEventStream.h"
#include "vexlo/VxStream.h"
#include "vexlo/discovery/BackendSet.h"

#include <gtest/gtest.h>

#include <vector>

namespace vexlotest {

using namespace vexlo;

/// Collects what discovery finds.
class Collector final : public CEnumerator::Callee {
public:
    int EnumCallback(const DeviceDiscoveryInfo* info) override {
        found.push_back(*info);
        return answer;
    }
    std::vector<DeviceDiscoveryInfo> found;
    int answer = 0;
};

/// Initialised, with a camera on its bus and a closed device object.
class OnScriptedCamera : public testing::Test {
protected:
    OnScriptedCamera() {
        InjectBackends({std::make_shared<scripted::ScriptedBackend>(camera)});
        EXPECT_EQ(Init(), VX_OK);
        device = CVxDevice::CreateDevice(DeviceType_Libusb);
    }
    ~OnScriptedCamera() override {
        CVxDevice::DestroyDevice(device);
        Exit();
        InjectBackends({});
        EXPECT_EQ(camera.OpenHandles(), 0);
        EXPECT_TRUE(camera.Claimed().empty());
    }

    DeviceDiscoveryInfo Found() {
        Collector collector;
        EXPECT_EQ(CEnumerator::Discover(&collector), VX_OK);
        return collector.found.empty() ? DeviceDiscoveryInfo{} : collector.found.front();
    }
    VxStatus Open() { return device->Open(Found()); }

    template<class Value, class Object, class Id>
    static Value Property(Object& object, Id id) {
        Value value{};
        EXPECT_EQ(object.GetProperty(id, &value, sizeof value), VX_OK);
        return value;
    }

    scripted::Camera camera;
    CVxDevice* device = nullptr;
};

} // namespace vexlotest
