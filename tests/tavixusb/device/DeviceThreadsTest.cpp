// Several threads on one device. The thread sanitizer looks at the order of the locks.

#include "tavixusb/support/DeviceFixture.h"
#include "tavixusb/support/Together.h"

#include <atomic>

namespace {

class DeviceThreads : public DeviceFixture {
protected:
    DeviceThreads() { Load(CameraXmlWithChunks()); }

    void OpenAndClose() {
        Open();
        device->Close();
    }
    void Grab() {
        Tavix::IStreamGrabber& grabber = *device->GetStreamGrabber(0);
        grabber.Open();
        grabber.PrepareGrab();
        Tavix::GrabResult result;
        grabber.RetrieveResult(result);
        grabber.FinishGrab();
        grabber.Close();
    }
    void UseFeature() {
        Feature("Width").SetValue(64);
        Feature("Width").GetValue();
    }
};

TEST_F(DeviceThreads, MayCloseWhileOthersUseFeatures) {
    Together({[this] { OpenAndClose(); }, [this] { UseFeature(); }});
    EXPECT_FALSE(device->IsOpen());
}

TEST_F(DeviceThreads, MayCloseWhileOthersGrab) {
    Together({[this] { OpenAndClose(); }, [this] { Grab(); }, [this] { UseFeature(); }});
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(bus.Count("Stream.PrepareGrab"), bus.Count("Stream.FinishGrab"));
}

TEST_F(DeviceThreads, MayCloseWhileOthersTakeEvents) {
    Together({[this] { OpenAndClose(); },
              [this] {
                  Tavix::IEventGrabber* const grabber = device->GetEventGrabber();
                  if (!grabber) return;
                  Tavix::EventResult result;
                  grabber->Open();
                  grabber->RetrieveEvent(result);
                  grabber->Close();
              }});
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(bus.Count("Events.Open"), bus.Count("Events.Close"));
}

TEST_F(DeviceThreads, MayCloseWhileOthersAskForParsers) {
    Together({[this] { OpenAndClose(); }, [this] { device->DestroyChunkParser(device->CreateChunkParser()); },
              [this] { UseFeature(); }});
    EXPECT_FALSE(device->IsOpen());
}

TEST_F(DeviceThreads, MaySwitchMigrationModeWhileOthersUseFeatures) {
    Open();
    std::atomic<bool> on{false};
    Together({[&] { MigrationModeEnable().SetValue(on = !on); }, [this] { UseFeature(); }, [this] { Grab(); }});
    EXPECT_NE(nullptr, device->GetNodeMap()->GetNode("Width"));
}

TEST_F(DeviceThreads, MayBeUnpluggedWhileOthersGrabAndClose) {
    for (int round = 0; round < 20; ++round) {
        Open();
        std::atomic<int> calls{0};
        auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>([&](Tavix::ITavixDevice*) { ++calls; });
        device->RegisterRemovalCallback(callback);
        std::thread grabbing([this] {
            try {
                Grab();
            } catch (const GenICam::GenericException&) { // closed in between
            }
        });
        std::thread closing([this] { device->Close(); });
        bus.Notify(vexlo::VxCallback_DeviceRemoved);
        closing.join();
        grabbing.join();
        EXPECT_LE(calls, 1);
        EXPECT_FALSE(device->IsOpen());
        device->GetStreamGrabber(0)->Close();
    }
}

TEST_F(DeviceThreads, MayCloseWhileOthersUseParametersAndThePort) {
    Together({[this] { OpenAndClose(); },
              [this] {
                  Integer(device->GetTLNodeMap(), "Statistic_Last_Error_Status").GetValue();
                  Integer(device->GetTLNodeMap(), "CustomRequestId_Value").SetValue(1);
              },
              [this] {
                  unsigned char bytes[4] = {};
                  device->Write(bytes, 0x100, sizeof bytes);
                  device->Read(bytes, 0x100, sizeof bytes);
              },
              [this] {
                  device->GetAccessMode();
                  device->AccessMode();
                  device->IsOpen();
              }});
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(0, bus.openDevices);
}

TEST_F(DeviceThreads, MayCloseWhileOthersComeAndGoAsListeners) {
    std::atomic<int> calls{0};
    const auto listen = [&] {
        auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>([&](Tavix::ITavixDevice*) { ++calls; });
        device->DeregisterRemovalCallback(device->RegisterRemovalCallback(callback));
    };
    Together({[this] { OpenAndClose(); }, listen, listen, [this] { bus.Notify(vexlo::VxCallback_DeviceRemoved); }});
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(0u, bus.NumberOfRegistrations());
}

TEST_F(DeviceThreads, MayBeUnpluggedAtAnyMoment) {
    constexpr std::size_t kCalls = 24; // more than there are from Open to Close
    for (std::size_t moment = 0; moment < kCalls; ++moment) {
        bus.ForgetCalls();
        bus.FailCall(moment, vexlo::VX_E_USB_NO_DEVICE, /*andAllLater=*/true);
        auto closing = Tavix::MakeCallback<Tavix::ITavixDevice*>([](Tavix::ITavixDevice* gone) {
            try {
                gone->Close();
            } catch (const GenICam::GenericException&) { // closed by another, or with a grab that cannot be finished
            }
        });
        Together({[&] {
                      Open();
                      device->RegisterRemovalCallback(closing);
                  },
                  [this] { UseFeature(); }, [this] { Grab(); }, [this] { bus.Notify(vexlo::VxCallback_DeviceLost); },
                  [this] { device->Close(); }},
                 3);
        bus.FailCall(~std::size_t(0), vexlo::VX_OK);
        device->GetStreamGrabber(0)->Close();
        if (device->IsOpen()) device->Close();
        EXPECT_EQ(0, bus.openDevices) << moment;
        EXPECT_EQ(0u, bus.NumberOfRegistrations()) << moment;
    }
    Open();
    EXPECT_NO_THROW(UseFeature());
}

TEST_F(DeviceThreads, MayCancelWhileOthersQueueAndRetrieve) {
    Open();
    Tavix::IStreamGrabber& grabber = *device->GetStreamGrabber(0);
    grabber.Open();
    grabber.PrepareGrab();
    unsigned char image[16];
    const Tavix::StreamBufferHandle handle = grabber.RegisterBuffer(image, sizeof image);
    Together({[&] { grabber.CancelGrab(); }, [&] { grabber.QueueBuffer(handle); },
              [&] {
                  Tavix::GrabResult result;
                  grabber.RetrieveResult(result);
              }});
    EXPECT_EQ(kRounds, bus.Count("Stream.CancelGrab"));
    EXPECT_EQ(kRounds, bus.Count("Stream.QueueBuffer"));
}

} // namespace
