// Several threads on one device. The thread sanitizer looks at the order of the locks.

#include "support/DeviceTest.h"

#include <atomic>
#include <functional>
#include <thread>

namespace {

constexpr int kRounds = 200;

class DeviceThreads : public DeviceTest {
protected:
    DeviceThreads() { Load(CameraXmlWithChunks()); }

    /// Runs all at the same time, each over and over; a state that does not fit is part of the game.
    void Together(const std::vector<std::function<void()>>& operations) {
        std::vector<std::thread> threads;
        for (const auto& operation : operations) {
            threads.emplace_back([&operation] {
                for (int i = 0; i < kRounds; ++i) {
                    try {
                        operation();
                    } catch (const GenICam::GenericException&) {
                    }
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }

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
