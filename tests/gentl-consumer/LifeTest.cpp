// The producer as a guest: initialised again and again, loaded twice, silent always.
#include "gentl-consumer/support/Session.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include <unistd.h>

namespace {

using namespace consumer;

void Stream(Session& session, int frames) {
    session.Announce(3);
    session.QueueAll();
    session.Start();
    for (int i = 0; i < frames; ++i) {
        const BUFFER_HANDLE buffer = session.Next();
        ASSERT_NE(buffer, nullptr);
        ASSERT_EQ(session->DSQueueBuffer(session.Stream(), buffer), GC_ERR_SUCCESS);
    }
}

TEST(Life, BeginsAndEndsAThousandTimes) {
    Session session;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(session->GCCloseLib(), GC_ERR_SUCCESS);
        ASSERT_EQ(session->GCInitLib(), GC_ERR_SUCCESS);
    }
    Stream(session, 5);
}

TEST(Life, BeginsAndEndsWithACameraOpen) {
    const std::string cameras = Session::SmallCamera();
    for (int i = 0; i < 30; ++i) {
        Session session(cameras);
        Stream(session, 2);
    }
}

TEST(Life, OfAFileLoadedTwiceIsOne) {
    Session first;
    const Library second;
    EXPECT_EQ(second.GCInitLib(), GC_ERR_RESOURCE_IN_USE);
    { const Library third; }
    Stream(first, 5);
}

/// A folder of its own with a copy of the producer in it.
class Copy {
public:
    Copy() : m_Folder(MakeFolder()), path(m_Folder / "copy.cti") { std::filesystem::copy_file(Library::Path(), path); }
    ~Copy() { std::filesystem::remove_all(m_Folder); }

private:
    static std::filesystem::path MakeFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "consumer-XXXXXX").string();
        return mkdtemp(name.data());
    }
    const std::filesystem::path m_Folder;

public:
    const std::filesystem::path path;
};

TEST(Life, OfTwoFilesIsApart) {
    const Copy copy;
    Session first(R"([{"serial": "T1", "guid": "1209000000C1", "sensorWidth": 64, "sensorHeight": 64}])");
    const Library second(copy.path);
    EXPECT_EQ(second.GCInitLib(), GC_ERR_SUCCESS);
    TL_HANDLE system = nullptr;
    EXPECT_EQ(second.TLOpen(&system), GC_ERR_SUCCESS);
    EXPECT_EQ(first->TLClose(system), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(second.GCCloseLib(), GC_ERR_SUCCESS);
    Stream(first, 5);
}

TEST(Life, EndsWhileOtherThreadsAreInside) {
    for (int round = 0; round < 20; ++round) {
        Session session;
        session.Announce(4);
        session.QueueAll();
        session.Start();
        const EVENT_HANDLE event = session.NewBuffers();
        const DS_HANDLE stream = session.Stream();
        const PORT_HANDLE port = session.Remote();
        const IF_HANDLE interface = session.Interface();
        const std::string id = session.DeviceId();
        const auto until = [](auto&& call) {
            return std::thread([call] {
                while (call() != GC_ERR_NOT_INITIALIZED) {
                }
            });
        };
        std::thread threads[] = {until([&session, event, stream] {
                                     EVENT_NEW_BUFFER_DATA data{};
                                     std::size_t size = sizeof data;
                                     const GC_ERROR code = session->EventGetData(event, &data, &size, 1);
                                     (void)session->DSQueueBuffer(stream, data.BufferHandle);
                                     return code;
                                 }),
                                 until([&session, stream] {
                                     std::size_t count = 0, size = sizeof count;
                                     return session->DSGetInfo(stream, STREAM_INFO_NUM_QUEUED, nullptr, &count, &size);
                                 }),
                                 until([&session, port] {
                                     std::uint32_t value = 0;
                                     std::size_t size = sizeof value;
                                     return session->GCReadPort(port, kWidth, &value, &size);
                                 }),
                                 until([&session, interface, &id] {
                                     std::int32_t status = 0;
                                     std::size_t size = sizeof status;
                                     (void)session->IFUpdateDeviceList(interface, nullptr, 0);
                                     return session->IFGetDeviceInfo(interface, id.c_str(), DEVICE_INFO_ACCESS_STATUS,
                                                                     nullptr, &status, &size);
                                 })};
        std::this_thread::sleep_for(std::chrono::milliseconds(round));
        EXPECT_EQ(session->GCCloseLib(), GC_ERR_SUCCESS);
        for (std::thread& thread : threads)
            thread.join();
    }
}

TEST(Life, EndsWithTheProcessWithoutAnyClose) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            auto* session = new Session; // never destroyed
            Stream(*session, 3);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

/// What the process writes while this lives goes to a file.
class Silence {
public:
    explicit Silence(int stream) : m_Stream(stream), m_Saved(dup(stream)), m_File(std::tmpfile()) {
        dup2(fileno(m_File), stream);
    }
    ~Silence() {
        dup2(m_Saved, m_Stream);
        close(m_Saved);
        std::fclose(m_File);
    }
    long Written() const { return static_cast<long>(lseek(fileno(m_File), 0, SEEK_END)); }

private:
    const int m_Stream, m_Saved;
    std::FILE* const m_File;
};

TEST(Life, IsSilentEvenIfAllGoesWrong) {
    const Silence output(STDOUT_FILENO), errors(STDERR_FILENO);
    {
        Session session(Session::SmallCamera(kUnpluggable));
        Stream(session, 3);
        std::uint32_t value = 0;
        std::size_t size = sizeof value;
        (void)session->GCReadPort(session.Remote(), 0x7FFFFFFF0000, &value, &size);
        (void)session->GCReadPort(session.Remote(), kSelfTest, &value, &size);
        (void)session->DSStopAcquisition(session.Stream(), ACQ_STOP_KILL);
        (void)session->TLClose(nullptr);
    }
    std::fflush(stdout);
    EXPECT_EQ(output.Written(), 0);
    EXPECT_EQ(errors.Written(), 0);
}

/// All that a consumer does, as far as it gets.
int WalkAndStream(const std::string& cameras) {
    try {
        Session session(cameras);
        session.Announce(3);
        session.QueueAll();
        session.Start();
        for (int i = 0; i < 3; ++i) {
            const BUFFER_HANDLE buffer = session.Next(300);
            if (!buffer) return i;
            (void)session->DSQueueBuffer(session.Stream(), buffer);
        }
        session.Stop();
        session.CloseDevice();
    } catch (const std::runtime_error&) {
        return -1;
    }
    return 3;
}

TEST(Unplugging, AtAnyCommandEndsInErrors) {
    int failed = 0;
    for (int skip = 0; skip < 120; skip += 4)
        failed += WalkAndStream(Session::SmallCamera(R"("faults": {"control": [{"fault": "Unplug", "skip": )" +
                                                     std::to_string(skip) + "}]}")) == -1;
    EXPECT_GT(failed, 5) << "the camera was not unplugged in time";
}

TEST(Unplugging, InTheMiddleOfAFrameEndsInATimeoutOrAnError) {
    for (const char* bytes : {"0", "1000", "3000"})
        EXPECT_NE(
            WalkAndStream(Session::SmallCamera(R"("faults": {"stream": [{"fault": "Unplug", "frame": 1, "value": )" +
                                               std::string(bytes) + "}]}")),
            3)
            << bytes;
}

TEST(Unplugging, WhileOtherThreadsAreAtWorkEndsInErrors) {
    for (int round = 0; round < 10; ++round) {
        Session session(Session::SmallCamera(kUnpluggable));
        Stream(session, 2);
        const PORT_HANDLE port = session.Remote();
        const DS_HANDLE stream = session.Stream();
        std::thread reader([&] {
            std::uint32_t value = 0;
            std::size_t size = sizeof value;
            while (session->GCReadPort(port, kWidth, &value, &size) == GC_ERR_SUCCESS)
                size = sizeof value;
        });
        std::thread flusher([&] {
            for (int i = 0; i < 50; ++i)
                (void)session->DSFlushQueue(stream, i % 5);
        });
        std::uint32_t value = 0;
        std::size_t size = sizeof value;
        EXPECT_NE(session->GCReadPort(port, kSelfTest, &value, &size), GC_ERR_SUCCESS);
        reader.join();
        flusher.join();
        (void)session->DSStopAcquisition(stream, ACQ_STOP_DEFAULT);
    }
}

} // namespace
