// Registers through ports: one by one, and stacked.
#include "gentl-consumer/support/Session.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <random>

namespace {

using namespace consumer;

PORT_REGISTER_STACK_ENTRY Entry(std::uint64_t address, std::uint32_t& value) {
    return {address, &value, sizeof value};
}

TEST(Port, ReadsAndWritesTheCamera) {
    Session session;
    session.Write32(kWidth, 32);
    EXPECT_EQ(session.Read32(kWidth), 32u);
}

TEST(Port, StackedReadsComeInOrder) {
    Session session;
    std::uint32_t width = 0, height = 0, payload = 0;
    PORT_REGISTER_STACK_ENTRY entries[] = {Entry(kWidth, width), Entry(kHeight, height), Entry(kPayload, payload)};
    std::size_t count = 3;
    EXPECT_EQ(session->GCReadPortStacked(session.Remote(), entries, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(width, 64u);
    EXPECT_EQ(height, 64u);
    EXPECT_EQ(payload, 4096u);
}

TEST(Port, StackedWritesComeInOrder) {
    Session session;
    std::uint32_t small = 16, width = 48, offset = 16;
    // The offset is refused while the width is that of the sensor.
    PORT_REGISTER_STACK_ENTRY entries[] = {Entry(kWidth, small), Entry(kOffsetX, offset), Entry(kWidth, width)};
    std::size_t count = 3;
    EXPECT_EQ(session->GCWritePortStacked(session.Remote(), entries, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(session.Read32(kWidth), 48u);
    EXPECT_EQ(session.Read32(kOffsetX), 16u);
}

TEST(Port, AStackThatFailsSaysHowManySucceeded) {
    Session session;
    std::uint32_t width = 0, nothing = 0, height = 7;
    PORT_REGISTER_STACK_ENTRY entries[] = {Entry(kWidth, width), Entry(0x7FFFFFFF0000, nothing),
                                           Entry(kHeight, height)};
    std::size_t count = 3;
    EXPECT_NE(session->GCReadPortStacked(session.Remote(), entries, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(width, 64u);
    EXPECT_EQ(height, 7u) << "what comes behind the failure is left alone";

    std::uint32_t wanted = 32, odd = 0, more = 32;
    PORT_REGISTER_STACK_ENTRY writes[] = {Entry(kWidth, wanted), Entry(0x7FFFFFFF0000, odd), Entry(kHeight, more)};
    count = 3;
    EXPECT_NE(session->GCWritePortStacked(session.Remote(), writes, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(session.Read32(kWidth), 32u);
    EXPECT_EQ(session.Read32(kHeight), 64u);
}

TEST(Port, StackedReadsOfAnyLayoutReadWhatOneReadDoes) {
    Session session;
    for (PORT_HANDLE port : {session.Remote(), session.Device()}) {
        std::uint64_t start = 0, length = 0;
        std::size_t size = sizeof start;
        session.Must(session->GCGetPortURLInfo(port, 0, URL_INFO_FILE_REGISTER_ADDRESS, nullptr, &start, &size), "URL");
        session.Must(session->GCGetPortURLInfo(port, 0, URL_INFO_FILE_SIZE, nullptr, &length, &size), "URL");
        std::vector<std::uint8_t> whole(length);
        size = whole.size();
        session.Must(session->GCReadPort(port, start, whole.data(), &size), "GCReadPort");
        std::mt19937 random(7);
        const std::size_t sizes[] = {0, 1, 3, 4, 8, 1000, 1024, 1025, 3000};
        for (int round = 0; round < 100 && !testing::Test::HasFailure(); ++round) {
            std::vector<std::vector<std::uint8_t>> rooms;
            std::vector<PORT_REGISTER_STACK_ENTRY> entries;
            std::uint64_t next = 0; // neighbours, as a rule; else anywhere, so that they overlap
            for (int i = 0; i < 12; ++i) {
                const std::size_t bytes = sizes[random() % std::size(sizes)];
                if (random() % 3 == 0 || next + bytes > length) next = random() % (length - bytes);
                rooms.emplace_back(bytes + 1, std::uint8_t{0xA5});
                entries.push_back({start + next, rooms.back().data(), bytes});
                next += bytes;
            }
            std::size_t count = entries.size();
            ASSERT_EQ(session->GCReadPortStacked(port, entries.data(), &count), GC_ERR_SUCCESS);
            EXPECT_EQ(count, entries.size());
            for (std::size_t i = 0; i < entries.size(); ++i) {
                const PORT_REGISTER_STACK_ENTRY entry = entries[i];
                ASSERT_EQ(entry.Size, rooms[i].size() - 1);
                EXPECT_EQ(std::memcmp(rooms[i].data(), whole.data() + (entry.Address - start), entry.Size), 0) << i;
                EXPECT_EQ(rooms[i].back(), 0xA5) << i;
            }
        }
    }
}

TEST(Port, AnEmptyStackSucceeds) {
    Session session;
    std::uint32_t value = 0;
    PORT_REGISTER_STACK_ENTRY entry = Entry(kWidth, value);
    std::size_t count = 0;
    EXPECT_EQ(session->GCReadPortStacked(session.Remote(), &entry, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 0u);
}

TEST(Port, AStackWithoutRoomIsRefused) {
    Session session;
    PORT_REGISTER_STACK_ENTRY entry{kWidth, nullptr, 4};
    std::size_t count = 1;
    EXPECT_EQ(session->GCReadPortStacked(session.Remote(), &entry, &count), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(count, 0u);
    count = 1;
    EXPECT_EQ(session->GCWritePortStacked(session.Remote(), &entry, &count), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(count, 0u);
}

TEST(Port, AnAddressThatNobodyHasIsAnError) {
    Session session;
    std::uint32_t value = 0;
    for (PORT_HANDLE port :
         {session.Remote(), session.Device(), session.Interface(), session.System(), session.Stream()})
        for (const std::uint64_t address : {0x7FFFFFFF0000ull, 0xFFFFFFFFFFFFFFFFull, 0xFFFFFFFFFFFFFFFDull}) {
            std::size_t size = sizeof value;
            EXPECT_EQ(session->GCReadPort(port, address, &value, &size), GC_ERR_INVALID_ADDRESS);
            size = sizeof value;
            EXPECT_EQ(session->GCWritePort(port, address, &value, &size), GC_ERR_INVALID_ADDRESS);
        }
}

TEST(Port, NothingIsReadForNoBytes) {
    Session session;
    std::uint32_t value = 7;
    std::size_t size = 0;
    const GC_ERROR code = session->GCReadPort(session.Remote(), kWidth, &value, &size);
    EXPECT_TRUE(code == GC_ERR_SUCCESS || code == GC_ERR_INVALID_PARAMETER) << code;
    EXPECT_EQ(value, 7u);
}

TEST(Port, NullIsRefused) {
    Session session;
    std::uint32_t value = 0;
    std::size_t size = sizeof value;
    EXPECT_EQ(session->GCReadPort(session.Remote(), kWidth, &value, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(session->GCReadPort(session.Remote(), kWidth, nullptr, &size), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(session->GCWritePort(session.Remote(), kWidth, &value, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(session->GCWritePort(session.Remote(), kWidth, nullptr, &size), GC_ERR_INVALID_PARAMETER);
}

TEST(Port, TheLastErrorBelongsToItsThreadAndOutlivesSuccess) {
    Session session;
    std::uint32_t value = 0;
    EXPECT_EQ(session->GCReadPort(session.Remote(), kWidth, &value, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(session.Read32(kWidth), 64u);
    GC_ERROR code = 0;
    const Answer text =
        AskText([&](char* room, std::size_t* size) { return session->GCGetLastError(&code, room, size); });
    EXPECT_EQ(code, GC_ERR_INVALID_PARAMETER);
    EXPECT_NE(text.Text(), "");
}

} // namespace
