// Events and chunk data of the virtual camera through the whole stack, by present and by older names.

#include "integration/support/GrabRun.h"
#include "integration/support/VirtualBus.h"

#include <GenApi/NodeCallback.h>
#include <gtest/gtest.h>
#include <vexlo/Status.h>

namespace {

using namespace integration;

/// The event channel of a camera that tells of each exposure. Bound to a thread.
class Events {
public:
    explicit Events(Tavix::ITavixDevice& device) : m_Device(device), grabber(*device.GetEventGrabber()) {
        Set(device.GetNodeMap(), "EventSelector", "ExposureEnd");
        Set(device.GetNodeMap(), "EventNotification", "On");
        grabber.Open();
        m_Adapter = device.CreateEventAdapter();
    }
    ~Events() {
        m_Device.DestroyEventAdapter(m_Adapter);
        grabber.Close();
    }
    /// Delivers all that arrives until a callback has raised `counter` to `wanted`; false when that takes too long.
    bool DeliverUntil(const int& counter, int wanted) {
        while (counter < wanted) {
            Tavix::EventResult event;
            if (!grabber.RetrieveEvent(event)) {
                if (!grabber.GetWaitObject().Wait(GrabRun::kTimeoutMs)) return false;
                continue;
            }
            m_Adapter->DeliverMessage(event.Buffer(), Tavix::EventResult::kBufferSize);
        }
        return true;
    }

private:
    Tavix::ITavixDevice& m_Device;

public:
    Tavix::IEventGrabber& grabber;

private:
    Tavix::IEventAdapter* m_Adapter;
};

class EventsByName : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(EventsByName, ReachACallbackOnceEachInOrder) {
    VirtualBus bus(R"([{"frameRateEnable": false}])"); // it waits for a slow machine
    auto camera = bus.Open();
    Set(camera->GetTLNodeMap(), "MigrationModeEnable", GetParam().first);
    int exposures = 0;
    Events events(*camera);
    GenApi::INode* const node = camera->GetNodeMap()->GetNode(GetParam().second);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->GetName(), "EventExposureEndFrameID");
    const auto handle = GenApi::Register(node, [&](GenApi::INode* frame) {
        EXPECT_EQ(GenApi::CIntegerPtr(frame)->GetValue(), exposures);
        ++exposures;
    });
    GrabRun run(*camera);
    run.Start();
    EXPECT_TRUE(events.DeliverUntil(exposures, 5));
    run.Stop();
    GenApi::Deregister(handle);
    GenApi::INodeMap* const counters = events.grabber.GetNodeMap();
    EXPECT_GE(Integer(counters, "Statistic_Total_Event_Count"), 5);
    EXPECT_EQ(Integer(counters, "Statistic_Failed_Event_Count"), 0);
}

INSTANTIATE_TEST_SUITE_P(PresentAndOlder, EventsByName,
                         testing::Values(std::make_pair("0", "EventExposureEndFrameID"),
                                         std::make_pair("1", "ExposureEndEventFrameID")));

TEST(TestEvents, ComeAsManyAsAreAskedFor) {
    VirtualBus bus("[{}]");
    auto camera = bus.Open();
    Events events(*camera);
    int heard = 0;
    const auto handle =
        GenApi::Register(camera->GetNodeMap()->GetNode("EventTestTimestamp"), [&](GenApi::INode*) { ++heard; });
    GenApi::CIntegerPtr(events.grabber.GetNodeMap()->GetNode("GenerateNumTestEvents_Value"))->SetValue(3);
    EXPECT_TRUE(events.DeliverUntil(heard, 3));
    Tavix::EventResult more;
    EXPECT_FALSE(events.grabber.RetrieveEvent(more));
    GenApi::Deregister(handle);
}

TEST(EventsThatNobodyRetrieves, AreCountedWhereTheyDoNotFitAndTheOldestStay) {
    VirtualBus bus("[{}]");
    auto camera = bus.Open();
    GenApi::INodeMap* const counters = camera->GetEventGrabber()->GetNodeMap();
    const auto count = [&](const char* name) {
        counters->InvalidateNodes();
        return Integer(counters, name);
    };
    const std::int64_t room = GenApi::CIntegerPtr(counters->GetNode("NumBuffer"))->GetMin();
    GenApi::CIntegerPtr(counters->GetNode("NumBuffer"))->SetValue(room);
    Events events(*camera);
    int heard = 0;
    const auto handle =
        GenApi::Register(camera->GetNodeMap()->GetNode("EventTestTimestamp"), [&](GenApi::INode*) { ++heard; });
    const auto fire = [&](std::int64_t wanted) {
        const Tavix::WaitObjectEx pause = Tavix::WaitObjectEx::Create();
        for (; wanted > 0; --wanted) {
            const std::int64_t before = count("Statistic_Total_Event_Count");
            Execute(camera->GetNodeMap(), "TestEventGenerate");
            for (int i = 0; i < 1000 && count("Statistic_Total_Event_Count") == before; ++i)
                (void)Tavix::WaitObject(pause).Wait(1);
        }
    };
    fire(room + 3);
    EXPECT_EQ(count("Statistic_Total_Event_Count"), room + 3);
    EXPECT_EQ(count("Statistic_Failed_Event_Count"), 3);
    EXPECT_EQ(count("Statistic_Last_Failed_Event_Buffer_Status"), vexlo::VX_E_EVENT_LOST);
    EXPECT_TRUE(events.DeliverUntil(heard, static_cast<int>(room)));
    Tavix::EventResult more;
    EXPECT_FALSE(events.grabber.RetrieveEvent(more));
    fire(1);
    EXPECT_TRUE(events.DeliverUntil(heard, static_cast<int>(room) + 1)) << "there is room again";
    EXPECT_EQ(count("Statistic_Failed_Event_Count"), 3);
    GenApi::Deregister(handle);
}

TEST(EventSettings, AreLockedWhileTheGrabberIsOpen) {
    VirtualBus bus("[{}]");
    auto camera = bus.Open();
    GenApi::INodeMap* const settings = camera->GetEventGrabber()->GetNodeMap();
    {
        const Events events(*camera);
        EXPECT_THROW(GenApi::CIntegerPtr(settings->GetNode("NumBuffer"))->SetValue(32), GenICam::AccessException);
    }
    GenApi::CIntegerPtr(settings->GetNode("NumBuffer"))->SetValue(32);
    EXPECT_EQ(Integer(settings, "NumBuffer"), 32);
}

TEST(MigrationMode, MakesItsLayerOnce) {
    VirtualBus bus("[{}]");
    auto camera = bus.Open();
    GenApi::INodeMap* const plain = camera->GetNodeMap();
    Set(camera->GetTLNodeMap(), "MigrationModeEnable", "1");
    GenApi::INodeMap* const layer = camera->GetNodeMap();
    EXPECT_NE(layer, plain);
    Set(camera->GetTLNodeMap(), "MigrationModeEnable", "0");
    EXPECT_EQ(camera->GetNodeMap(), plain);
    Set(camera->GetTLNodeMap(), "MigrationModeEnable", "1");
    EXPECT_EQ(camera->GetNodeMap(), layer);
}

class ChecksumInMode : public testing::TestWithParam<const char*> {};

/// The parser follows the mode in which it was made, and goes on when the mode changes.
TEST_P(ChecksumInMode, IsRightOfEveryFrame) {
    VirtualBus bus(R"([{"frameRateEnable": false}])");
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "ChunkModeActive", "1");
    Set(camera->GetNodeMap(), "ChunkSelector", "PayloadCRC16");
    Set(camera->GetNodeMap(), "ChunkEnable", "1");
    Set(camera->GetTLNodeMap(), "MigrationModeEnable", GetParam());
    Tavix::IChunkParser* const parser = camera->CreateChunkParser();
    GrabRun run(*camera);
    run.Start();
    for (int i = 0; i < 6; ++i) {
        if (i == 3) Set(camera->GetTLNodeMap(), "MigrationModeEnable", GetParam()[0] == '0' ? "1" : "0");
        const Frame frame = run.Next();
        ASSERT_TRUE(frame.result.Succeeded());
        parser->AttachBuffer(frame.bytes.data(), static_cast<std::int64_t>(frame.result.GetPayloadSize64()));
        EXPECT_TRUE(parser->HasCRC());
        EXPECT_TRUE(parser->CheckCRC());
        parser->DetachBuffer();
    }
    run.Stop();
    camera->DestroyChunkParser(parser);
}

INSTANTIATE_TEST_SUITE_P(OffAndOn, ChecksumInMode, testing::Values("0", "1"));

TEST(MigrationMode, LetsAStreamBePreparedWithItsLock) {
    VirtualBus bus(R"([{"frameRateEnable": false}])");
    auto camera = bus.Open();
    Set(camera->GetTLNodeMap(), "MigrationModeEnable", "1");
    GrabRun run(*camera);
    EXPECT_EQ(Integer(camera->GetNodeMap(), "TLParamsLocked"), 1);
    run.Start();
    EXPECT_TRUE(run.Next().result.Succeeded());
    run.Stop();
}

} // namespace
