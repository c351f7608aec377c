// What consumers in the field do, whatever their documents say.
#include "gentl-consumer/support/Description.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <thread>

namespace {

using namespace consumer;

TEST(Habit, AListIsMadeWithoutOpeningACamera) {
    Session session(R"([{"serial": "L1", "guid": "1209000000F1"}, {"serial": "L2", "guid": "1209000000F2"}])");
    std::vector<std::string> serials;
    const IF_HANDLE interface = session.Interface();
    std::uint32_t count = 0;
    ASSERT_EQ(session->IFGetNumDevices(interface, &count), GC_ERR_SUCCESS);
    for (std::uint32_t i = 0; i < count; ++i) {
        char id[64];
        std::size_t size = sizeof id;
        ASSERT_EQ(session->IFGetDeviceID(interface, i, id, &size), GC_ERR_SUCCESS);
        for (const Command what : {DEVICE_INFO_VENDOR, DEVICE_INFO_MODEL, DEVICE_INFO_SERIAL_NUMBER}) {
            char text[512];
            size = sizeof text;
            ASSERT_EQ(session->IFGetDeviceInfo(interface, id, what, nullptr, text, &size), GC_ERR_SUCCESS);
            if (what == DEVICE_INFO_SERIAL_NUMBER) serials.emplace_back(text);
        }
        std::int32_t status = 0;
        size = sizeof status;
        ASSERT_EQ(session->IFGetDeviceInfo(interface, id, DEVICE_INFO_ACCESS_STATUS, nullptr, &status, &size), 0);
        EXPECT_EQ(status, DEVICE_ACCESS_STATUS_READWRITE);
    }
    std::sort(serials.begin(), serials.end());
    EXPECT_EQ(serials, (std::vector<std::string>{"L1", "L2"}));
}

TEST(Habit, ACameraIsOpenedForControlAsForItself) {
    Session session;
    const IF_HANDLE interface = session.Interface();
    const Answer id =
        AskText([&](char* text, std::size_t* size) { return session->IFGetDeviceID(interface, 0, text, size); });
    for (const std::int32_t access : {DEVICE_ACCESS_CONTROL, DEVICE_ACCESS_EXCLUSIVE}) {
        DEV_HANDLE device = nullptr;
        ASSERT_EQ(session->IFOpenDevice(interface, id.Text().c_str(), access, &device), GC_ERR_SUCCESS) << access;
        EXPECT_EQ(session->DevClose(device), GC_ERR_SUCCESS);
    }
}

TEST(Habit, BuffersOfAnyNumberLieAnywhereInMemory) {
    for (const std::size_t count : {1, 5, 10, 50}) {
        Session session;
        EXPECT_LE(session.StreamInfo(STREAM_INFO_BUF_ANNOUNCE_MIN).Number(), 1u) << "some announce just one";
        std::vector<std::uint8_t> memory(count * 4097 + 8);
        for (std::size_t i = 0; i < count; ++i) {
            BUFFER_HANDLE buffer = nullptr;
            ASSERT_EQ(session->DSAnnounceBuffer(session.Stream(), memory.data() + 1 + i * 4097, 4096, nullptr, &buffer),
                      0);
            ASSERT_EQ(session->DSQueueBuffer(session.Stream(), buffer), GC_ERR_SUCCESS);
        }
        session.Start();
        for (int i = 0; i < 60; ++i) {
            const BUFFER_HANDLE buffer = session.Next();
            ASSERT_NE(buffer, nullptr) << count << " buffers, frame " << i;
            EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_IS_INCOMPLETE).Number(), 0u);
            ASSERT_EQ(session->DSQueueBuffer(session.Stream(), buffer), GC_ERR_SUCCESS);
        }
        session.CloseStream(); // the memory ends before the session
    }
}

TEST(Habit, AThreadWaitsForBuffersAndIsKilled) {
    Session session;
    session.Announce(5);
    session.QueueAll();
    session.Start();
    const DS_HANDLE stream = session.Stream();
    const EVENT_HANDLE event = session.NewBuffers();
    std::atomic<int> frames{0};
    std::atomic<bool> stop{false};
    std::thread waiter([&] {
        while (!stop) {
            EVENT_NEW_BUFFER_DATA data{};
            std::size_t size = sizeof data;
            const GC_ERROR code = session->EventGetData(event, &data, &size, 100);
            if (code == GC_ERR_ABORT) break;
            if (code != GC_ERR_SUCCESS) continue;
            ++frames;
            (void)session->DSQueueBuffer(stream, data.BufferHandle);
        }
    });
    EXPECT_TRUE(Eventually([&] { return frames > 100; }));
    EXPECT_EQ(session->EventKill(event), GC_ERR_SUCCESS);
    waiter.join();
    stop = true;
    session.Stop();
}

/// A chunk adapter as consumers have it: it finds the chunks from the end.
class Adapter final : public GenApi::CChunkAdapter {
public:
    explicit Adapter(GenApi::INodeMap* map) { AttachNodeMap(map); }
    bool CheckBufferLayout(uint8_t*, int64_t length) override { return length >= 8; }
    void AttachBuffer(uint8_t* bytes, int64_t length, GenApi::AttachStatistics_t*) override {
        while (length >= 8) {
            std::uint32_t id = 0, size = 0;
            std::memcpy(&id, bytes + length - 8, sizeof id);
            std::memcpy(&size, bytes + length - 4, sizeof size);
            length -= 8 + std::int64_t{size};
            if (length < 0) return;
            Attach(bytes, id, length, size);
        }
    }
    void Attach(uint8_t* bytes, std::uint64_t id, int64_t offset, int64_t size) {
        for (GenApi::CChunkPort* port : m_ChunkPorts)
            if (port->CheckChunkID(id)) port->AttachChunk(bytes, offset, size, false);
    }
};

TEST(Habit, ChunkAdaptersTakeTheWholeBufferOrTheListOfChunks) {
    Session session;
    Module camera(session, session.Remote());
    camera.Set("ChunkModeActive", "1");
    for (const char* chunk : {"Timestamp", "FrameID"}) {
        camera.Set("ChunkSelector", chunk);
        camera.Set("ChunkEnable", "1");
    }
    session.Announce(1);
    session.QueueAll();
    session.Start();
    const BUFFER_HANDLE buffer = session.Next();
    ASSERT_NE(buffer, nullptr);
    auto* bytes = static_cast<std::uint8_t*>(session.BufferInfo(buffer, BUFFER_INFO_BASE).Pointer());
    const auto time = static_cast<std::int64_t>(session.BufferInfo(buffer, BUFFER_INFO_TIMESTAMP_NS).Number());
    Adapter adapter(camera.Nodes()._Ptr);
    adapter.AttachBuffer(bytes, static_cast<std::int64_t>(session.BufferInfo(buffer, BUFFER_INFO_SIZE_FILLED).Number()),
                         nullptr);
    EXPECT_EQ(camera.Integer("ChunkTimestamp"), time);
    EXPECT_EQ(camera.Integer("ChunkFrameID"), 0);
    adapter.DetachBuffer();

    std::array<SINGLE_CHUNK_DATA, 16> chunks;
    std::size_t count = chunks.size();
    ASSERT_EQ(session->DSGetBufferChunkData(session.Stream(), buffer, chunks.data(), &count), GC_ERR_SUCCESS);
    for (std::size_t i = 0; i < count; ++i)
        adapter.Attach(bytes, chunks[i].ChunkID, chunks[i].ChunkOffset,
                       static_cast<std::int64_t>(chunks[i].ChunkLength));
    EXPECT_EQ(camera.Integer("ChunkTimestamp"), time);
}

TEST(Habit, TheLayoutOfChunksIsThatOfTheTrailer) {
    Session session;
    session.Write32(kChunkModeActive, 1);
    session.Write32(kChunkEnable + 4 * 1, 1); // time stamp
    session.Write32(kChunkEnable + 4 * 2, 1); // frame number
    session.Announce(1);
    session.QueueAll();
    session.Start();
    const BUFFER_HANDLE buffer = session.Next();
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_CHUNKLAYOUTID).Number(), 0x107u);
}

TEST(Habit, ChunksOfAnImageWithoutThemAreNone) {
    Session session;
    session.Announce(1);
    session.QueueAll();
    session.Start();
    const BUFFER_HANDLE buffer = session.Next();
    ASSERT_NE(buffer, nullptr);
    std::size_t count = 7;
    const GC_ERROR code = session->DSGetBufferChunkData(session.Stream(), buffer, nullptr, &count);
    EXPECT_TRUE(code == GC_ERR_NO_DATA || (code == GC_ERR_SUCCESS && count == 0)) << code;
}

TEST(Habit, RoomForTooFewChunksIsTooSmall) {
    Session session;
    session.Write32(kChunkModeActive, 1);
    session.Announce(1);
    session.QueueAll();
    session.Start();
    const BUFFER_HANDLE buffer = session.Next();
    ASSERT_NE(buffer, nullptr);
    SINGLE_CHUNK_DATA chunk{};
    std::size_t count = 0;
    EXPECT_EQ(session->DSGetBufferChunkData(session.Stream(), buffer, &chunk, &count), GC_ERR_BUFFER_TOO_SMALL);
}

TEST(Habit, NamesNeverFailEvenIfTheCameraKeepsThemBack) {
    Session session(Session::SmallCamera(R"("registers": {"unreadableStrings": true})"));
    const IF_HANDLE interface = session.Interface();
    const Answer id =
        AskText([&](char* text, std::size_t* size) { return session->IFGetDeviceID(interface, 0, text, size); });
    ASSERT_NE(id.Text(), "");
    for (const Command what : {DEVICE_INFO_VENDOR, DEVICE_INFO_MODEL, DEVICE_INFO_SERIAL_NUMBER}) {
        const Answer answer = Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) {
            return session->IFGetDeviceInfo(interface, id.Text().c_str(), what, type, room, size);
        });
        EXPECT_EQ(answer.code, GC_ERR_SUCCESS) << what;
        EXPECT_FALSE(answer.bytes.empty()) << what;
    }
}

TEST(Habit, TheFrequencyIsAskedWithASizeOfAnyValue) {
    Session session;
    std::uint64_t frequency = 0;
    std::size_t size = 0xDEADBEEF;
    EXPECT_EQ(session->DevGetInfo(session.Device(), DEVICE_INFO_TIMESTAMP_FREQUENCY, nullptr, &frequency, &size), 0);
    EXPECT_EQ(frequency, 1000000000u);
    EXPECT_EQ(size, sizeof frequency);
}

TEST(Habit, OutputsThatNobodyWantsAreNull) {
    Session session;
    EXPECT_EQ(session->TLUpdateInterfaceList(session.System(), nullptr, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(session->IFUpdateDeviceList(session.Interface(), nullptr, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(session->IFUpdateDeviceList(session.Interface(), nullptr, GENTL_INFINITE), GC_ERR_SUCCESS);
    const BUFFER_HANDLE buffer = session.Announce(1).front();
    EXPECT_EQ(session->DSRevokeBuffer(session.Stream(), buffer, nullptr, nullptr), GC_ERR_SUCCESS);
}

TEST(Habit, ModulesAreClosedInAnyOrderAndByAnyThread) {
    std::array<int, 4> order{0, 1, 2, 3};
    do {
        Session session;
        session.Announce(2);
        session.QueueAll();
        session.Start();
        const TL_HANDLE system = session.System();
        const IF_HANDLE interface = session.Interface();
        const DEV_HANDLE device = session.Device();
        const DS_HANDLE stream = session.Stream();
        for (const int which : order)
            std::thread([&] {
                const GC_ERROR code = which == 0   ? session->DSClose(stream)
                                      : which == 1 ? session->DevClose(device)
                                      : which == 2 ? session->IFClose(interface)
                                                   : session->TLClose(system);
                EXPECT_TRUE(code == GC_ERR_SUCCESS || code == GC_ERR_INVALID_HANDLE) << which << ": " << code;
            }).join();
        EXPECT_EQ(session->GCCloseLib(), GC_ERR_SUCCESS);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Habit, WhatIsClosedByItsParentIsOpenedAgain) {
    Session session;
    session.Announce(2);
    session.QueueAll();
    session.Start();
    ASSERT_NE(session.Next(), nullptr);
    session.CloseDevice();
    session.Announce(2);
    session.QueueAll();
    session.Start();
    EXPECT_NE(session.Next(), nullptr);
}

} // namespace
