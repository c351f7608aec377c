// A device closed or unplugged while other threads queue, retrieve, cancel, take events and use features. The thread
// sanitizer looks at what they share.

#include "integration/support/VirtualBus.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

namespace {

using namespace integration;

/// A prepared stream and an open event channel, and the threads that use them; the memory lives as long as the camera.
class Crowd {
public:
    explicit Crowd(Tavix::ITavixDevice& device)
        : m_Device(device), m_Stream(*device.GetStreamGrabber(0)), m_Events(*device.GetEventGrabber()) {}

    void Prepare() {
        Set(m_Device.GetNodeMap(), "Width", "640");
        Set(m_Device.GetNodeMap(), "Height", "480");
        m_Memory.assign(8, std::vector<std::uint8_t>(640 * 480));
        m_Stream.Open();
        GenApi::CIntegerPtr(m_Stream.GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(640 * 480);
        m_Stream.PrepareGrab();
        for (auto& memory : m_Memory)
            m_Stream.QueueBuffer(m_Stream.RegisterBuffer(memory.data(), memory.size()));
        Set(m_Device.GetNodeMap(), "EventSelector", "ExposureEnd");
        Set(m_Device.GetNodeMap(), "EventNotification", "On");
        m_Events.Open();
    }
    void Start() {
        Again([this] {
            m_Stream.GetWaitObject().Wait(10);
            for (Tavix::GrabResult result; m_Stream.RetrieveResult(result);) {
                if (result.Succeeded()) ++images;
                m_Stream.QueueBuffer(result.Handle());
            }
        });
        Again([this] {
            m_Stream.CancelGrab();
            Tavix::WaitObject::Sleep(3);
        });
        Again([this] { Set(m_Device.GetNodeMap(), "ExposureTime", "2000"); });
        Again([this] { Integer(m_Stream.GetNodeMap(), "Statistic_Total_Buffer_Count"); });
        Again([this] {
            m_Events.GetWaitObject().Wait(10);
            for (Tavix::EventResult event; m_Events.RetrieveEvent(event);)
                ++events;
        });
        ErrorOf([this] { Execute(m_Device.GetNodeMap(), "AcquisitionStart"); });
    }
    void Join() {
        m_Stop = true;
        for (std::thread& thread : m_Threads)
            thread.join();
    }
    bool WaitFor(const std::function<bool()>& condition) const {
        for (int i = 0; i < 2000 && !condition(); ++i)
            Tavix::WaitObject::Sleep(10);
        return condition();
    }

    std::atomic<int> images{0}, events{0};

private:
    /// Over and over on a thread of its own; what a closed or missing camera refuses is part of the game.
    void Again(std::function<void()> step) {
        m_Threads.emplace_back([this, step = std::move(step)] {
            while (!m_Stop)
                if (!ErrorOf(step).empty()) Tavix::WaitObject::Sleep(1);
        });
    }

    Tavix::ITavixDevice& m_Device;
    Tavix::IStreamGrabber& m_Stream;
    Tavix::IEventGrabber& m_Events;
    std::vector<std::vector<std::uint8_t>> m_Memory;
    std::vector<std::thread> m_Threads;
    std::atomic<bool> m_Stop{false};
};

TEST(StreamThreads, MayGoOnWhileTheDeviceIsClosedAndOpened) {
    VirtualBus bus(R"([{"frameRateEnable": false}])");
    auto camera = bus.Open();
    for (int round = 0; round < 4; ++round) {
        if (!camera->IsOpen()) camera->Open();
        Crowd crowd(*camera);
        crowd.Prepare();
        crowd.Start();
        EXPECT_TRUE(crowd.WaitFor([&] { return crowd.images >= 20 && crowd.events >= 5; }));
        EXPECT_EQ(ErrorOf([&] { camera->Close(); }), "");
        EXPECT_FALSE(camera->IsOpen());
        EXPECT_FALSE(camera->GetStreamGrabber(0)->IsOpen());
        crowd.Join();
    }
}

TEST(StreamThreads, MayGoOnWhileTheCameraIsUnpluggedAndComesBack) {
    VirtualBus bus(R"([{"frameRateEnable": false, "faults":
        {"stream": [{"fault": "Unplug", "frame": 60, "value": 1000}], "replugAfterMs": 100}}])");
    {
        auto camera = bus.Open();
        std::atomic<int> removals{0};
        auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>([&](Tavix::ITavixDevice*) { ++removals; });
        camera->RegisterRemovalCallback(callback);
        Crowd crowd(*camera);
        crowd.Prepare();
        crowd.Start();
        EXPECT_TRUE(crowd.WaitFor([&] { return removals == 1; }));
        EXPECT_TRUE(camera->IsOpen());
        // The camera cannot be unlocked any more, which the first attempt tells.
        if (!ErrorOf([&] { camera->Close(); }).empty()) camera->Close();
        EXPECT_FALSE(camera->IsOpen());
        crowd.Join();
        EXPECT_EQ(removals, 1);
    }
    for (int i = 0; i < 500 && bus.Cameras().empty(); ++i)
        Tavix::WaitObject::Sleep(10);
    EXPECT_GT(Integer(bus.Open()->GetNodeMap(), "Width"), 0);
}

TEST(LeavingCamera, LeavesTheStreamOpenThoughTheCameraCannotBeTold) {
    VirtualBus bus(R"([{"frameRateEnable": false, "faults": {"stream": [{"fault": "Unplug", "frame": 3}]}}])");
    auto camera = bus.Open();
    std::atomic<int> removals{0};
    auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>([&](Tavix::ITavixDevice*) { ++removals; });
    camera->RegisterRemovalCallback(callback);
    Tavix::IStreamGrabber& stream = *camera->GetStreamGrabber(0);
    std::vector<std::uint8_t> memory(static_cast<std::size_t>(Integer(camera->GetNodeMap(), "PayloadSize")));
    stream.Open();
    GenApi::CIntegerPtr(stream.GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(std::int64_t(memory.size()));
    stream.PrepareGrab();
    const Tavix::StreamBufferHandle handle = stream.RegisterBuffer(memory.data(), memory.size());
    stream.QueueBuffer(handle);
    ErrorOf([&] { Execute(camera->GetNodeMap(), "AcquisitionStart"); });
    for (int i = 0; i < 2000 && removals == 0; ++i) {
        Tavix::GrabResult result;
        if (stream.GetWaitObject().Wait(10) && stream.RetrieveResult(result))
            ErrorOf([&] { stream.QueueBuffer(result.Handle()); });
    }
    ASSERT_EQ(removals, 1);
    EXPECT_EQ(ErrorOf([&] { stream.FinishGrab(); }), "FinishGrab() failed: The camera was removed.");
    EXPECT_TRUE(stream.IsOpen());
    EXPECT_EQ(ErrorOf([&] { stream.DeregisterBuffer(handle); }), "");
    EXPECT_EQ(ErrorOf([&] { stream.Close(); }), "");
    EXPECT_EQ(ErrorOf([&] { camera->Close(); }), "");
}

} // namespace
