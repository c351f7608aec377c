// Threads that want the same thing at the same time.
#include "gentl-consumer/support/Session.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <thread>

namespace {

using namespace consumer;

/// Runs them at once, each in a thread of its own; what they returned, in their order.
std::vector<GC_ERROR> AtOnce(const std::vector<std::function<GC_ERROR()>>& calls) {
    std::vector<GC_ERROR> codes(calls.size());
    std::vector<std::thread> threads;
    std::atomic<std::size_t> ready{0};
    for (std::size_t i = 0; i < calls.size(); ++i)
        threads.emplace_back([&, i] {
            ++ready;
            while (ready != calls.size())
                std::this_thread::yield();
            codes[i] = calls[i]();
        });
    for (std::thread& thread : threads)
        thread.join();
    return codes;
}

TEST(Rivals, RevokeABufferThatAnotherQueues) {
    Session session;
    const DS_HANDLE stream = session.Stream();
    std::array<std::uint8_t, 4096> memory{};
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_EQ(session->DSAnnounceBuffer(stream, memory.data(), memory.size(), nullptr, &buffer), GC_ERR_SUCCESS);
        const auto codes = AtOnce({[&] { return session->DSRevokeBuffer(stream, buffer, nullptr, nullptr); },
                                   [&] { return session->DSQueueBuffer(stream, buffer); }});
        EXPECT_EQ(codes[0], GC_ERR_SUCCESS);
        EXPECT_TRUE(codes[1] == GC_ERR_SUCCESS || codes[1] == GC_ERR_INVALID_HANDLE) << codes[1];
        EXPECT_EQ(session.StreamInfo(STREAM_INFO_NUM_ANNOUNCED).Number(), 0u);
        EXPECT_EQ(session.StreamInfo(STREAM_INFO_NUM_QUEUED).Number(), 0u) << "a revoked buffer is queued";
    }
    session.Announce(2);
    session.QueueAll();
    session.Start();
    EXPECT_NE(session.Next(), nullptr);
}

TEST(Rivals, RevokeOneBuffer) {
    Session session;
    const DS_HANDLE stream = session.Stream();
    std::array<std::uint8_t, 4096> memory{};
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_EQ(session->DSAnnounceBuffer(stream, memory.data(), memory.size(), nullptr, &buffer), GC_ERR_SUCCESS);
        const auto revoke = [&] { return session->DSRevokeBuffer(stream, buffer, nullptr, nullptr); };
        const auto codes = AtOnce({revoke, revoke});
        EXPECT_EQ(codes[0] == GC_ERR_SUCCESS, codes[1] == GC_ERR_INVALID_HANDLE) << codes[0] << " and " << codes[1];
        EXPECT_EQ(codes[1] == GC_ERR_SUCCESS, codes[0] == GC_ERR_INVALID_HANDLE) << codes[0] << " and " << codes[1];
    }
}

TEST(Rivals, RegisterOneEvent) {
    Session session;
    const DS_HANDLE stream = session.Stream();
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        std::array<EVENT_HANDLE, 3> events{};
        std::vector<std::function<GC_ERROR()>> calls;
        for (EVENT_HANDLE& event : events)
            calls.emplace_back([&] { return session->GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event); });
        int registered = 0;
        for (const GC_ERROR code : AtOnce(calls)) {
            registered += code == GC_ERR_SUCCESS;
            EXPECT_TRUE(code == GC_ERR_SUCCESS || code == GC_ERR_RESOURCE_IN_USE) << code;
        }
        EXPECT_EQ(registered, 1);
        EXPECT_EQ(session->GCUnregisterEvent(stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
    }
}

TEST(Rivals, OpenOneDevice) {
    Session session;
    (void)session.Device();
    const std::string id = session.DeviceId();
    session.CloseDevice();
    for (int round = 0; round < 20 && !HasFailure(); ++round) {
        std::array<DEV_HANDLE, 3> devices{};
        std::vector<std::function<GC_ERROR()>> calls;
        for (DEV_HANDLE& device : devices)
            calls.emplace_back([&] {
                return session->IFOpenDevice(session.Interface(), id.c_str(), DEVICE_ACCESS_EXCLUSIVE, &device);
            });
        int opened = 0;
        for (const GC_ERROR code : AtOnce(calls)) {
            opened += code == GC_ERR_SUCCESS;
            EXPECT_TRUE(code == GC_ERR_SUCCESS || code == GC_ERR_RESOURCE_IN_USE) << code;
        }
        EXPECT_EQ(opened, 1);
        for (DEV_HANDLE device : devices)
            EXPECT_EQ(session->DevClose(device), device ? GC_ERR_SUCCESS : GC_ERR_INVALID_HANDLE);
    }
}

TEST(Rivals, CloseWhatIsAboveAndBelowAtOnce) {
    for (int round = 0; round < 30 && !HasFailure(); ++round) {
        Session session;
        session.Announce(3);
        session.QueueAll();
        session.Start();
        const DS_HANDLE stream = session.Stream();
        const DEV_HANDLE device = session.Device();
        const IF_HANDLE interface = session.Interface();
        const TL_HANDLE system = session.System();
        const EVENT_HANDLE event = session.NewBuffers();
        const auto codes =
            AtOnce({[&] {
                        GC_ERROR code = GC_ERR_SUCCESS;
                        while (code == GC_ERR_SUCCESS) {
                            EVENT_NEW_BUFFER_DATA data{};
                            std::size_t size = sizeof data;
                            code = session->EventGetData(event, &data, &size, GENTL_INFINITE);
                            (void)session->DSQueueBuffer(stream, data.BufferHandle);
                        }
                        return code == GC_ERR_ABORT ? GC_ERR_INVALID_HANDLE : code;
                    },
                    [&] { return session->DSClose(stream); }, [&] { return session->DevClose(device); },
                    [&] { return session->IFClose(interface); }, [&] { return session->TLClose(system); }});
        for (const GC_ERROR code : codes)
            EXPECT_TRUE(code == GC_ERR_SUCCESS || code == GC_ERR_INVALID_HANDLE) << code;
        EXPECT_EQ(codes.back(), GC_ERR_SUCCESS);
    }
}

} // namespace
