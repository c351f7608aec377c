// The camera's features as a host works with them.

#include "virtualcam/support/CameraFixture.h"

namespace {

using virtualcam::Bytes;
using virtualcam::FromFloatBits;
using virtualcam::PipeStatus;
using virtualcam::test::Block;
using virtualcam::test::CameraTest;
using virtualcam::test::Hex;

constexpr std::uint64_t kWidth = 0x101010, kHeight = 0x101014, kOffsetX = 0x101018, kWidthMax = 0x101008;

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

TEST_F(CameraTest, LocksSizesWhileTheStreamIsOn) {
    ASSERT_EQ(StartStream(), 0);
    EXPECT_EQ(client.Write32(kHeight, 32), 0x8006);
    EXPECT_EQ(client.Write32(0x101030, 0x01080009), 0x8006);
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
