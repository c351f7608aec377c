#pragma once
// A device over the stand-in, for the tests of device and grabbers.

#include "TavixTL_USB/TavixUSB/device/TavixUsbDevice.h"

#include "support/Camera.h"
#include "support/Expect.h"
#include "support/LogLines.h"

#include <GenApi/Pointer.h>

inline constexpr char kDeviceLog[] = "Tavix.USB.Device"; // category of its log lines

class DeviceFixture : public testing::Test {
protected:
    DeviceFixture() {
        bus.Reset();
        Make();
    }
    ~DeviceFixture() override { Destroy(); }

    void Make(const Tavix::CDeviceInfo& info = MakeCameraInfo()) { device = new Tavix::CTavixUsbDevice(info); }
    void Destroy() {
        if (device) device->Delete();
        device = nullptr;
    }
    void Load(const std::string& xml) { device->CreateNodemapFromString(xml, {}); }
    void Open() { device->Open(Tavix::DefaultAccessMode()); }

    static GenApi::IInteger& Integer(GenApi::INodeMap* map, const char* name) {
        return *GenApi::CIntegerPtr(map->GetNode(name));
    }
    GenApi::IInteger& Feature(const char* name) { return Integer(device->GetNodeMap(), name); }
    GenApi::IBoolean& MigrationModeEnable() {
        return *GenApi::CBooleanPtr(device->GetTLNodeMap()->GetNode("MigrationModeEnable"));
    }

    FakeVexlo& bus = FakeVexlo::Get();
    LogLines log;
    Tavix::CTavixUsbDevice* device = nullptr;
};
