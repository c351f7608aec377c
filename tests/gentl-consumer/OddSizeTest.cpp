// Buffers and rooms of sizes that nobody should have.
#include "gentl-consumer/support/Session.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace consumer;

using RoomQuery = std::function<GC_ERROR(INFO_DATATYPE*, void*, std::size_t*)>;

/// The size that is told is enough, one less is too small and loses nothing, and nothing is written beyond it.
void ExpectPattern(const char* name, Command command, const RoomQuery& query) {
    SCOPED_TRACE(std::string(name) + " " + std::to_string(command));
    std::size_t needed = 0;
    const GC_ERROR asked = query(nullptr, nullptr, &needed);
    if (asked != GC_ERR_SUCCESS) { // then it is refused with room, too
        EXPECT_TRUE(asked == GC_ERR_NOT_AVAILABLE || asked == GC_ERR_NOT_IMPLEMENTED || asked == GC_ERR_NO_DATA)
            << asked;
        std::vector<std::uint8_t> room(1024, 0xA5);
        std::size_t size = room.size();
        EXPECT_EQ(query(nullptr, room.data(), &size), asked);
        EXPECT_EQ(room, std::vector<std::uint8_t>(1024, 0xA5));
        return;
    }
    for (const std::size_t less : {needed - 1, std::size_t{0}}) {
        std::vector<std::uint8_t> room(needed + 1, 0xA5);
        std::size_t size = less;
        EXPECT_EQ(query(nullptr, room.data(), &size), GC_ERR_BUFFER_TOO_SMALL);
        EXPECT_EQ(room, std::vector<std::uint8_t>(needed + 1, 0xA5));
    }
    std::vector<std::uint8_t> room(needed + 16, 0xA5);
    std::size_t size = needed;
    EXPECT_EQ(query(nullptr, room.data(), &size), GC_ERR_SUCCESS);
    EXPECT_EQ(size, needed);
    EXPECT_EQ(room[needed], 0xA5);
    size = SIZE_MAX;
    EXPECT_EQ(query(nullptr, room.data(), &size), GC_ERR_SUCCESS) << "more room than there is memory";
    EXPECT_EQ(size, needed);
}

void ExpectPatterns(const char* name, Command last,
                    const std::function<GC_ERROR(Command, INFO_DATATYPE*, void*, std::size_t*)>& query) {
    for (Command command = 0; command <= last; ++command)
        ExpectPattern(name, command, [&](INFO_DATATYPE* type, void* room, std::size_t* size) {
            return query(command, type, room, size);
        });
}

TEST(OddRoom, IsToldByEachQueryOfTheModules) {
    Session session;
    const TL_HANDLE system = session.System();
    const IF_HANDLE interface = session.Interface();
    const DEV_HANDLE device = session.Device();
    const DS_HANDLE stream = session.Stream();
    const char* const interfaceId = session.InterfaceId().c_str();
    const char* const deviceId = session.DeviceId().c_str();
    ExpectPatterns("GCGetInfo", 10, [&](auto... q) { return session->GCGetInfo(q...); });
    ExpectPatterns("TLGetInfo", 10, [&](auto... q) { return session->TLGetInfo(system, q...); });
    ExpectPatterns("TLGetInterfaceInfo", 2,
                   [&](auto... q) { return session->TLGetInterfaceInfo(system, interfaceId, q...); });
    ExpectPatterns("IFGetInfo", 2, [&](auto... q) { return session->IFGetInfo(interface, q...); });
    ExpectPatterns("IFGetDeviceInfo", 9,
                   [&](auto... q) { return session->IFGetDeviceInfo(interface, deviceId, q...); });
    ExpectPatterns("DevGetInfo", 9, [&](auto... q) { return session->DevGetInfo(device, q...); });
    ExpectPatterns("DSGetInfo", 15, [&](auto... q) { return session->DSGetInfo(stream, q...); });
    for (PORT_HANDLE port : {system, interface, device, stream, session.Remote()}) {
        ExpectPatterns("GCGetPortInfo", 12, [&](auto... q) { return session->GCGetPortInfo(port, q...); });
        ExpectPatterns("GCGetPortURLInfo", 10, [&](auto... q) { return session->GCGetPortURLInfo(port, 0, q...); });
        ExpectPattern("GCGetPortURL", 0, [&](INFO_DATATYPE*, void* room, std::size_t* size) {
            return session->GCGetPortURL(port, static_cast<char*>(room), size);
        });
    }
    ExpectPattern("TLGetInterfaceID", 0, [&](INFO_DATATYPE*, void* room, std::size_t* size) {
        return session->TLGetInterfaceID(system, 0, static_cast<char*>(room), size);
    });
    ExpectPattern("IFGetDeviceID", 0, [&](INFO_DATATYPE*, void* room, std::size_t* size) {
        return session->IFGetDeviceID(interface, 0, static_cast<char*>(room), size);
    });
    ExpectPattern("DevGetDataStreamID", 0, [&](INFO_DATATYPE*, void* room, std::size_t* size) {
        return session->DevGetDataStreamID(device, 0, static_cast<char*>(room), size);
    });
    GC_ERROR last = 0;
    EXPECT_EQ(session->TLGetInfo(system, 999, nullptr, nullptr, nullptr), GC_ERR_INVALID_PARAMETER); // has a text
    ExpectPattern("GCGetLastError", 0, [&](INFO_DATATYPE*, void* room, std::size_t* size) {
        return session->GCGetLastError(&last, static_cast<char*>(room), size);
    });
}

TEST(OddRoom, IsToldByEachQueryOfABuffer) {
    for (const bool isFilled : {false, true}) {
        SCOPED_TRACE(isFilled);
        Session session;
        BUFFER_HANDLE buffer = session.Announce(1).front();
        if (isFilled) {
            session.QueueAll();
            session.Start();
            buffer = session.Next();
            ASSERT_NE(buffer, nullptr);
        }
        const DS_HANDLE stream = session.Stream();
        const EVENT_HANDLE event = session.NewBuffers();
        ExpectPatterns("DSGetBufferInfo", 31,
                       [&](auto... q) { return session->DSGetBufferInfo(stream, buffer, q...); });
        ExpectPatterns("DSGetBufferPartInfo", 13,
                       [&](auto... q) { return session->DSGetBufferPartInfo(stream, buffer, 0, q...); });
        ExpectPatterns("EventGetInfo", 4, [&](auto... q) { return session->EventGetInfo(event, q...); });
        const EVENT_NEW_BUFFER_DATA data{buffer, nullptr};
        ExpectPatterns("EventGetDataInfo", 2,
                       [&](auto... q) { return session->EventGetDataInfo(event, &data, sizeof data, q...); });
    }
}

TEST(OddBuffer, OfOneByteIsFilledAndSaysThatThereIsMore) {
    Session session;
    std::uint8_t memory[3] = {0xA5, 0xA5, 0xA5};
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_EQ(session->DSAnnounceBuffer(session.Stream(), &memory[1], 1, nullptr, &buffer), GC_ERR_SUCCESS);
    ASSERT_EQ(session->DSQueueBuffer(session.Stream(), buffer), GC_ERR_SUCCESS);
    session.Start();
    ASSERT_EQ(session.Next(), buffer);
    EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_IS_INCOMPLETE).Number(), 1u);
    EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_DATA_LARGER_THAN_BUFFER).Number(), 1u);
    EXPECT_LE(session.BufferInfo(buffer, BUFFER_INFO_SIZE_FILLED).Number(), 1u);
    EXPECT_EQ(memory[0], 0xA5);
    EXPECT_EQ(memory[2], 0xA5);
}

TEST(OddBuffer, BeyondTheEndOfMemoryIsRefusedAndHarmsNoOther) {
    Session session;
    session.Announce(2);
    std::uint8_t memory[64];
    for (const std::size_t size : {SIZE_MAX, SIZE_MAX / 2 + 1, SIZE_MAX - 4096}) {
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_EQ(session->DSAnnounceBuffer(session.Stream(), memory, size, nullptr, &buffer), GC_ERR_INVALID_PARAMETER)
            << size;
    }
    session.QueueAll();
    session.Start();
    EXPECT_NE(session.Next(), nullptr);
}

TEST(OddBuffer, ThatIsLargerThanTheImageHoldsNoMoreThanTheImage) {
    Session session;
    std::vector<std::uint8_t> memory(session.PayloadSize() + 100, 0xA5);
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_EQ(session->DSAnnounceBuffer(session.Stream(), memory.data(), memory.size(), nullptr, &buffer),
              GC_ERR_SUCCESS);
    ASSERT_EQ(session->DSQueueBuffer(session.Stream(), buffer), GC_ERR_SUCCESS);
    session.Start();
    ASSERT_EQ(session.Next(), buffer);
    EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_IS_INCOMPLETE).Number(), 0u);
    EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_SIZE_FILLED).Number(), session.PayloadSize());
    EXPECT_EQ(memory[session.PayloadSize()], 0xA5);
}

} // namespace
