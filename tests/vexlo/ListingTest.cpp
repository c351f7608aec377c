// Which cameras are asked for their names by which thread.

#include "vexlo/support/FakeClock.h"
#include "vexlo/support/Fixture.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace vexlotest;
using namespace scripted;

/// A bus that says when its camera is opened.
class ToldBackend final : public usb::Backend {
public:
    ToldBackend(Camera& camera, const std::string& name, std::function<void(const std::string&)> opening)
        : m_Bus(camera, name), m_Name(name), m_Opening(std::move(opening)) {}
    const char* Name() const override { return m_Bus.Name(); }
    usb::Result Enumerate(std::vector<usb::DeviceEntry>& devices) override { return m_Bus.Enumerate(devices); }
    usb::Result Open(const std::string& id, std::unique_ptr<usb::Handle>& handle) override {
        m_Opening(m_Name);
        return m_Bus.Open(id, handle);
    }
    std::uint64_t RegisterHotplug(usb::HotplugHandler handler) override {
        return m_Bus.RegisterHotplug(std::move(handler));
    }
    void DeregisterHotplug(std::uint64_t registration) override { m_Bus.DeregisterHotplug(registration); }

private:
    ScriptedBackend m_Bus;
    const std::string m_Name;
    const std::function<void(const std::string&)> m_Opening;
};

/// Three cameras on a bus each.
class Listing : public OnScriptedCamera {
protected:
    ~Listing() override { Use({std::make_shared<ScriptedBackend>(camera)}); }

    void UseThree(const std::function<void(const std::string&)>& opening) {
        Use({std::make_shared<ToldBackend>(camera, "first", opening),
             std::make_shared<ToldBackend>(m_Second, "second", opening),
             std::make_shared<ToldBackend>(m_Third, "third", opening)});
    }
    static std::vector<DeviceDiscoveryInfo> All() {
        Collector collector;
        EXPECT_EQ(CEnumerator::Discover(&collector), VX_OK);
        return collector.found;
    }

private:
    static void Use(BackendList buses) {
        InjectBackends(std::move(buses));
        Exit();
        EXPECT_EQ(Init(), VX_OK);
    }

    Camera m_Second, m_Third;
};

/// Where those who open cameras wait for each other. Thread-safe.
class Meeting {
public:
    explicit Meeting(int wanted) : m_Wanted(wanted) {}
    void Join() {
        std::unique_lock<std::mutex> guard(m_Mutex);
        ++m_Present;
        m_Changed.notify_all();
        m_Met += m_Changed.wait_for(guard, std::chrono::seconds(30), [this] { return m_Present >= m_Wanted; });
    }
    int Met() const { return m_Met; }

private:
    const int m_Wanted;
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    int m_Present = 0; // guarded by m_Mutex
    int m_Met = 0;     // guarded by m_Mutex; read when all have gone
};

/// A camera that does not answer at endpoint 0 takes seconds to be asked for its names.
TEST_F(Listing, AsksAllCamerasAtTheSameTime) {
    Meeting meeting(3);
    UseThree([&](const std::string&) { meeting.Join(); });
    const auto found = All();
    EXPECT_EQ(meeting.Met(), 3);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_STREQ(found[0].DevicePath, "first:1#0");
    EXPECT_STREQ(found[2].DevicePath, "third:1#0");
    EXPECT_EQ(found[2].DeviceIndex, 2);
    EXPECT_STREQ(found[2].ModelName, "Model");
}

/// Applications list cameras every second to see whether one has come; no threads are made for those that are quick.
TEST_F(Listing, AsksCamerasThatWereQuickWithoutFurtherThreads) {
    FakeClock clock(camera);
    std::mutex mutex;
    std::map<std::string, std::thread::id> threads;
    std::string slow;
    UseThree([&](const std::string& bus) {
        const std::lock_guard<std::mutex> guard(mutex);
        threads[bus] = std::this_thread::get_id();
        if (bus == slow) clock.Pause(std::chrono::seconds(1));
    });
    const std::thread::id here = std::this_thread::get_id();
    All();
    threads.clear();
    slow = "second"; // from now on
    EXPECT_EQ(All().size(), 3u);
    EXPECT_EQ(threads, (std::map<std::string, std::thread::id>{{"first", here}, {"second", here}, {"third", here}}));
    slow.clear();
    All();
    EXPECT_EQ(threads["first"], here);
    EXPECT_NE(threads["second"], here);
    EXPECT_EQ(threads["third"], here);
    All();
    EXPECT_EQ(threads["second"], here) << "it is quick again";
}

} // namespace
