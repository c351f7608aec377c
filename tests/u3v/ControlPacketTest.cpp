#include "Bytes.h"

#include "u3v/ControlPacket.h"

#include <gtest/gtest.h>

namespace {

using namespace u3v;
using namespace u3vtest;

Packet Encoded(std::uint16_t id, std::uint64_t address, const Packet& data) {
    Packet packet(64);
    const auto size = EncodeWriteMem(id, address, data, packet.data(), packet.size());
    return Cut(packet, size.value());
}

TEST(ReadMemCommand, IsTheBytesOfTheWire) {
    const auto packet = EncodeReadMem(0, 0, 4);
    EXPECT_EQ(Packet(packet.begin(), packet.end()), Hex("55335643 0040 0008 0C00 0000 0000000000000000 0000 0400"));
}

TEST(ReadMemCommand, CarriesAddressCountAndId) {
    const auto packet = EncodeReadMem(0xABCD, 0x1122334455667788, 0xFEDC);
    EXPECT_EQ(Packet(packet.begin(), packet.end()), Hex("55335643 0040 0008 0C00 CDAB 8877665544332211 0000 DCFE"));
}

TEST(WriteMemCommand, IsTheBytesOfTheWire) {
    EXPECT_EQ(Encoded(0x12, 0x20004, Hex("01000000")), Hex("55335643 0040 0208 0C00 1200 0400020000000000 01000000"));
}

TEST(WriteMemCommand, IsRefusedWhenItDoesNotFit) {
    Packet packet(23);
    EXPECT_FALSE(EncodeWriteMem(1, 0, Hex("01000000"), packet.data(), packet.size()));
    const Packet tooLong(65528);
    Packet large(70000);
    EXPECT_FALSE(EncodeWriteMem(1, 0, tooLong, large.data(), large.size()));
}

TEST(WriteMemCommand, TakesAllThatFits) {
    Packet exact(24);
    EXPECT_EQ(EncodeWriteMem(1, 0, Hex("01000000"), exact.data(), exact.size()), 24u);
    const Packet longest(65527);
    Packet large(70000);
    EXPECT_EQ(EncodeWriteMem(1, 0, longest, large.data(), large.size()), 65547u);
}

TEST(Acknowledge, OfAReadCarriesTheData) {
    const auto bytes = Hex("55335643 0000 0108 0400 0000 03000100");
    const auto acknowledge = DecodeAcknowledge(bytes);
    ASSERT_TRUE(acknowledge);
    EXPECT_EQ(acknowledge->status, 0);
    EXPECT_EQ(acknowledge->command, 0x0801);
    EXPECT_EQ(acknowledge->requestId, 0);
    EXPECT_TRUE(acknowledge->IsWhole());
    EXPECT_EQ(Packet(acknowledge->data.data, acknowledge->data.data + acknowledge->data.size), Hex("03000100"));
}

TEST(Acknowledge, OfAWriteTellsTheWrittenLength) {
    const auto bytes = Hex("55335643 0000 0308 0400 1200 0000 0400");
    EXPECT_EQ(DecodeWrittenLength(DecodeAcknowledge(bytes).value()), 4);
    EXPECT_FALSE(DecodePendingTimeout(DecodeAcknowledge(bytes).value()));
}

TEST(Acknowledge, OfAWriteMayLackTheWrittenLength) {
    const auto bytes = Hex("55335643 0000 0308 0000 1200");
    const auto acknowledge = DecodeAcknowledge(bytes);
    ASSERT_TRUE(acknowledge);
    EXPECT_TRUE(acknowledge->IsWhole());
    EXPECT_FALSE(DecodeWrittenLength(*acknowledge));
}

TEST(Acknowledge, ThatIsPendingTellsItsTime) {
    const auto bytes = Hex("55335643 0000 0508 0400 1200 0000 C800");
    EXPECT_EQ(DecodePendingTimeout(DecodeAcknowledge(bytes).value()), 200);
}

TEST(Acknowledge, ThatIsPendingAndCutShortTellsNoTime) {
    const auto bytes = Hex("55335643 0000 0508 0400 1200 0000 C8");
    EXPECT_FALSE(DecodePendingTimeout(DecodeAcknowledge(bytes).value()));
}

TEST(Acknowledge, OfAnErrorIsJustAHead) {
    const auto bytes = Hex("55335643 0380 0108 0000 1300");
    const auto acknowledge = DecodeAcknowledge(bytes);
    ASSERT_TRUE(acknowledge);
    EXPECT_EQ(acknowledge->status, 0x8003);
    EXPECT_EQ(acknowledge->requestId, 0x13);
    EXPECT_EQ(acknowledge->data.size, 0u);
}

TEST(Acknowledge, LeavesOutBytesBeyondItsLength) {
    const auto bytes = Hex("55335643 0000 0108 0400 0000 03000100 FFFFFFFF");
    EXPECT_EQ(DecodeAcknowledge(bytes)->data.size, 4u);
}

TEST(Acknowledge, IsNothingWithAnotherMagic) {
    EXPECT_FALSE(DecodeAcknowledge(Hex("55335645 0000 0108 0400 0000 03000100")));
}

TEST(Acknowledge, IsNothingOrNotWholeAtEveryTruncation) {
    const auto bytes = Hex("55335643 0000 0108 0400 0000 03000100");
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const Packet cut = Cut(bytes, size);
        const auto acknowledge = DecodeAcknowledge(cut);
        EXPECT_EQ(acknowledge.has_value(), size >= 12) << size;
        EXPECT_FALSE(acknowledge && acknowledge->IsWhole()) << size;
    }
}

} // namespace
