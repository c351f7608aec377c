#include "virtualcam/device/channel/ControlChannel.h"

#include <gtest/gtest.h>

#include "virtualcam/support/DeviceClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::Device;
using virtualcam::PipeStatus;
using virtualcam::test::DeviceClient;
using virtualcam::test::Hex;

struct ControlChannelTest : testing::Test {
    Device device{CameraSettings{}};
    DeviceClient client{device};
};

TEST_F(ControlChannelTest, AnswersARead) {
    EXPECT_EQ(client.Ask("55335643 0040 0008 0C00 0000 0000000000000000 0000 0400"),
              Hex("55335643 0000 0108 0400 0000 03000100"));
}

TEST_F(ControlChannelTest, AnswersAWrite) {
    EXPECT_EQ(client.Ask("55335643 0040 0208 0C00 1200 1800020000000000 00040000"),
              Hex("55335643 0000 0308 0400 1200 0000 0400"));
}

TEST_F(ControlChannelTest, RefusesAReadOfAReservedAddress) {
    EXPECT_EQ(client.Ask("55335643 0040 0008 0C00 1300 5002000000000000 0000 4000"),
              Hex("55335643 0380 0108 0000 1300"));
}

TEST_F(ControlChannelTest, RefusesAWriteToAReadOnlyRegister) {
    EXPECT_EQ(client.Ask("55335643 0040 0208 0C00 0100 0000000000000000 01000000"),
              Hex("55335643 0480 0308 0400 0100 0000 0000"));
}

TEST_F(ControlChannelTest, RefusesAWriteWithRequestIdZero) {
    EXPECT_EQ(client.Ask("55335643 0040 0208 0C00 0000 1800020000000000 00040000"),
              Hex("55335643 0280 0308 0400 0000 0000 0000"));
}

TEST_F(ControlChannelTest, AnswersUnknownCommands) {
    EXPECT_EQ(client.Ask("55335643 0040 0608 0000 0700"), Hex("55335643 0180 0708 0000 0700"));
}

TEST_F(ControlChannelTest, RefusesResends) {
    EXPECT_EQ(client.Ask("55335643 00C0 0008 0C00 0500 0000000000000000 0000 0400"),
              Hex("55335643 01A0 0108 0000 0500"));
}

TEST_F(ControlChannelTest, ExecutesWithoutAnswerWhenNoneIsRequested) {
    EXPECT_TRUE(client.Ask("55335643 0000 0208 0C00 0100 1800020000000000 00040000").empty());
    EXPECT_EQ(client.Read(0x20018, 4), 0x400u);
}

TEST_F(ControlChannelTest, IgnoresWhatIsMalformed) {
    const char* const commands[] = {"", "55335643 0040 0008 0C00",
                                    "55335644 0040 0008 0C00 0100 0000000000000000 0000 0400",
                                    "55335643 0040 0008 0D00 0100 0000000000000000 0000 0400",
                                    "55335643 0040 0008 0C00 0100 0000000000000000 0000 0400 00"};
    for (const char* command : commands)
        EXPECT_TRUE(client.Ask(command).empty()) << command;
    EXPECT_EQ(client.Read(0, 4), 0x00010003u);
}

TEST_F(ControlChannelTest, RefusesBadReadParameters) {
    const Bytes refused = Hex("55335643 0280 0108 0000 0100");
    EXPECT_EQ(client.Ask("55335643 0040 0008 0C00 0100 0000000000000000 0100 0400"), refused) << "reserved";
    EXPECT_EQ(client.Ask("55335643 0040 0008 0C00 0100 0000000000000000 0000 0000"), refused) << "no byte";
    EXPECT_EQ(client.Ask("55335643 0040 0008 0C00 0100 0000200000000000 0000 FFFF"), refused) << "beyond the limit";
    EXPECT_EQ(client.Ask("55335643 0040 0008 0B00 0100 0000000000000000 0000 04"), refused) << "short";
}

TEST_F(ControlChannelTest, RepeatsTheAnswerToARepeatedCommandWithoutExecutingIt) {
    const Bytes trigger = Hex("55335643 0040 0208 0C00 0900 0800030000000000 01000000");
    ASSERT_EQ(client.Write32(0x30000, 1), 0);
    const Bytes first = client.Ask(trigger);
    EXPECT_EQ(client.Ask(trigger), first);
    Bytes event;
    EXPECT_EQ(client.Receive(0x82, 1024, event), PipeStatus::Complete);
    EXPECT_EQ(client.Receive(0x82, 1024, event, 0), PipeStatus::NotYet);
}

TEST_F(ControlChannelTest, RefusesTheEventCommandAndOthersOfTheOtherDirection) {
    EXPECT_EQ(client.Ask("55335643 0040 000C 0000 0800"), Hex("55335643 0180 010C 0000 0800"));
}

} // namespace
