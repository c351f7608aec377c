#pragma once
// The transport layer over the stand-in, for the tests of all that is done before there is a device object.

#include "TavixTL_USB/TavixUSB/TavixUsb.h"

#include "support/Camera.h"
#include "support/Expect.h"
#include "support/LogLines.h"

/// One camera is attached; calls and log lines begin when the transport layer has been made.
class TransportLayerTest : public testing::Test {
protected:
    TransportLayerTest() {
        bus.Reset();
        bus.cameras = {MakeCameraRecord()};
        MakeTl();
        bus.ForgetCalls();
        log.Forget();
    }
    ~TransportLayerTest() override { DestroyTl(); }

    static Tavix::CTlInfo InfoOfClass(const char* deviceClass) {
        Tavix::CTlInfo info;
        info.SetDeviceClass(deviceClass);
        return info;
    }
    void MakeTl() { tl = Create(InfoOfClass("VandrelUsb")); }
    void DestroyTl() {
        Destroy(tl);
        tl = nullptr;
    }

    FakeVexlo& bus = FakeVexlo::Get();
    LogLines log;
    Tavix::ITransportLayer* tl = nullptr;
};
