// How handler and Close agree who came first: see the section "Removal" of docs/threads.md.

#include "tavixusb/support/DeviceFixture.h"

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

using testing::ElementsAre;

namespace {

constexpr auto kRemoved = vexlo::VxCallback_DeviceRemoved;

class RemovalProtocol : public DeviceFixture {
protected:
    RemovalProtocol() { Open(); }
    ~RemovalProtocol() override { bus.onCall = nullptr; }

    template<class Function>
    Tavix::DeviceCallbackHandle Register(Function function) {
        auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>(function);
        return device->RegisterRemovalCallback(callback);
    }
    /// As the access library calls it, on this thread.
    void CallHandler(std::size_t registration) {
        const vexlo::VxCallbackParams params = bus.registered[registration];
        const vexlo::VxCallbackData data = {params.Kind, params.Context, params.Device};
        params.Handler(&data);
    }
    /// Lets `step` run the first time that a notification is ended.
    template<class Step>
    void WhenFirstEnding(Step step) {
        bus.onCall = [this, step](const std::string& call) {
            if (call == "DeregisterCallback" && !m_WasEnding.exchange(true)) step();
        };
    }

private:
    std::atomic<bool> m_WasEnding{false};
};

TEST_F(RemovalProtocol, LeavesTheNotificationsToAHandlerThatDelivers) {
    const auto handler = std::make_shared<std::thread::id>();
    std::atomic<bool> closerMeddles{false}, isFirst{true};
    bus.onCall = [&](const std::string& call) {
        if (call != "DeregisterCallback") return;
        if (!isFirst.exchange(false)) {
            if (std::this_thread::get_id() == *handler) return;
            closerMeddles = true;
            throw std::runtime_error("it would wait for the handler, which waits for it");
        }
        *handler = std::this_thread::get_id();
        std::thread([this] {
            try {
                device->Close();
            } catch (const std::runtime_error&) {
            }
        }).join();
    };
    bus.Notify(kRemoved);
    EXPECT_FALSE(closerMeddles);
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(0u, bus.NumberOfRegistrations());
}

TEST_F(RemovalProtocol, EndsTheNotificationsWithoutItsLock) {
    bool cameThrough = false;
    std::future<void> handler;
    WhenFirstEnding([&] {
        handler = std::async(std::launch::async, [this] { CallHandler(0); });
        cameThrough = handler.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    });
    device->Close();
    EXPECT_TRUE(cameThrough) << "a handler waits for a lock that its deregistration waits with";
}

TEST_F(RemovalProtocol, CallsNobodyOnceACloseHasBegun) {
    int calls = 0;
    Register([&](Tavix::ITavixDevice*) { ++calls; });
    bool cameWhileClosing = false;
    WhenFirstEnding([&] {
        CallHandler(0);
        cameWhileClosing = true;
    });
    device->Close();
    EXPECT_TRUE(cameWhileClosing);
    EXPECT_EQ(0, calls);
}

TEST_F(RemovalProtocol, EndsTheNotificationsOfAHandlerWithoutItsLock) {
    bool cameThrough = false;
    std::future<void> other;
    WhenFirstEnding([&] {
        other = std::async(std::launch::async, [this] { CallHandler(1); });
        cameThrough = other.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    });
    bus.Notify(kRemoved);
    EXPECT_TRUE(cameThrough);
}

TEST_F(RemovalProtocol, DeliversOnceHoweverLateTheOtherKindComes) {
    int calls = 0;
    Register([&](Tavix::ITavixDevice*) {
        if (++calls == 1) CallHandler(1);
    });
    bus.Notify(kRemoved);
    CallHandler(0);
    EXPECT_EQ(1, calls);
    EXPECT_EQ(1, log.Count({kDeviceLog, 64, "Received surprise removal for '1:2:3'. Callbacks: 1"}));
}

TEST_F(RemovalProtocol, CallsThoseWhoWereThereWhenTheCameraWent) {
    std::vector<std::string> called;
    Tavix::DeviceCallbackHandle second = nullptr;
    Register([&](Tavix::ITavixDevice* d) {
        called.push_back("first");
        EXPECT_TRUE(d->DeregisterRemovalCallback(second));
        Register([&](Tavix::ITavixDevice*) { called.push_back("late"); });
    });
    second = Register([&](Tavix::ITavixDevice*) { called.push_back("second"); });
    bus.Notify(kRemoved);
    EXPECT_THAT(called, ElementsAre("first", "second"));
}

TEST_F(RemovalProtocol, LetsACallbackDeregisterItself) {
    std::vector<std::string> called;
    Tavix::DeviceCallbackHandle own = nullptr;
    own = Register([&](Tavix::ITavixDevice* d) {
        called.push_back("itself");
        EXPECT_TRUE(d->DeregisterRemovalCallback(own));
        EXPECT_FALSE(d->DeregisterRemovalCallback(own));
    });
    Register([&](Tavix::ITavixDevice*) { called.push_back("next"); });
    bus.Notify(kRemoved);
    EXPECT_THAT(called, ElementsAre("itself", "next"));
}

} // namespace
