// Reading and writing of any length through a control channel.
#include "vexlo/control/RegisterAccess.h"
#include "vexlo/support/ControlChannelFixture.h"

namespace {

using namespace vexlotest;

class Access : public Channel {
protected:
    RegisterAccess access{channel};
    std::size_t done = 0;
};

TEST_F(Access, SplitsReadsByTheAcknowledgeAndWritesByTheCommand) {
    channel.SetLimits(128, 256);
    const Bytes pattern = Pattern(1000);
    camera.Set(0x90000, Bytes(1000));
    ASSERT_EQ(access.Write(0x90000, pattern, Repeat::Safe, done), VX_OK);
    EXPECT_EQ(done, 1000u);
    EXPECT_EQ(camera.Commands().size(), 10u);
    for (const Command& command : camera.Commands())
        EXPECT_LE(command.bytes.size(), 128u);
    Bytes read(1000);
    ASSERT_EQ(access.Read(0x90000, read.data(), read.size(), done), VX_OK);
    EXPECT_EQ(read, pattern);
    EXPECT_EQ(camera.Commands().size(), 10u + 5u);
    for (const Command& command : camera.Commands())
        EXPECT_EQ(command.Address() % 4, 0u);
}

TEST_F(Access, ReadsAroundWhatTheCameraWantsAligned) {
    camera.Set(0x90000, Hex("0001020304050607"));
    camera.OnCommand([](const Command& command) -> Answers {
        const bool aligned = command.Address() % 4 == 0 && command.Count() % 4 == 0;
        if (aligned) return std::nullopt;
        return std::vector<Bytes>{Ack(0x8005, 0x0801, command.RequestId(), {})};
    });
    const Bytes all = Hex("0001020304050607");
    for (std::size_t first = 0; first < all.size(); ++first) {
        for (std::size_t end = first + 1; end <= all.size(); ++end) {
            Bytes read(end - first);
            ASSERT_EQ(access.Read(0x90000 + first, read.data(), read.size(), done), VX_OK) << first << " " << end;
            EXPECT_EQ(read, Bytes(all.begin() + static_cast<std::ptrdiff_t>(first),
                                  all.begin() + static_cast<std::ptrdiff_t>(end)));
        }
    }
}

TEST_F(Access, HalvesBlocksThatTheCameraRefuses) {
    channel.SetLimits(1024, 1024);
    const Bytes pattern = Pattern(900);
    camera.Set(0x90000, pattern);
    camera.OnCommand([](const Command& command) -> Answers {
        if (command.Count() <= 256) return std::nullopt;
        return std::vector<Bytes>{Ack(0x8002, 0x0801, command.RequestId(), {})};
    });
    Bytes read(900);
    ASSERT_EQ(access.Read(0x90000, read.data(), read.size(), done), VX_OK);
    EXPECT_EQ(read, pattern);
}

TEST_F(Access, TellsHowFarItCame) {
    channel.SetLimits(128, 128);
    camera.Set(0x90000, Pattern(116));
    Bytes read(300);
    EXPECT_EQ(access.Read(0x90000, read.data(), read.size(), done), kRefused | 0x8003);
    EXPECT_EQ(done, 116u);
}

} // namespace
