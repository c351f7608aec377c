#include "virtualcam/device/channel/DeviceStream.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

namespace {

using virtualcam::DeviceStream;
using virtualcam::FaultScript;
using virtualcam::Frame;
using virtualcam::PipeStatus;
using virtualcam::ScriptedFaults;
using virtualcam::StreamFault;

struct DeviceStreamTest : testing::Test {
    DeviceStreamTest() {
        layout.maximumLeader = 52;
        layout.maximumTrailer = 36;
        layout.transferSize = 64;
        layout.transferCount = 1;
        frame.geometry.width = frame.geometry.height = 8;
        frame.look = std::make_shared<const virtualcam::Look>();
    }
    DeviceStream::Taken Take() { return stream.Take(buffer.data(), buffer.size()); }

    virtualcam::StreamLayout layout;
    Frame frame;
    DeviceStream stream{/*index=*/1, /*packetSize=*/1024};
    std::array<std::uint8_t, 1024> buffer{};
};

TEST_F(DeviceStreamTest, WantsAFrameWhileItIsOnAndBetweenBlocks) {
    EXPECT_FALSE(stream.Begin(frame)) << "it is off";
    EXPECT_FALSE(Take().wantsFrame);
    stream.Start(layout, 0);
    EXPECT_EQ(Take().answer.status, PipeStatus::NotYet);
    EXPECT_TRUE(Take().wantsFrame);
    EXPECT_TRUE(stream.Begin(frame));
    EXPECT_FALSE(stream.Begin(frame)) << "a block has begun";
    EXPECT_EQ(Take().answer.bytes, 52u) << "the leader";
    stream.Stop();
    EXPECT_FALSE(Take().wantsFrame);
}

TEST_F(DeviceStreamTest, CountsBlocksAnewWhenItStarts) {
    const auto blocks = [this] { return stream.Figures().at(0); };
    stream.Start(layout, 0);
    ASSERT_TRUE(stream.Begin(frame));
    while (!Take().wantsFrame) {
    }
    EXPECT_EQ(blocks(), 1);
    stream.Stop();
    EXPECT_EQ(blocks(), 1);
    stream.Start(layout, 0);
    EXPECT_EQ(blocks(), 0);
}

TEST_F(DeviceStreamTest, ObeysTheFaultsOfItsOwn) {
    FaultScript script;
    script.stream.resize(2);
    script.stream[0].fault = StreamFault::LineError;
    script.stream[0].stream = 0;
    script.stream[1].fault = StreamFault::LostLeader;
    script.stream[1].stream = 1;
    stream.SetFaults(ScriptedFaults(script));
    stream.Start(layout, 0);
    ASSERT_TRUE(stream.Begin(frame));
    const DeviceStream::Taken taken = Take();
    EXPECT_NE(taken.answer.status, PipeStatus::Error);
    EXPECT_NE(taken.answer.bytes, 52u) << "no leader";
}

} // namespace
