#include "tavixbase/support/PluginFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace Tavix {
namespace {

class TlFactoryConcurrency : public testing::Test {
protected:
    TlFactoryConcurrency() {
        fakeCam.Reset();
        otherCam.Reset();
        folder.Add("libtavixfakecam-1.0.0.so", kFakeCamPlugin);
        folder.Add("libtavixothercam-1.0.0.so", kOtherCamPlugin);
    }

    template<class Action>
    static void RunInThreads(Action action) {
        constexpr int kThreads = 4, kRounds = 50;
        std::atomic<int> arrived{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                ++arrived; // all start together, else the first is done before the last is there
                while (arrived < kThreads)
                    std::this_thread::yield();
                for (int round = 0; round < kRounds; ++round)
                    action();
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
    void ExpectNothingLeft() {
        for (FakePluginControl* pPlugin : {&fakeCam, &otherCam}) {
            EXPECT_EQ(pPlugin->overlaps, 0);
            EXPECT_EQ(pPlugin->creations, pPlugin->destructions);
            EXPECT_GT(pPlugin->creations, 0);
        }
    }

    const PluginFolder folder;
    FakePluginControl& fakeCam = ControlOf(kFakeCamPlugin);
    FakePluginControl& otherCam = ControlOf(kOtherCamPlugin);
    CTlFactory& factory = CTlFactory::GetInstance();
};

} // namespace

TEST_F(TlFactoryConcurrency, CountsReferencesOfManyThreads) {
    RunInThreads([&] {
        for (const char* deviceClass : {"FakeCam", "OtherCam"}) {
            ITransportLayer* const pTl = factory.CreateTl(deviceClass);
            EXPECT_EQ(pTl->GetTlInfo().GetDeviceClass(), deviceClass);
            factory.ReleaseTl(pTl);
        }
    });
    ExpectNothingLeft();
}

TEST_F(TlFactoryConcurrency, CreatesAndDestroysDevicesOnManyThreads) {
    RunInThreads([&] {
        ITavixDevice* const pDevice = factory.CreateDevice(CDeviceInfo().SetFullName("OtherCam-1"));
        DeviceInfoList list;
        EXPECT_EQ(factory.EnumerateDevices(list), 2);
        EXPECT_EQ(pDevice->GetDeviceInfo().GetFullName(), "OtherCam-1");
        factory.DestroyDevice(pDevice);
    });
    ExpectNothingLeft();
}

// As the thread that reports removals to the application, which asks for cameras, while the last device is given back.
TEST_F(TlFactoryConcurrency, ServesAThreadThatADestructionWaitsFor) {
    ITavixDevice* const pDevice = factory.CreateFirstDevice(CDeviceInfo().SetDeviceClass("FakeCam"));
    fakeCam.onDestroy = [&] {
        std::thread([&] {
            TlInfoList tls;
            EXPECT_EQ(factory.EnumerateTls(tls), 2);
            ITavixDevice* const pOther = factory.CreateFirstDevice(CDeviceInfo().SetDeviceClass("OtherCam"));
            factory.DestroyDevice(pOther);
            factory.ReleaseTl(factory.CreateTl("OtherCam"));
        }).join();
    };
    factory.DestroyDevice(pDevice);
    ExpectNothingLeft();
}

TEST_F(TlFactoryConcurrency, MakesTheNextTransportLayerOnlyWhenTheLastIsDestroyed) {
    std::thread maker;
    std::atomic<bool> isMade{false};
    fakeCam.onDestroy = [&] {
        if (maker.joinable()) return;
        maker = std::thread([&] {
            factory.ReleaseTl(factory.CreateTl("FakeCam"));
            isMade = true;
        });
        std::thread([&] {
            TlInfoList tls;
            for (int i = 0; i < 100; ++i)
                EXPECT_EQ(factory.EnumerateTls(tls), 2);
        }).join();
        EXPECT_FALSE(isMade);
    };
    factory.ReleaseTl(factory.CreateTl("FakeCam"));
    maker.join();
    EXPECT_EQ(fakeCam.creations, 2);
    EXPECT_EQ(fakeCam.destructions, 2);
    EXPECT_EQ(fakeCam.overlaps, 0);
}

// Ends the process with a transport layer and a device alive, and with a static of the application that gives them back
// even later.
class AtExit {
public:
    ~AtExit() {
        if (!pDevice) return;
        CTlFactory& factory = CTlFactory::GetInstance();
        factory.DestroyDevice(pDevice);
        factory.ReleaseTl(pTl);
        DeviceInfoList list;
        factory.EnumerateDevices(list);
    }
    ITransportLayer* pTl = nullptr;
    ITavixDevice* pDevice = nullptr;
};

using TlFactoryAtExit = TlFactoryConcurrency;

TEST_F(TlFactoryAtExit, LeavesWhatStillLivesAlone) {
    EXPECT_EXIT(
        {
            factory.CreateTl("FakeCam");
            factory.CreateFirstDevice(CDeviceInfo().SetDeviceClass("OtherCam"));
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(TlFactoryAtExit, ServesStaticsThatGiveBackLate) {
    EXPECT_EXIT(
        {
            static AtExit late;
            late.pTl = factory.CreateTl("FakeCam");
            late.pDevice = late.pTl->CreateDevice("FakeCam-1");
            std::exit(late.pDevice ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace Tavix
