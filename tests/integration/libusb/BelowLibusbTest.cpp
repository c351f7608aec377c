// What happens on the bus itself, below the real libusb: cameras that come and go at the worst moments, others who hold
// them, missing rights, and an event channel that misbehaves.
#include "integration/support/GoodFrames.h"
#include "integration/support/VirtualBus.h"

#include "support/usbfs/Bus.h"
#include "support/usbfs/system/Udev.h"
#include "usb/libusb/LibusbBackend.h"
#include "virtualcam/device/Device.h"
#include "virtualcam/device/Protocol.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <set>
#include <thread>

namespace {

using namespace integration;
using virtualcam::Bytes;
using virtualcam::ControlFault;

constexpr const char* kFast = R"([{"frameRateEnable": false}])";

/// True when it became so in time.
template<class Condition>
bool Eventually(Condition condition) {
    const Tavix::WaitObjectEx never = Tavix::WaitObjectEx::Create();
    for (int i = 0; i < 1000; ++i) {
        if (condition()) return true;
        (void)Tavix::WaitObject(never).Wait(10);
    }
    return condition();
}

/// Everything that was lent to libusb has come back.
void ExpectNothingLeft() {
    EXPECT_EQ(usbfs::Bus::Instance().OpenFileCount(), 0u);
    EXPECT_EQ(usbfs::Bus::Instance().Memory().Used(), 0u);
}

/// Plugs the camera in, true when it is listed. What left is waited for, since it stays listed until the bus has
/// noticed.
bool PlugAgain(VirtualBus& bus) {
    const bool hasLeft = bus.Camera().IsPlugged() || Eventually([&] { return bus.Cameras().empty(); });
    bus.Camera().Plug();
    return hasLeft && Eventually([&] { return bus.Cameras().size() == 1; });
}

// --- coming and going

TEST(Hotplug, ShowsInTheListOfCameras) {
    VirtualBus bus(kFast);
    EXPECT_EQ(bus.Cameras().size(), 1u);
    bus.Camera().Unplug();
    EXPECT_TRUE(Eventually([&] { return bus.Cameras().empty(); }));
    bus.Camera().Plug();
    EXPECT_TRUE(Eventually([&] { return bus.Cameras().size() == 1; }));
    ExpectGoodFrames(*bus.Open());
}

TEST(UnpluggingBelowLibusb, AtAnyCommandOfTheOpeningLeavesNothingBehind) {
    VirtualBus bus(kFast);
    unsigned int failed = 0;
    for (unsigned int commands = 0; commands < 60; commands += 3) {
        virtualcam::FaultScript script;
        virtualcam::ControlFaultRule rule;
        rule.fault = ControlFault::Unplug;
        rule.skip = commands;
        script.control = {rule};
        bus.Camera().SetFaults(script);
        if (!ErrorOf([&] { bus.Open()->Close(); }).empty()) ++failed;
        bus.Camera().SetFaults({});
        ASSERT_TRUE(PlugAgain(bus)) << commands;
        ExpectNothingLeft();
    }
    EXPECT_GT(failed, 5u) << "the camera was not unplugged in time";
    ExpectGoodFrames(*bus.Open());
}

TEST(UnpluggingBelowLibusb, WhileTheDescriptionIsReadFailsTheCreation) {
    VirtualBus bus(kFast);
    virtualcam::FaultScript script;
    virtualcam::ControlFaultRule rule;
    rule.fault = ControlFault::Unplug;
    rule.address = 0x200000; // the description
    script.control = {rule};
    bus.Camera().SetFaults(script);
    EXPECT_NE(ErrorOf([&] { bus.Create(); }), "");
    ExpectNothingLeft();
}

TEST(UnpluggingBelowLibusb, WhenTheStreamIsEnabledFailsTheStart) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    virtualcam::FaultScript script;
    virtualcam::ControlFaultRule rule;
    rule.fault = ControlFault::Unplug;
    rule.address = 0x20004; // stream control
    rule.command = virtualcam::kWriteMem;
    script.control = {rule};
    bus.Camera().SetFaults(script);
    EXPECT_NE(ErrorOf([&] { GrabRun run(*camera); }), "");
    camera.reset();
    ExpectNothingLeft();
}

TEST(UnpluggingBelowLibusb, WhileAGrabIsCancelledGivesEveryBufferBack) {
    VirtualBus bus(kFast);
    for (int round = 0; round < 20; ++round) {
        auto camera = bus.Open();
        std::set<void*> seen;
        {
            GrabRun run(*camera, 8);
            run.Start();
            (void)run.Next(3);
            std::thread unplugging([&] { bus.Camera().Unplug(); });
            ErrorOf([&] { run.Grabber().CancelGrab(); });
            unplugging.join();
            const bool all = Eventually([&] {
                for (const auto& result : run.Drain())
                    EXPECT_TRUE(seen.insert(result.Buffer()).second) << "twice";
                return seen.size() == 8;
            });
            EXPECT_TRUE(all) << seen.size() << " of 8 in round " << round;
        }
        camera.reset();
        ExpectNothingLeft();
        ASSERT_TRUE(PlugAgain(bus));
    }
}

TEST(UnpluggingBelowLibusb, IsToldOnceAndTheNextOpeningFindsTheCameraAgain) {
    VirtualBus bus(kFast);
    std::atomic<int> calls{0};
    auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>([&](Tavix::ITavixDevice*) { ++calls; });
    auto camera = bus.Open();
    camera->RegisterRemovalCallback(callback);
    bus.Camera().Unplug();
    EXPECT_TRUE(Eventually([&] { return calls != 0; }));
    EXPECT_NE(ErrorOf([&] { Set(camera->GetNodeMap(), "Width", "640"); }), "");
    camera.reset();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(PlugAgain(bus));
    ExpectGoodFrames(*bus.Open());
}

// --- others

TEST(Camera, HeldByAnotherProcessIsBusy) {
    VirtualBus bus(kFast);
    std::string reason;
    auto other = usb::CreateLibusbBackend(reason);
    ASSERT_NE(other, nullptr) << reason;
    std::unique_ptr<usb::Handle> handle;
    ASSERT_EQ(other->Open("2-1", handle), usb::Result::Ok);
    ASSERT_EQ(handle->Claim(0), usb::Result::Ok);
    EXPECT_EQ(bus.Cameras().size(), 1u) << "it is listed all the same";
    const std::string error = ErrorOf([&] { bus.Create(); });
    EXPECT_NE(error.find("in use by another program"), std::string::npos) << error;
    handle.reset();
    ExpectGoodFrames(*bus.Open());
}

TEST(Camera, WithoutPermissionNamesTheRule) {
    VirtualBus bus(kFast);
    usbfs::Bus::Instance().MakeNodeOld("2-1");
    usbfs::Bus::Instance().RefuseOpens("2-1", EACCES, 1000);
    EXPECT_EQ(bus.Cameras().size(), 1u) << "it is listed all the same";
    const std::string error = ErrorOf([&] { bus.Create(); });
    EXPECT_NE(error.find("udev"), std::string::npos) << error;
    usbfs::Bus::Instance().RefuseOpens("2-1", 0, 0);
    ExpectGoodFrames(*bus.Open());
}

TEST(Camera, WhoseRightsAreSetAMomentAfterItsArrivalIsOpenedAllTheSame) {
    VirtualBus bus(kFast);
    auto camera = bus.Create();
    usbfs::Bus::Instance().RefuseOpens("2-1", EACCES, 24);
    EXPECT_EQ(ErrorOf([&] { camera->Open(); }), "");
    ExpectGoodFrames(*camera);
}

TEST(Camera, WithoutPermissionForLongIsNotWaitedFor) {
    VirtualBus bus(kFast);
    auto camera = bus.Create();
    usbfs::Bus::Instance().MakeNodeOld("2-1");
    usbfs::Bus::Instance().RefuseOpens("2-1", EACCES, 24); // more than the few attempts that every opening makes
    EXPECT_NE(ErrorOf([&] { camera->Open(); }), "");
}

TEST(Camera, WhoseNodeIsMadeAMomentAfterItsArrivalIsOpenedAllTheSame) {
    VirtualBus bus(kFast);
    auto camera = bus.Create();
    usbfs::Bus::Instance().RefuseOpens("2-1", ENOENT, 4);
    std::thread system([&] {
        // libusb takes a device without a node off its list; the system tells it when the node is there.
        EXPECT_TRUE(Eventually([&] { return bus.Cameras().empty(); }));
        usbfs::Bus::Instance().RefuseOpens("2-1", 0, 0);
        usbfs::AnnounceNode("2-1");
    });
    EXPECT_EQ(ErrorOf([&] { camera->Open(); }), "");
    system.join();
    ExpectGoodFrames(*camera);
}

TEST(Camera, LeftInTheMiddleOfACommandAnswersTheNextHost) {
    VirtualBus bus(kFast);
    // A host that crashed has sent two commands and taken no answer.
    for (const std::uint8_t id : {7, 8}) {
        const Bytes command{0x55, 0x33, 0x56, 0x43, 0x00, 0x40, 0x00, 0x08, 0x0C, 0x00, id,   0x00,
                            0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x00};
        bus.Camera().Out(virtualcam::kControlOut, command.data(), command.size());
    }
    ExpectGoodFrames(*bus.Open());
}

TEST(Camera, LeftStreamingByACrashedHostStartsAgain) {
    VirtualBus bus(kFast);
    const auto write = [&](std::uint64_t address, std::uint32_t value) {
        Bytes bytes;
        virtualcam::Append(bytes, value);
        EXPECT_EQ(bus.Camera().WriteRegister(address, bytes.data(), bytes.size()), virtualcam::Status::Success);
    };
    const std::uint32_t sizes[] = {1024, 65536, 20, 0, 0, 1024};
    for (std::uint64_t i = 0; i < 6; ++i)
        write(0x20018 + 4 * i, sizes[i]);
    write(0x20004, 1);  // stream enable
    write(0x102004, 1); // acquisition start
    write(0x30000, 1);  // event enable
    ExpectGoodFrames(*bus.Open());
}

TEST(TransferMemoryBelowLibusb, OfTheSystemIsSharedByTwoStreams) {
    VirtualBus bus(R"([{"serial": "1", "guid": "120900000001"}, {"serial": "2", "guid": "120900000002"}])",
                   R"("transferMemoryLimit": 8388608)");
    auto first = bus.Open(0), second = bus.Open(1);
    for (auto& camera : {first, second})
        Set(camera->GetStreamGrabber(0)->GetNodeMap(), "MaxTransferSize", "262144");
    GrabRun one(*first), two(*second);
    one.Start();
    two.Start();
    for (int i = 0; i < 15; ++i) {
        EXPECT_TRUE(one.Next().result.Succeeded());
        EXPECT_TRUE(two.Next().result.Succeeded());
    }
    one.Stop();
    two.Stop();
}

// --- the event channel

class EventsBelowLibusb : public testing::Test {
protected:
    EventsBelowLibusb() { m_Events.Open(); }
    ~EventsBelowLibusb() override { m_Events.Close(); }

    static Bytes Message(const Bytes& data, std::uint16_t id = 0x9001, std::uint16_t size = 0) {
        Bytes message;
        virtualcam::Append<std::uint32_t>(message, 0x45563355);
        virtualcam::Append<std::uint16_t>(message, 0);
        virtualcam::Append<std::uint16_t>(message, 0x0C00);
        virtualcam::Append<std::uint16_t>(message, static_cast<std::uint16_t>(12 + data.size()));
        virtualcam::Append<std::uint16_t>(message, 1);
        virtualcam::Append<std::uint16_t>(message, size);
        virtualcam::Append<std::uint16_t>(message, id);
        virtualcam::Append<std::uint64_t>(message, 1000);
        message.insert(message.end(), data.begin(), data.end());
        return message;
    }
    /// The next event, waited for; not succeeded when none came.
    bool Next(Tavix::EventResult& event) {
        return Eventually([&] { return m_Events.RetrieveEvent(event); });
    }
    /// A test event comes through, whatever was before. Asked for again and again, as one may be lost to a full ring.
    void ExpectAlive() {
        EXPECT_TRUE(Eventually([&] {
            Execute(m_Device->GetNodeMap(), "TestEventGenerate");
            Tavix::EventResult event;
            while (m_Events.RetrieveEvent(event)) {
                if (event.Succeeded() && event.Buffer()[14] == 0xFF && event.Buffer()[15] == 0x4F) return true;
            }
            return false;
        })) << "the event channel is dead";
    }

    VirtualBus m_Bus{kFast};
    std::shared_ptr<Tavix::ITavixDevice> m_Device = m_Bus.Open();
    Tavix::IEventGrabber& m_Events = *m_Device->GetEventGrabber();
};

TEST_F(EventsBelowLibusb, BringATestEvent) {
    ExpectAlive();
}

TEST_F(EventsBelowLibusb, OfTheLargestMessageArriveWhole) {
    const Bytes message = Message(Bytes(Tavix::EventResult::kBufferSize - 24, 0xAB));
    m_Bus.Camera().FireRawEvent(message);
    Tavix::EventResult event;
    ASSERT_TRUE(Next(event));
    EXPECT_EQ(Bytes(event.Buffer() + 24, event.Buffer() + message.size()), Bytes(message.begin() + 24, message.end()));
    ExpectAlive();
}

TEST_F(EventsBelowLibusb, OfAMultiEventAreTakenApart) {
    Bytes second;
    virtualcam::Append<std::uint16_t>(second, 12);
    virtualcam::Append<std::uint16_t>(second, 0x9002);
    virtualcam::Append<std::uint64_t>(second, 2000);
    m_Bus.Camera().FireRawEvent(Message(second, 0x9001, 12));
    Tavix::EventResult event;
    ASSERT_TRUE(Next(event));
    EXPECT_EQ(event.Buffer()[14], 0x01);
    ASSERT_TRUE(Next(event));
    EXPECT_EQ(event.Buffer()[14], 0x02);
}

TEST_F(EventsBelowLibusb, ThatAreMalformedAreDropped) {
    for (const Bytes& message :
         {Bytes(), Bytes(3, 0x55), Bytes(24, 0), Bytes(1024, 0xFF), Message({}, 0x9001, 5), Message({}, 0x9001, 5000)})
        m_Bus.Camera().FireRawEvent(message);
    ExpectAlive();
}

TEST_F(EventsBelowLibusb, FasterThanTheApplicationDoNoHarm) {
    for (int i = 0; i < 5000; ++i)
        m_Bus.Camera().FireEvent(0x9001, Bytes(8));
    Tavix::EventResult event;
    EXPECT_TRUE(Next(event));
    ExpectAlive();
}

TEST_F(EventsBelowLibusb, ComeAgainAfterAHalt) {
    m_Bus.Camera().SetHalt(virtualcam::kEventIn);
    ASSERT_TRUE(Eventually([&] { return !m_Bus.Camera().IsHalted(virtualcam::kEventIn); })) << "nobody clears the halt";
    std::uint32_t enabled = 0;
    ASSERT_TRUE(Eventually([&] {
        m_Bus.Camera().ReadRegister(0x30000, reinterpret_cast<std::uint8_t*>(&enabled), sizeof enabled);
        return enabled == 1;
    })) << "nobody enables the events again";
    ExpectAlive();
}

} // namespace
