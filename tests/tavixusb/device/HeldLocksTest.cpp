// Operations that wait for a lock which another thread holds.

#include "TavixTL_USB/TavixUSB/event/TavixUsbEventGrabber.h"
#include "TavixTL_USB/TavixUSB/stream/TavixUsbStream.h"

#include "tavixusb/support/DeviceFixture.h"

#include <GenApi/Synch/Lock.h>

#include <atomic>
#include <future>
#include <thread>

namespace {

/// Runs the operation on another thread while this one holds the lock. It must not come to its end before the lock is
/// given back: a thread that does not wait has ample time to.
template<class Lock>
void ExpectToWait(
    Lock& lock, const std::function<void()>& operation, const std::function<void()>& meanwhile = [] {}) {
    std::atomic<bool> hasBegun{false}, isDone{false};
    std::unique_lock<Lock> guard(lock);
    std::thread other([&] {
        hasBegun = true;
        operation();
        isDone = true;
    });
    while (!hasBegun)
        std::this_thread::yield();
    for (int i = 0; i < 20000; ++i)
        std::this_thread::yield();
    meanwhile();
    EXPECT_FALSE(isDone);
    guard.unlock();
    other.join();
}

/// The names that the standard library's guards want.
struct NodeMapLock {
    void lock() TAVIX_NO_THREAD_SAFETY_ANALYSIS { m_Lock.Lock(); }
    void unlock() TAVIX_NO_THREAD_SAFETY_ANALYSIS { m_Lock.Unlock(); }
    GenApi::CLock& m_Lock;
};

/// The device's lock, which a register transfer holds.
class DeviceLock {
public:
    explicit DeviceLock(Tavix::CTavixUsbDevice& device) : m_Device(device) {}
    void lock() {
        FakeVexlo::Get().onCall = [this](const std::string& call) {
            if (call != "Device.ReadMem") return;
            m_Held.set_value();
            m_Released.get_future().wait();
        };
        m_Holder = std::thread([this] {
            unsigned char bytes[4];
            m_Device.Read(bytes, 0x100, sizeof bytes);
        });
        m_Held.get_future().wait();
    }
    void unlock() {
        m_Released.set_value();
        m_Holder.join();
        FakeVexlo::Get().onCall = nullptr;
    }

private:
    Tavix::CTavixUsbDevice& m_Device;
    std::promise<void> m_Held, m_Released;
    std::thread m_Holder;
};

class HeldLocks : public DeviceFixture {
protected:
    HeldLocks() {
        Load(CameraXmlWithChunks());
        Open();
    }
};

TEST_F(HeldLocks, StopWhoAsksTheStreamGrabber) {
    auto& grabber = dynamic_cast<Tavix::CTavixUsbStream&>(*device->GetStreamGrabber(0));
    ExpectToWait(grabber.GetLock(), [&] { grabber.IsOpen(); });
    ExpectToWait(grabber.GetLock(), [&] { grabber.GetWaitObject(); });
    ExpectToWait(grabber.GetLock(), [&] { grabber.GetNodeMap(); });
}

TEST_F(HeldLocks, StopWhoAsksTheEventGrabber) {
    auto& grabber = dynamic_cast<Tavix::CTavixUsbEventGrabber&>(*device->GetEventGrabber());
    ExpectToWait(grabber.GetLock(), [&] { grabber.IsOpen(); });
    ExpectToWait(grabber.GetLock(), [&] { grabber.GetWaitObject(); });
    ExpectToWait(grabber.GetLock(), [&] { grabber.GetNodeMap(); });
}

TEST_F(HeldLocks, StopWhoMakesParsersAndAdapters) {
    DeviceLock forParser(*device), forAdapter(*device);
    ExpectToWait(forParser, [&] { device->CreateChunkParser(); });
    ExpectToWait(forAdapter, [&] { device->CreateEventAdapter(); });
}

/// A feature access holds the node map and wants the device: who makes a parser must not hold the device and want the
/// node map.
TEST_F(HeldLocks, AreTakenInTheirOrderByWhoMakesParsersAndAdapters) {
    NodeMapLock lock{device->GetNodeMap()->GetLock()};
    const std::function<void()> makes[] = {[&] { device->CreateChunkParser(); }, [&] { device->CreateEventAdapter(); }};
    for (const auto& make : makes) {
        std::future<bool> asked;
        bool isAnswered = false;
        ExpectToWait(lock, make, [&] {
            asked = std::async(std::launch::async, [this] { return device->IsOpen(); });
            isAnswered = asked.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
        });
        EXPECT_TRUE(isAnswered);
    }
}

} // namespace
