// What a device's lock keeps apart, and which operations do without it.

#include "tavixusb/support/DeviceFixture.h"
#include "tavixusb/support/Together.h"

#include <atomic>
#include <future>

namespace {

class DeviceLocks : public DeviceFixture {
protected:
    DeviceLocks() { Load(CameraXml()); }
    ~DeviceLocks() override { bus.onCall = nullptr; } // it looks at what goes now

    /// Counts who is in a call of the kinds that exclude each other, and yields there so that others get their chance.
    void WatchFor(std::vector<std::string> calls) {
        bus.onCall = [this, calls](const std::string& call) {
            if (std::find(calls.begin(), calls.end(), call) == calls.end()) return;
            if (++m_Inside > 1) overlaps = true;
            std::this_thread::yield();
            --m_Inside;
        };
    }
    void ReadRegister() {
        unsigned char bytes[4];
        device->Read(bytes, 0x100, sizeof bytes);
    }
    void WriteRegister() {
        const unsigned char bytes[4] = {};
        device->Write(bytes, 0x100, sizeof bytes);
    }

    std::atomic<bool> overlaps{false};

private:
    std::atomic<int> m_Inside{0};
};

TEST_F(DeviceLocks, LetOneRegisterTransferAtATime) {
    Open();
    WatchFor({"Device.ReadMem", "Device.WriteMem"});
    Together({[this] { ReadRegister(); }, [this] { WriteRegister(); }, [this] { ReadRegister(); }});
    EXPECT_FALSE(overlaps);
    EXPECT_EQ(2 * kRounds, bus.Count("Device.ReadMem"));
}

TEST_F(DeviceLocks, LetNoTransferIntoOpenAndClose) {
    WatchFor(
        {"Device.ReadMem", "Device.WriteMem", "Device.Open", "Device.Close", "RegisterCallback", "DeregisterCallback"});
    Together({[this] {
                  Open();
                  device->Close();
              },
              [this] { ReadRegister(); }, [this] { WriteRegister(); }});
    EXPECT_FALSE(overlaps);
}

TEST_F(DeviceLocks, LetOneOpenWinOfTwo) {
    std::atomic<int> opened{0};
    for (int round = 0; round < 50; ++round) {
        const auto open = [&] {
            Open();
            ++opened;
        };
        Together({open, open}, 1);
        device->Close();
    }
    EXPECT_EQ(50, opened);
    EXPECT_EQ(50, bus.Count("Device.Open"));
}

/// A transfer that does not end before all others have been tried.
class DeviceLocksHeld : public DeviceLocks {
protected:
    DeviceLocksHeld() {
        Open();
        adapter = device->CreateEventAdapter();
        bus.onCall = [this](const std::string& call) {
            if (call != "Device.ReadMem") return;
            m_Begun.set_value();
            wasReleased = m_Released.get_future().wait_for(std::chrono::seconds(30)) == std::future_status::ready;
        };
        m_Reader = std::thread([this] { ReadRegister(); });
        m_Begun.get_future().wait();
    }
    ~DeviceLocksHeld() override {
        m_Released.set_value();
        m_Reader.join();
        EXPECT_TRUE(wasReleased) << "an operation waited for the lock";
        bus.onCall = nullptr;
    }

    Tavix::IEventAdapter* adapter;
    bool wasReleased = false;

private:
    std::promise<void> m_Begun, m_Released;
    std::thread m_Reader;
};

TEST_F(DeviceLocksHeld, DoNotStopWhoLooksForGrabbersAndNodeMaps) {
    EXPECT_NE(nullptr, device->GetStreamGrabber(0));
    EXPECT_EQ(nullptr, device->GetStreamGrabber(1));
    EXPECT_NE(nullptr, device->GetNodeMap());
    EXPECT_NE(nullptr, device->GetTLNodeMap());
    EXPECT_EQ("CamModel", device->GetDeviceInfo().GetModelName());
}

TEST_F(DeviceLocksHeld, DoNotStopWhoDestroysAnEventAdapter) {
    device->DestroyEventAdapter(adapter);
    EXPECT_THROW(device->DestroyEventAdapter(adapter), GenICam::RuntimeException);
}

TEST_F(DeviceLocksHeld, DoNotStopWhoUsesTransportLayerParameters) {
    EXPECT_EQ(0, Integer(device->GetTLNodeMap(), "Statistic_Last_Error_Status").GetValue());
    Integer(device->GetTLNodeMap(), "CustomRequestId_Value").SetValue(1);
}

} // namespace
