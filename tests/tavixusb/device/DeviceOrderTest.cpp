// In which order a device does things: what is there already, and what still is, while a call of the USB access library
// is made.

#include "tavixusb/support/DeviceFixture.h"

#include <GenApi/NodeCallback.h>

#include <functional>
#include <stdexcept>

namespace {

const LogLine kStreamGone{"Tavix.USB.Stream", 64, "Destroyed stream grabber for device '1:2:3' successfully."};
const LogLine kDeviceGone{kDeviceLog, 64, "Destroyed device '1:2:3' successfully."};

class DeviceOrder : public DeviceFixture {
protected:
    ~DeviceOrder() override { bus.onCall = nullptr; }

    /// Looks at the beginning of each call of that name.
    void At(const char* call, std::function<void()> look) {
        bus.onCall = [this, call, look](const std::string& name) {
            if (name != call) return;
            ++looked;
            look();
        };
    }

    int looked = 0;
};

TEST_F(DeviceOrder, KnowsItsAccessModesBeforeItListensForRemoval) {
    At("RegisterCallback", [this] { EXPECT_EQ(Tavix::DefaultAccessMode(), device->AccessMode()); });
    Open();
    EXPECT_EQ(2, looked);
}

TEST_F(DeviceOrder, StaysOpenAndKeepsWhatItHandedOutUntilTheUsbDeviceIsClosed) {
    Load(CameraXmlWithChunks());
    Open();
    Tavix::IChunkParser* const parser = device->CreateChunkParser();
    Tavix::IEventAdapter* const adapter = device->CreateEventAdapter();
    At("Device.Close", [&] {
        EXPECT_TRUE(device->IsOpen());
        EXPECT_NO_THROW(device->DestroyChunkParser(parser));
        EXPECT_NO_THROW(device->DestroyEventAdapter(adapter));
    });
    device->Close();
    EXPECT_EQ(1, looked);
}

TEST_F(DeviceOrder, DestroysItsGrabbersBeforeTheUsbDevice) {
    At("DestroyDevice", [this] {
        EXPECT_EQ(1, log.Count(kStreamGone));
        EXPECT_EQ(0, log.Count(kDeviceGone));
    });
    Destroy();
    EXPECT_EQ(1, looked);
}

TEST_F(DeviceOrder, EndsWithoutAWordToListenersOfItsParameters) {
    int calls = 0;
    GenApi::Register(device->GetTLNodeMap()->GetNode("Statistic_Last_Error_Status"), [&](GenApi::INode*) {
        ++calls;
        throw std::runtime_error("a listener's own");
    });
    Destroy();
    EXPECT_EQ(0, calls);
    EXPECT_EQ(1, log.Count(kDeviceGone));
}

/// It cannot be closed on destruction.
class DeviceThatCannotClose : public DeviceOrder {
protected:
    DeviceThatCannotClose() {
        Open();
        device->GetEventGrabber()->Open();
        device->GetStreamGrabber(0)->Open();
        device->GetStreamGrabber(0)->PrepareGrab();
        bus.FailNext("Stream.FinishGrab", kFailure);
    }
};

TEST_F(DeviceThatCannotClose, StillClosesItsGrabbersBeforeTheUsbDeviceGoes) {
    At("DestroyDevice", [this] {
        EXPECT_EQ(1, bus.Count("Stream.Close"));
        EXPECT_EQ(1, bus.Count("Events.Close"));
        EXPECT_EQ(0, bus.Count("Device.Close"));
    });
    Destroy();
    EXPECT_EQ(1, looked);
}

TEST_F(DeviceThatCannotClose, ListensForRemovalUntilTheUsbDeviceIsGone) {
    At("DeregisterCallback", [this] {
        EXPECT_EQ(0, bus.liveDevices);
        EXPECT_EQ(0, log.Count(kDeviceGone));
    });
    Destroy();
    EXPECT_EQ(2, looked);
    EXPECT_EQ(1, log.Count(kDeviceGone));
}

TEST_F(DeviceOrder, UndoesItsConstructionFromTheEnd) {
    bus.onCall = [this](const std::string& call) {
        if (call == "Device.GetEventStream") throw std::runtime_error("no events");
        if (call == "DestroyDevice") looked += log.Count(kStreamGone);
    };
    EXPECT_THROW(Tavix::CTavixUsbDevice{MakeCameraInfo()}, std::runtime_error);
    EXPECT_EQ(1, looked);
}

TEST_F(DeviceOrder, TellsOfARemovalBeforeItEndsTheNotifications) {
    Open();
    At("DeregisterCallback", [this] {
        EXPECT_EQ(1, log.Count({kDeviceLog, 64, "Received surprise removal for '1:2:3'. Callbacks: 0"}));
    });
    bus.Notify(vexlo::VxCallback_DeviceLost);
    EXPECT_EQ(2, looked);
}

} // namespace
