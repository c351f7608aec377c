#include "virtualcam/Camera.h"

#include <gtest/gtest.h>

#include "virtualcam/StreamClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::Device;
using virtualcam::FromFloatBits;
using virtualcam::PipeStatus;
using virtualcam::test::Block;
using virtualcam::test::DeviceClient;
using virtualcam::test::Hex;
using virtualcam::test::StreamClient;

constexpr std::uint64_t kWidth = 0x101010, kHeight = 0x101014, kOffsetX = 0x101018, kWidthMax = 0x101008;
constexpr std::uint64_t kLocked = 0x100024;

CameraSettings Small() {
    CameraSettings settings;
    settings.sensorWidth = 128;
    settings.sensorHeight = 64;
    settings.frameRateEnable = false;
    return settings;
}

struct CameraTest : testing::Test {
    Device device{Small()};
    DeviceClient client{device};
    StreamClient stream{client};

    std::uint16_t StartStream() {
        return stream.Start(static_cast<std::uint32_t>((client.Read(0x20008, 8) + 1023) / 1024 * 1024), 1);
    }
    bool HasBlock() {
        Bytes leader;
        return client.Receive(0x83, 1024, leader, 0) == PipeStatus::Complete && leader.size() == 52;
    }
    void SkipBlock() {
        Bytes rest;
        client.Receive(0x83, stream.sizes[1], rest);
        client.Receive(0x83, 1024, rest);
    }
};

// --- image format

TEST_F(CameraTest, LimitsSizeAndOffsetByEachOther) {
    EXPECT_EQ(client.Write32(kOffsetX, 4), 0x8002) << "the image fills the sensor";
    EXPECT_EQ(client.Write32(kWidth, 64), 0);
    EXPECT_EQ(client.Write32(kOffsetX, 64), 0);
    EXPECT_EQ(client.Write32(kOffsetX, 68), 0x8002);
    EXPECT_EQ(client.Write32(kWidth, 68), 0x8002);
    EXPECT_EQ(client.Write32(kWidth, 62), 0x8002) << "not a multiple of four";
    EXPECT_EQ(client.Write32(kWidth, 12), 0x8002);
    EXPECT_EQ(client.Write32(kWidth, 0xFFFFFFFC), 0x8002);
    EXPECT_EQ(client.Read(kWidth, 4), 64u);
}

TEST_F(CameraTest, FitsTheImageIntoTheBinnedSensor) {
    ASSERT_EQ(client.Write32(0x101020, 2), 0);
    EXPECT_EQ(client.Read(kWidthMax, 4), 64u);
    EXPECT_EQ(client.Read(kWidth, 4), 64u);
    EXPECT_EQ(client.Read(0x20008, 8), 64u * 64);
    EXPECT_EQ(client.Write32(0x101020, 3), 0x8002);
}

TEST_F(CameraTest, LocksSizesWhileParametersAreLockedOrTheStreamIsOn) {
    ASSERT_EQ(client.Write32(kLocked, 1), 0);
    EXPECT_EQ(client.Write32(kWidth, 64), 0x8006);
    EXPECT_EQ(client.Write32(0x101030, 0x01080009), 0x8006);
    ASSERT_EQ(client.Write32(kLocked, 0), 0);
    ASSERT_EQ(StartStream(), 0);
    EXPECT_EQ(client.Write32(kHeight, 32), 0x8006);
    stream.Stop();
    EXPECT_EQ(client.Write32(kHeight, 32), 0);
}

TEST_F(CameraTest, SendsOffsetAndFormatInItsLeader) {
    ASSERT_EQ(client.Write32(kWidth, 64), 0);
    ASSERT_EQ(client.Write32(kOffsetX, 32), 0);
    ASSERT_EQ(client.Write32(0x101030, 0x02180015), 0);
    ASSERT_EQ(StartStream(), 0);
    stream.StartAcquisition();
    const Block block = stream.Read();
    EXPECT_EQ(Bytes(block.Leader().begin() + 28, block.Leader().begin() + 48),
              Hex("15001802 40000000 40000000 20000000 00000000"));
}

// --- light

TEST_F(CameraTest, BrightensTheImageByGainAndExposure) {
    const auto pixel = [this] {
        EXPECT_EQ(StartStream(), 0);
        stream.StartAcquisition();
        const Block block = stream.Read();
        stream.StopAcquisition();
        stream.Stop();
        return block.Payload()[60 * 128 + 0]; // gradient: 60
    };
    EXPECT_EQ(pixel(), 60);
    ASSERT_EQ(client.Write32(0x103004, 60), 0); // 6 dB
    EXPECT_NEAR(pixel(), 120, 1);
    ASSERT_EQ(client.Write32(0x102040, 50000), 0); // 5 ms, half of neutral
    EXPECT_NEAR(pixel(), 60, 1);
    ASSERT_EQ(client.Write32(0x10300C, 40), 0); // black level 10
    EXPECT_NEAR(pixel(), 70, 1);
}

TEST_F(CameraTest, PassesPixelsThroughItsLookUpTable) {
    Bytes inverted(8192);
    for (std::uint32_t i = 0; i < 4096; ++i)
        virtualcam::Store<std::uint16_t>(inverted.data() + 2 * i, static_cast<std::uint16_t>(4095 - i));
    ASSERT_EQ(client.Write(0x105000, inverted), 0);
    ASSERT_EQ(client.Write32(0x104004, 1), 0);
    ASSERT_EQ(StartStream(), 0);
    stream.StartAcquisition();
    EXPECT_EQ(stream.Read().Payload()[60 * 128], 255 - 60);
}

TEST_F(CameraTest, AdjustsExposureByItself) {
    ASSERT_EQ(client.Write32(0x102040, 1000), 0);
    ASSERT_EQ(client.Write32(0x102044, 1), 0); // once
    ASSERT_EQ(StartStream(), 0);
    stream.StartAcquisition();
    for (int i = 0; i < 200; ++i)
        stream.Read();
    EXPECT_EQ(client.Read(0x102040, 4), 100000u);
    EXPECT_EQ(client.Read(0x102044, 4), 0u) << "back to off";
}

// --- acquisition

TEST_F(CameraTest, TakesOneImageInSingleFrameMode) {
    ASSERT_EQ(client.Write32(0x102000, 0), 0);
    ASSERT_EQ(StartStream(), 0);
    stream.StartAcquisition();
    EXPECT_EQ(stream.Read().Id(), 0u);
    EXPECT_FALSE(HasBlock());
    EXPECT_EQ(client.Read(0x102038, 4), 0u) << "acquisition is not active any more";
    EXPECT_EQ(client.Read(0x20004, 4), 1u) << "the stream stays enabled";
}

TEST_F(CameraTest, TakesTheCountedImagesInMultiFrameMode) {
    ASSERT_EQ(client.Write32(0x102000, 1), 0);
    ASSERT_EQ(client.Write32(0x10200C, 3), 0);
    ASSERT_EQ(StartStream(), 0);
    stream.StartAcquisition();
    for (std::uint64_t id = 0; id < 3; ++id)
        EXPECT_EQ(stream.Read().Id(), id);
    EXPECT_FALSE(HasBlock());
}

TEST_F(CameraTest, TakesNothingBeforeStartAndAfterStop) {
    ASSERT_EQ(StartStream(), 0);
    EXPECT_FALSE(HasBlock());
    stream.StartAcquisition();
    stream.Read();
    stream.StopAcquisition();
    EXPECT_FALSE(HasBlock());
}

TEST_F(CameraTest, TakesImagesAtItsFrameRate) {
    Bytes rate(8);
    virtualcam::Store(rate.data(), virtualcam::FloatBits(200.0));
    ASSERT_EQ(client.Write(0x102018, rate), 0);
    ASSERT_EQ(client.Write32(0x102014, 1), 0);
    EXPECT_EQ(FromFloatBits(client.Read(0x102020, 8)), 200.0);
    ASSERT_EQ(StartStream(), 0);
    stream.StartAcquisition();
    const Block first = stream.Read();
    const Block second = stream.Read();
    const std::uint64_t periods = second.Id() - first.Id();
    EXPECT_EQ(second.Timestamp() - first.Timestamp(), periods * 5000000) << "on the grid of 5 ms";
}

TEST_F(CameraTest, SkipsWholeImagesForASlowHost) {
    Bytes rate(8);
    virtualcam::Store(rate.data(), virtualcam::FloatBits(10000.0));
    ASSERT_EQ(client.Write(0x102018, rate), 0);
    ASSERT_EQ(client.Write32(0x102014, 1), 0);
    ASSERT_EQ(StartStream(), 0);
    stream.StartAcquisition();
    struct Deaf final : virtualcam::DeviceListener {
        void EndpointReady(std::uint8_t) override {}
        void Unplugged() override {}
        void Plugged() override {}
    } deaf; // with a listener the device has a thread, and its sensor goes on by itself
    device.SetListener(&deaf);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (device.LostFrames() < 5 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_GE(device.LostFrames(), 5u);
    std::vector<std::uint64_t> ids;
    for (int i = 0; i < 8; ++i)
        ids.push_back(stream.Read().Id());
    for (std::size_t i = 1; i < ids.size(); ++i)
        EXPECT_GT(ids[i], ids[i - 1]);
    EXPECT_GT(ids.back(), 7u) << "there is a gap";
    device.SetListener(nullptr);
}

TEST_F(CameraTest, LimitsItsRateByTheThroughput) {
    Bytes limit(8);
    virtualcam::Store<std::uint64_t>(limit.data(), 128 * 64 * 1000ULL); // a thousand images a second
    limit.resize(8);
    ASSERT_EQ(client.Write(0x100010, limit), 0);
    ASSERT_EQ(client.Write32(0x100008, 1), 0);
    EXPECT_NEAR(FromFloatBits(client.Read(0x102020, 8)), 1000.0, 0.01);
}

// --- triggers

struct TriggerTest : CameraTest {
    static constexpr std::uint64_t kBurst = 0x102110, kFrame = 0x102130;
    TriggerTest() {
        EXPECT_EQ(client.Write32(kFrame, 1), 0);
        EXPECT_EQ(StartStream(), 0);
    }
    void Fire(std::uint64_t trigger) { EXPECT_EQ(client.Write32(trigger + 0x10, 1), 0); }
};

TEST_F(TriggerTest, TakesAnImageForEachSoftwareTrigger) {
    stream.StartAcquisition();
    EXPECT_FALSE(HasBlock());
    EXPECT_EQ(client.Read(0x102030, 4), 1u) << "waits for a frame trigger";
    Fire(kFrame);
    EXPECT_EQ(stream.Read().Id(), 0u);
    EXPECT_FALSE(HasBlock());
    Fire(kFrame);
    Fire(kFrame);
    EXPECT_EQ(stream.Read().Id(), 1u);
    EXPECT_EQ(stream.Read().Id(), 2u);
    EXPECT_FALSE(HasBlock());
}

TEST_F(TriggerTest, IgnoresTriggersBeforeStart) {
    Fire(kFrame);
    stream.StartAcquisition();
    EXPECT_FALSE(HasBlock());
}

TEST_F(TriggerTest, IgnoresSoftwareTriggersWhenALineIsTheSource) {
    ASSERT_EQ(client.Write32(kFrame + 4, 1), 0);
    stream.StartAcquisition();
    Fire(kFrame);
    EXPECT_FALSE(HasBlock());
}

TEST_F(TriggerTest, TakesAnImageOnTheEdgeOfALine) {
    ASSERT_EQ(client.Write32(kFrame + 4, 2), 0); // Line2
    stream.StartAcquisition();
    device.SetInput(0, true);
    EXPECT_FALSE(HasBlock()) << "the other line";
    device.SetInput(1, true);
    EXPECT_TRUE(HasBlock());
    SkipBlock();
    device.SetInput(1, false);
    EXPECT_FALSE(HasBlock()) << "a falling edge";
    ASSERT_EQ(client.Write32(0x107010 + 0x20 + 4, 1), 0); // inverter
    device.SetInput(1, true);
    EXPECT_FALSE(HasBlock());
    device.SetInput(1, false);
    EXPECT_TRUE(HasBlock());
}

TEST_F(TriggerTest, DelaysATrigger) {
    Bytes delay(4);
    virtualcam::Store(delay.data(), virtualcam::FloatBits(20000.0F));
    ASSERT_EQ(client.Write(kFrame + 0xC, delay), 0);
    stream.StartAcquisition();
    const auto begin = std::chrono::steady_clock::now();
    Fire(kFrame);
    stream.Read();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(19));
}

TEST_F(TriggerTest, TakesABurstOfImages) {
    ASSERT_EQ(client.Write32(kFrame, 0), 0);
    ASSERT_EQ(client.Write32(kBurst, 1), 0);
    ASSERT_EQ(client.Write32(0x102010, 3), 0);
    stream.StartAcquisition();
    EXPECT_FALSE(HasBlock());
    EXPECT_EQ(client.Read(0x102034, 4), 1u) << "waits for a burst trigger";
    Fire(kBurst);
    for (std::uint64_t id = 0; id < 3; ++id)
        EXPECT_EQ(stream.Read().Id(), id);
    EXPECT_FALSE(HasBlock());
}

TEST_F(TriggerTest, NeedsBothTriggersWhenBothAreOn) {
    ASSERT_EQ(client.Write32(kBurst, 1), 0);
    stream.StartAcquisition();
    Fire(kFrame);
    EXPECT_FALSE(HasBlock());
    Fire(kBurst);
    EXPECT_FALSE(HasBlock());
    Fire(kFrame);
    EXPECT_TRUE(HasBlock());
}

// --- events

struct EventTest : CameraTest {
    EventTest() {
        EXPECT_EQ(client.Write32(0x30000, 1), 0);
        for (std::uint64_t i = 0; i < 5; ++i)
            EXPECT_EQ(client.Write32(0x108010 + 4 * i, 1), 0);
    }
    Bytes NextEvent() {
        Bytes event;
        client.Receive(0x82, 1024, event, 0);
        return event;
    }
};

TEST_F(EventTest, TellsStartAndEndOfAnExposure) {
    ASSERT_EQ(StartStream(), 0);
    ASSERT_EQ(client.Write32(0x102000, 0), 0);
    stream.StartAcquisition();
    const Block block = stream.Read();
    const std::uint16_t ids[] = {0x9003, 0x9002, 0x9001};
    for (std::uint16_t i = 0; i < 3; ++i) {
        const Bytes event = NextEvent();
        ASSERT_EQ(event.size(), 32u);
        Bytes expected = Hex("55335645 0000 000C 1400");
        virtualcam::Append<std::uint16_t>(expected, i);
        virtualcam::Append<std::uint16_t>(expected, 0);
        virtualcam::Append<std::uint16_t>(expected, ids[i]);
        EXPECT_EQ(Bytes(event.begin(), event.begin() + 16), expected);
        if (i != 0) {
            EXPECT_EQ(virtualcam::Load<std::uint64_t>(event.data() + 16), block.Timestamp());
        }
        EXPECT_EQ(virtualcam::Load<std::uint64_t>(event.data() + 24), 0u);
    }
    EXPECT_TRUE(NextEvent().empty());
}

TEST_F(EventTest, TellsTriggersThatComeTooEarly) {
    ASSERT_EQ(client.Write32(0x102130, 1), 0);
    ASSERT_EQ(client.Write32(0x102110, 1), 0);
    stream.StartAcquisition();
    ASSERT_EQ(client.Write32(0x102140, 1), 0);
    EXPECT_EQ(virtualcam::Load<std::uint16_t>(NextEvent().data() + 14), 0x9004);
    ASSERT_EQ(client.Write32(0x102120, 1), 0);
    EXPECT_EQ(virtualcam::Load<std::uint16_t>(NextEvent().data() + 14), 0x9003);
    ASSERT_EQ(client.Write32(0x102120, 1), 0);
    EXPECT_EQ(virtualcam::Load<std::uint16_t>(NextEvent().data() + 14), 0x9005);
}

TEST_F(EventTest, IsSilentAboutWhatNobodyAskedFor) {
    for (std::uint64_t i = 0; i < 5; ++i)
        ASSERT_EQ(client.Write32(0x108010 + 4 * i, 0), 0);
    stream.StartAcquisition();
    EXPECT_TRUE(NextEvent().empty());
}

TEST_F(EventTest, LosesEventsWhenItsQueueIsFull) {
    for (int i = 0; i < 100; ++i)
        device.FireEvent(static_cast<std::uint16_t>(0x9100 + i));
    int received = 0;
    Bytes event = NextEvent();
    for (; !event.empty(); event = NextEvent())
        ++received;
    EXPECT_EQ(received, 64);
    device.FireEvent(0x9200);
    EXPECT_FALSE(NextEvent().empty());
}

TEST_F(EventTest, EndsAMessageOfWholePacketsByAnEmptyPacket) {
    device.FireEvent(0x9100, Bytes(1000));
    Bytes event;
    EXPECT_EQ(client.Receive(0x82, 2048, event), PipeStatus::Complete);
    EXPECT_EQ(event.size(), 1024u);
}

TEST_F(EventTest, SendsTheTestEventOnCommand) {
    ASSERT_EQ(client.Write32(0x108004, 1), 0);
    const Bytes event = NextEvent();
    ASSERT_EQ(event.size(), 24u);
    EXPECT_EQ(virtualcam::Load<std::uint16_t>(event.data() + 14), 0x4FFF);
}

// --- lines, timers, counters

TEST_F(CameraTest, ShowsTheLevelsOfItsLines) {
    EXPECT_EQ(client.Read(0x107004, 4), 0u);
    device.SetInput(0, true);
    ASSERT_EQ(client.Write32(0x107010 + 0x40 + 0xC, 3), 0); // Line3: user output
    ASSERT_EQ(client.Write32(0x10700C, 1), 0);
    ASSERT_EQ(client.Write32(0x107010 + 0x60 + 4, 1), 0); // Line4: inverted
    EXPECT_EQ(client.Read(0x107004, 4), 0b1101u);
    EXPECT_EQ(client.Read(0x107018, 4), 1u);
    EXPECT_EQ(client.Write32(0x107010, 1), 0x8004) << "an input stays an input";
}

TEST_F(CameraTest, CountsImagesAndWrapsAtTheDuration) {
    ASSERT_EQ(client.Write32(0x107910, 1), 0);
    ASSERT_EQ(client.Write32(0x10791C, 3), 0);
    ASSERT_EQ(StartStream(), 0);
    stream.StartAcquisition();
    for (int i = 0; i < 4; ++i)
        stream.Read();
    EXPECT_EQ(client.Read(0x107918, 4), 1u);
    ASSERT_EQ(client.Write32(0x107914, 1), 0);
    EXPECT_EQ(client.Read(0x107918, 4), 0u);
}

TEST_F(CameraTest, RunsATimerFromASignal) {
    ASSERT_EQ(client.Write32(0x107810, 16000000), 0);
    ASSERT_EQ(client.Write32(0x107818, 2), 0); // burst start
    EXPECT_EQ(client.Read(0x107820, 4), 0u);
    stream.StartAcquisition();
    EXPECT_EQ(client.Read(0x107820, 4), 1u);
    ASSERT_EQ(client.Write32(0x10781C, 1), 0);
    EXPECT_EQ(client.Read(0x107820, 4), 0u);
}

// --- user sets and the rest

TEST_F(CameraTest, KeepsUserSetsAcrossPower) {
    ASSERT_EQ(client.Write32(kWidth, 64), 0);
    ASSERT_EQ(client.Write32(0x103004, 33), 0);
    EXPECT_EQ(client.Write32(0x10A008, 1), 0x8006) << "the factory's set is not to be saved";
    ASSERT_EQ(client.Write32(0x10A000, 1), 0);
    ASSERT_EQ(client.Write32(0x10A008, 1), 0);
    ASSERT_EQ(client.Write32(0x10A00C, 1), 0);
    ASSERT_EQ(client.Write32(0x10A000, 0), 0);
    ASSERT_EQ(client.Write32(0x10A004, 1), 0);
    EXPECT_EQ(client.Read(kWidth, 4), 128u);
    device.Unplug();
    device.Plug();
    EXPECT_EQ(client.Read(kWidth, 4), 64u);
    EXPECT_EQ(client.Read(0x103004, 4), 33u);
    EXPECT_EQ(client.Read(0x20008, 8), 64u * 64);
}

TEST_F(CameraTest, AcknowledgesLateWithPendingAcknowledges) {
    Bytes answer = client.Ask("55335643 0040 0208 0C00 4400 2800100000000000 A0000000", 2000);
    EXPECT_EQ(answer, Hex("55335643 0000 0508 0400 4400 0000 6400")) << "a pending acknowledge of 100 ms";
    int pendings = 1;
    while (client.Receive(0x81, 1024, answer) == PipeStatus::Complete && answer[6] == 0x05)
        ++pendings;
    EXPECT_EQ(answer, Hex("55335643 0000 0308 0400 4400 0000 0400"));
    EXPECT_GE(pendings, 2);
    EXPECT_EQ(client.Read(0x100028, 4), 160u);
}

TEST_F(CameraTest, IsBusyWhileACommandIsPending) {
    ASSERT_EQ(client.Send(Hex("55335643 0040 0208 0C00 4400 2800100000000000 32000000")), PipeStatus::Complete);
    EXPECT_EQ(client.Ask("55335643 0040 0008 0C00 4500 0000000000000000 0000 0400"),
              Hex("55335643 0780 0108 0000 4500"));
    EXPECT_EQ(client.Ask("55335643 0040 0208 0C00 4400 2800100000000000 32000000"),
              Hex("55335643 0000 0508 0400 4400 0000 6400"));
    Bytes answer;
    EXPECT_EQ(client.Receive(0x81, 1024, answer), PipeStatus::Complete);
    EXPECT_EQ(answer, Hex("55335643 0000 0308 0400 4400 0000 0400"));
}

TEST_F(CameraTest, ForgetsAPendingCommandWhenTheChannelIsHalted) {
    ASSERT_EQ(client.Send(Hex("55335643 0040 0208 0C00 4400 2800100000000000 32000000")), PipeStatus::Complete);
    device.SetHalt(0x81);
    device.ClearHalt(0x81);
    EXPECT_EQ(client.Read(0, 4), 0x00010003u);
}

TEST_F(CameraTest, RestoresInterfacesByABusReset) {
    ASSERT_EQ(StartStream(), 0);
    ASSERT_EQ(client.Write32(0x30000, 1), 0);
    ASSERT_EQ(client.Write32(0x103004, 7), 0);
    device.BusReset();
    EXPECT_EQ(client.Read(0x20004, 4), 0u);
    EXPECT_EQ(client.Read(0x2001C, 4), 0u);
    EXPECT_EQ(client.Read(0x30000, 4), 0u);
    EXPECT_EQ(client.Read(0x103004, 4), 7u) << "features stay";
}

} // namespace
