#include "tavixusb/support/DeviceFixture.h"

#include <algorithm>
#include <future>
#include <stdexcept>
#include <thread>

using testing::ElementsAre;

namespace {

constexpr auto kDeviceRemoved = vexlo::VxCallback_DeviceRemoved;
constexpr auto kLost = vexlo::VxCallback_DeviceLost;

/// Counts how many of its kind live and how often any of them is called.
class CountingCallback final : public Tavix::Callback1<Tavix::ITavixDevice*> {
public:
    CountingCallback() { ++living; }
    CountingCallback(const CountingCallback&) : Callback1() { ++living; }
    CountingCallback& operator=(const CountingCallback&) = delete;
    ~CountingCallback() override { --living; }
    void operator()(Tavix::ITavixDevice*) override {
        ++calls;
        mostLiving = std::max(mostLiving, living);
    }
    Tavix::Callback1<Tavix::ITavixDevice*>* clone() const override { return new CountingCallback(*this); }

    static inline int living = 0, mostLiving = 0, calls = 0;
};

class SurpriseRemoval : public DeviceFixture {
protected:
    template<class Function>
    Tavix::DeviceCallbackHandle Register(Function function) {
        auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>(function);
        return device->RegisterRemovalCallback(callback);
    }
};

TEST_F(SurpriseRemoval, IsListenedForWhileTheDeviceIsOpen) {
    EXPECT_EQ(0u, bus.NumberOfRegistrations());
    Open();
    EXPECT_EQ(2u, bus.NumberOfRegistrations());
    device->Close();
    EXPECT_EQ(0u, bus.NumberOfRegistrations());
}

TEST_F(SurpriseRemoval, IsListenedForInBothKindsWithOneHandler) {
    Open();
    ASSERT_EQ(2u, bus.registered.size());
    EXPECT_EQ(11u, bus.registered[0].Kind);
    EXPECT_EQ(12u, bus.registered[1].Kind);
    for (const vexlo::VxCallbackParams& params : bus.registered) {
        EXPECT_NE(nullptr, params.Context);
        EXPECT_EQ(bus.registered[0].Context, params.Context);
        EXPECT_NE(nullptr, params.Device);
        EXPECT_EQ(bus.registered[0].Device, params.Device);
        EXPECT_EQ(bus.registered[0].Handler, params.Handler);
    }
}

TEST_F(SurpriseRemoval, WorksOnClonesOfTheCallback) {
    {
        CountingCallback callback;
        Open();
        const auto first = device->RegisterRemovalCallback(callback);
        device->RegisterRemovalCallback(callback);
        EXPECT_EQ(3, CountingCallback::living);
        EXPECT_TRUE(device->DeregisterRemovalCallback(first));
        EXPECT_EQ(2, CountingCallback::living);
    }
    bus.Notify(kDeviceRemoved);
    EXPECT_EQ(1, CountingCallback::calls);
    EXPECT_EQ(2, CountingCallback::mostLiving); // the stored one and the one that is called
    EXPECT_EQ(1, CountingCallback::living);
    device->Close();
    EXPECT_EQ(0, CountingCallback::living);
}

TEST_F(SurpriseRemoval, IsForgottenOnCloseWithItsCallbacks) {
    int calls = 0;
    Open();
    Register([&](Tavix::ITavixDevice*) { ++calls; });
    device->Close();
    Open();
    EXPECT_EQ(reinterpret_cast<void*>(1), Register([](Tavix::ITavixDevice*) {})); // a new controller
    bus.Notify(kDeviceRemoved);
    EXPECT_EQ(0, calls);
}

TEST_F(SurpriseRemoval, RefusesToRegisterOnAClosedDevice) {
    EXPECT_FAILURE(LogicalErrorException, "TavixUsbDevice.cpp",
                   "Camera object must not be closed (RegisterRemovalCallback)", Register([](Tavix::ITavixDevice*) {}));
}

TEST_F(SurpriseRemoval, RefusesToDeregisterOnAClosedDevice) {
    EXPECT_FAILURE(LogicalErrorException, "TavixUsbDevice.cpp",
                   "Camera object must not be closed (DeregisterRemovalCallback)",
                   device->DeregisterRemovalCallback(nullptr));
}

TEST_F(SurpriseRemoval, CountsItsCookiesFromOneAndUsesNoneTwice) {
    Open();
    const auto first = Register([](Tavix::ITavixDevice*) {});
    EXPECT_EQ(reinterpret_cast<void*>(1), first);
    EXPECT_EQ(reinterpret_cast<void*>(2), Register([](Tavix::ITavixDevice*) {}));
    EXPECT_TRUE(device->DeregisterRemovalCallback(first));
    EXPECT_EQ(reinterpret_cast<void*>(3), Register([](Tavix::ITavixDevice*) {}));
}

TEST_F(SurpriseRemoval, KnowsNoForeignCookie) {
    Open();
    const auto cookie = Register([](Tavix::ITavixDevice*) {});
    EXPECT_FALSE(device->DeregisterRemovalCallback(reinterpret_cast<void*>(2)));
    EXPECT_TRUE(device->DeregisterRemovalCallback(cookie));
    EXPECT_FALSE(device->DeregisterRemovalCallback(cookie));
}

TEST_F(SurpriseRemoval, CallsCallbacksInTheOrderOfTheirCookies) {
    std::vector<int> called;
    Tavix::ITavixDevice* told = nullptr;
    Open();
    for (int i = 0; i < 3; ++i) {
        Register([&, i](Tavix::ITavixDevice* d) {
            told = d;
            called.push_back(i);
        });
    }
    bus.Notify(kDeviceRemoved);
    EXPECT_THAT(called, ElementsAre(0, 1, 2));
    EXPECT_EQ(device, told);
}

TEST_F(SurpriseRemoval, CallsNoCallbackThatWasDeregistered) {
    int calls = 0;
    Open();
    device->DeregisterRemovalCallback(Register([&](Tavix::ITavixDevice*) { ++calls; }));
    bus.Notify(kDeviceRemoved);
    EXPECT_EQ(0, calls);
}

TEST_F(SurpriseRemoval, IsToldOnceOfTheTwoKinds) {
    int calls = 0;
    Open();
    Register([&](Tavix::ITavixDevice*) { ++calls; });
    bus.Notify(kLost);
    EXPECT_EQ(0u, bus.NumberOfRegistrations());
    bus.Notify(kDeviceRemoved);
    EXPECT_EQ(1, calls);
}

TEST_F(SurpriseRemoval, EndsTheNotificationsBeforeItCallsAnybody) {
    std::size_t registrations = 99;
    Open();
    Register([&](Tavix::ITavixDevice*) { registrations = bus.NumberOfRegistrations(); });
    bus.Notify(kDeviceRemoved);
    EXPECT_EQ(0u, registrations);
}

TEST_F(SurpriseRemoval, LetsCallbacksRegisterAndDeregister) {
    bool deregistered = false;
    Open();
    const auto other = Register([](Tavix::ITavixDevice*) {});
    Register([&](Tavix::ITavixDevice* d) {
        deregistered = d->DeregisterRemovalCallback(other);
        Register([](Tavix::ITavixDevice*) {});
    });
    bus.Notify(kDeviceRemoved);
    EXPECT_TRUE(deregistered);
}

TEST_F(SurpriseRemoval, LeavesTheDeviceOpen) {
    Open();
    bus.Notify(kDeviceRemoved);
    EXPECT_TRUE(device->IsOpen());
    EXPECT_EQ(Tavix::DefaultAccessMode(), device->AccessMode());
    device->Close();
}

TEST_F(SurpriseRemoval, SaysHowManyCallbacksThereAre) {
    Open();
    bus.Notify(kDeviceRemoved);
    EXPECT_EQ(1, log.Count({kDeviceLog, 64, "Received surprise removal for '1:2:3'. Callbacks: 0"}));
    device->Close();
    Open();
    Register([](Tavix::ITavixDevice*) {});
    bus.Notify(kDeviceRemoved);
    EXPECT_EQ(1, log.Count({kDeviceLog, 64, "Received surprise removal for '1:2:3'. Callbacks: 1"}));
}

TEST_F(SurpriseRemoval, GoesOnAfterACallbackThatThrows) {
    int calls = 0;
    Open();
    Register([](Tavix::ITavixDevice*) { throw std::runtime_error("no"); });
    Register([](Tavix::ITavixDevice*) { throw 1; });
    Register([&](Tavix::ITavixDevice*) { ++calls; });
    bus.Notify(kDeviceRemoved);
    EXPECT_EQ(1, calls);
    EXPECT_EQ(1, log.Count({kDeviceLog, 256,
                            "Error executing surprise removal callback for '1:2:3'. handle: 0x1; Errormessage: 'no'"}));
    EXPECT_EQ(
        1, log.Count({kDeviceLog, 256, "Unknown error executing surprise removal callback for '1:2:3'. handle: 0x2"}));
}

TEST_F(SurpriseRemoval, LetsACallbackCloseTheDevice) {
    Open();
    Register([](Tavix::ITavixDevice* d) { d->Close(); });
    bus.Notify(kDeviceRemoved);
    EXPECT_FALSE(device->IsOpen());
}

TEST_F(SurpriseRemoval, LetsACallbackDestroyTheDevice) {
    Open();
    Register([this](Tavix::ITavixDevice*) { Destroy(); });
    bus.Notify(kDeviceRemoved);
    EXPECT_EQ(nullptr, device);
    EXPECT_EQ(1, bus.Count("DestroyDevice"));
}

TEST_F(SurpriseRemoval, DoesNotHoldUpACloseOnAnotherThread) {
    std::promise<void> inCallback, closed;
    Open();
    Register([&](Tavix::ITavixDevice*) {
        inCallback.set_value();
        closed.get_future().wait();
    });
    std::thread closer([&] {
        inCallback.get_future().wait();
        device->Close();
        closed.set_value();
    });
    bus.Notify(kDeviceRemoved);
    closer.join();
    EXPECT_FALSE(device->IsOpen());
}

TEST_F(SurpriseRemoval, LetsACallbackAndAnotherThreadCloseAtTheSameTime) {
    for (int round = 0; round < 50; ++round) {
        Open();
        Register([](Tavix::ITavixDevice* d) {
            try {
                d->Close();
            } catch (const GenICam::LogicalErrorException&) { // the other thread was faster
            }
        });
        std::thread closer([&] {
            try {
                device->Close();
            } catch (const GenICam::LogicalErrorException&) { // the callback was faster
            }
        });
        bus.Notify(round % 2 ? kDeviceRemoved : kLost);
        closer.join();
        EXPECT_FALSE(device->IsOpen());
    }
}

TEST_F(SurpriseRemoval, IsToldOnceWhenBothKindsComeTogether) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> calls{0};
        Open();
        Register([&](Tavix::ITavixDevice*) { ++calls; });
        std::thread other([&] { bus.Notify(kLost); });
        bus.Notify(kDeviceRemoved);
        other.join();
        EXPECT_EQ(1, calls);
        device->Close();
    }
}

TEST_F(SurpriseRemoval, OpensTheDeviceThoughItCannotBeListenedFor) {
    bus.Script("RegisterCallback", {kFailure, kFailure - 1});
    log.Forget();
    Open();
    EXPECT_TRUE(device->IsOpen());
    EXPECT_THAT(
        log.All(),
        ElementsAre(LogLine{kDeviceLog, 64, "Opening device '1:2:3' accessMode: 0x1a"},
                    LogLine{kDeviceLog, 256,
                            "CSurpriseRemovalController: Failed to register device notification: 'text E2000777'"},
                    LogLine{kDeviceLog, 256,
                            "CSurpriseRemovalController: Failed to register device notification 2: 'text E2000776'"},
                    LogLine{kDeviceLog, 64, "Opened device '1:2:3' successfully"}));
    device->Close();
    EXPECT_EQ(0, bus.Count("DeregisterCallback"));
}

TEST_F(SurpriseRemoval, TellsWhenItCannotBeUnlistenedFor) {
    bus.Script("DeregisterCallback", {kFailure, kFailure});
    Open();
    device->Close();
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(2, bus.Count("DeregisterCallback")); // and it is not tried again
    EXPECT_EQ(1,
              log.Count({kDeviceLog, 256,
                         "DeregisterFromVexloCallbacks: Failed to unregister device notification: 'text E2000777'"}));
    EXPECT_EQ(1,
              log.Count({kDeviceLog, 256,
                         "DeregisterFromVexloCallbacks: Failed to unregister device notification 2: 'text E2000777'"}));
}

TEST_F(SurpriseRemoval, TriesOnCloseAgainWhatItCouldNotEndBefore) {
    bus.Script("DeregisterCallback", {kFailure, 0});
    Open();
    bus.Notify(kDeviceRemoved);
    EXPECT_EQ(2, bus.Count("DeregisterCallback"));
    device->Close();
    EXPECT_EQ(3, bus.Count("DeregisterCallback")); // the first handle only
    EXPECT_EQ(1,
              log.Count({kDeviceLog, 256,
                         "DeregisterFromVexloCallbacks: Failed to unregister device notification: 'text E2000777'"}));
}

TEST_F(SurpriseRemoval, KeepsTheOneNotificationThatCouldBeRegistered) {
    for (const auto& statuses : {std::vector<vexlo::VxStatus>{kFailure, 0}, {0, kFailure}}) {
        int calls = 0;
        bus.Script("RegisterCallback", statuses);
        Open();
        EXPECT_EQ(1u, bus.NumberOfRegistrations());
        Register([&](Tavix::ITavixDevice*) { ++calls; });
        bus.Notify(kDeviceRemoved);
        bus.Notify(kLost);
        EXPECT_EQ(1, calls);
        device->Close();
        EXPECT_EQ(0u, bus.NumberOfRegistrations());
    }
}

TEST_F(SurpriseRemoval, TakesAHandleThatIsGoneForDeregistered) {
    bus.Script("DeregisterCallback", {vexlo::VX_E_NOT_FOUND, vexlo::VX_E_NOT_FOUND});
    Open();
    log.Forget();
    device->Close();
    for (const LogLine& line : log.All())
        EXPECT_NE(256u, line.level) << line;
}

} // namespace
