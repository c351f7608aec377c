#include "Bytes.h"

#include "u3v/EventPacket.h"

#include <gtest/gtest.h>

namespace {

using namespace u3v;
using namespace u3vtest;

const Packet kTestEvent = Hex("55 33 56 45 00 00 00 0C 0C 00 00 00 00 00 FF 4F E8 03 00 00 00 00 00 00");
const Packet kTwoEvents = Hex("55 33 56 45 00 00 00 0C 1E 00 07 00"
                              "0E 00 01 90 01 00 00 00 00 00 00 00 AA BB"
                              "10 00 02 90 02 00 00 00 00 00 00 00 CC DD EE FF");

std::vector<EventEntry> EntriesOf(const Packet& packet) {
    std::vector<EventEntry> found;
    ByteView rest = DecodeEvent(packet).value().entries;
    while (const auto entry = TakeEventEntry(rest))
        found.push_back(*entry);
    return found;
}

TEST(EventPacket, OfATestEventHasOneEntry) {
    const auto entries = EntriesOf(kTestEvent);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].id, 0x4FFF);
    EXPECT_EQ(entries[0].timestamp, 1000u);
    EXPECT_EQ(entries[0].data.size, 0u);
}

TEST(EventPacket, MayCarrySeveralEntries) {
    const auto entries = EntriesOf(kTwoEvents);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].id, 0x9001);
    EXPECT_EQ(entries[0].data.size, 2u);
    EXPECT_EQ(entries[1].timestamp, 2u);
    EXPECT_EQ(entries[1].data.size, 4u);
    EXPECT_EQ(entries[1].data.data[3], 0xFF);
}

TEST(EventPacket, StopsAtAnEntryWithAnImpossibleSize) {
    EXPECT_EQ(EntriesOf(With(kTwoEvents, 26, 11)).size(), 1u);
    EXPECT_EQ(EntriesOf(With(kTwoEvents, 26, 17)).size(), 1u);
    EXPECT_EQ(EntriesOf(With(kTwoEvents, 12, 0xFF)).size(), 0u);
}

TEST(EventPacket, IsNothingWithWrongMagicOrCommand) {
    EXPECT_FALSE(DecodeEvent(With(kTestEvent, 3, 0x43)));
    EXPECT_FALSE(DecodeEvent(With(kTestEvent, 6, 0x01)));
}

TEST(EventPacket, IsNothingAtEveryTruncation) {
    for (const Packet& packet : {kTestEvent, kTwoEvents})
        for (std::size_t size = 0; size < packet.size(); ++size)
            EXPECT_FALSE(DecodeEvent(Cut(packet, size))) << size;
}

TEST(EventPacket, IsNothingWhenItStatesLessThanAnEntry) {
    EXPECT_FALSE(DecodeEvent(With(kTestEvent, 8, 11)));
}

TEST(SingleEvent, IsAMessageOfItsOwn) {
    const auto packet = DecodeEvent(kTwoEvents).value();
    const auto entries = EntriesOf(kTwoEvents);
    Packet message(64);
    const auto size = EncodeSingleEvent(packet, entries[1], message.data(), message.size());
    ASSERT_TRUE(size);
    EXPECT_EQ(Cut(message, *size), Hex("55 33 56 45 00 00 00 0C 10 00 07 00"
                                       "00 00 02 90 02 00 00 00 00 00 00 00 CC DD EE FF"));
}

TEST(SingleEvent, IsRefusedWhenItDoesNotFit) {
    const auto packet = DecodeEvent(kTestEvent).value();
    Packet message(23);
    EXPECT_FALSE(EncodeSingleEvent(packet, EntriesOf(kTestEvent)[0], message.data(), message.size()));
    message.resize(24);
    EXPECT_EQ(EncodeSingleEvent(packet, EntriesOf(kTestEvent)[0], message.data(), message.size()), 24u);
}

TEST(SingleEvent, IsAsLongAsAMessageCanSay) {
    const auto packet = DecodeEvent(kTestEvent).value();
    const Packet longest(65535), tooLong(65536);
    Packet message(70000);
    EventEntry entry;
    entry.bytes = longest;
    EXPECT_EQ(EncodeSingleEvent(packet, entry, message.data(), message.size()), 65547u);
    entry.bytes = tooLong;
    EXPECT_FALSE(EncodeSingleEvent(packet, entry, message.data(), message.size()));
}

} // namespace
