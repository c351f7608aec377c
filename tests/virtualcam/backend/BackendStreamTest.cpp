// Streams over the in-process bus, with its threads.

#include <deque>
#include <memory>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "virtualcam/backend/Backend.h"
#include "virtualcam/support/DeviceClient.h"

namespace {

using usb::Result;
using usb::TransferStatus;
using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::Load;

// One camera's host: commands, and a queue of transfers for whole blocks. Bound to a thread.
class Host {
public:
    Host(virtualcam::Backend& backend, std::size_t index) {
        EXPECT_EQ(backend.Open(backend.IdOf(index), m_Handle), Result::Ok);
        for (const std::uint8_t number : {0, 1, 2})
            EXPECT_EQ(m_Handle->Claim(number), Result::Ok);
    }
    ~Host() {
        for (const auto& transfer : m_Transfers)
            m_Handle->Forget(*transfer);
    }

    std::uint16_t Write(std::uint64_t address, std::uint32_t value) {
        Bytes command = virtualcam::test::WriteCommand(++m_Id, address, value);
        std::size_t actual = 0;
        Bytes answer(1024);
        if (m_Handle->Bulk(0x01, command.data(), command.size(), actual, 1000) != Result::Ok) return 0xFFFF;
        if (m_Handle->Bulk(0x81, answer.data(), answer.size(), actual, 1000) != Result::Ok) return 0xFFFF;
        return virtualcam::test::StatusOf(answer);
    }
    // Programs a stream of blocks of leader, one payload transfer and trailer, queues them and starts.
    void Start(std::uint32_t payload, std::size_t blocks) {
        const std::uint32_t sizes[] = {1024, payload, 1, 0, 0, 1024};
        for (std::uint64_t i = 0; i < 6; ++i)
            EXPECT_EQ(Write(0x20018 + 4 * i, sizes[i]), 0);
        for (std::size_t i = 0; i < blocks * 3; ++i)
            Queue(i % 3 == 1 ? payload : 1024);
        EXPECT_EQ(Write(0x20004, 1), 0);
        EXPECT_EQ(Write(0x102004, 1), 0);
    }
    void Stop() {
        Write(0x102008, 1);
        Write(0x20004, 0);
        m_Again = false;
        for (auto transfer = m_Transfers.rbegin(); transfer != m_Transfers.rend(); ++transfer)
            m_Handle->Cancel(**transfer);
        AwaitIdle();
    }
    void AwaitIdle() {
        Await([this] { return m_InFlight == 0; });
    }
    template<class F>
    void Await(F&& done) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!done() && std::chrono::steady_clock::now() < deadline)
            EXPECT_EQ(m_Handle->HandleEvents(50), Result::Ok);
        EXPECT_TRUE(done());
    }
    void AwaitBlocks(std::size_t count) {
        Await([this, count] { return ids.size() >= count; });
    }
    usb::Handle& Bus() { return *m_Handle; }
    void GiveUpResubmitting() { m_Again = false; }

    std::vector<std::uint64_t> ids;       ///< of the trailers
    std::vector<TransferStatus> failures; ///< of transfers that did not complete
    std::size_t bytes = 0;
    std::size_t misplaced = 0; ///< transfers that were not what their place says

private:
    std::unique_ptr<usb::Handle> m_Handle;
    std::uint16_t m_Id = 0;
    std::deque<std::unique_ptr<usb::Transfer>> m_Transfers;
    std::deque<Bytes> m_Buffers;
    std::size_t m_InFlight = 0;
    std::size_t m_Completed = 0;
    bool m_Again = true;

    void Queue(std::size_t length) {
        m_Buffers.emplace_back(length);
        m_Transfers.push_back(std::make_unique<usb::Transfer>());
        usb::Transfer& transfer = *m_Transfers.back();
        transfer.endpoint = 0x83;
        transfer.buffer = m_Buffers.back().data();
        transfer.length = length;
        transfer.context = this;
        transfer.completed = [](usb::Transfer& done) { static_cast<Host*>(done.context)->Completed(done); };
        EXPECT_EQ(m_Handle->Submit(transfer), Result::Ok);
        ++m_InFlight;
    }
    void Completed(usb::Transfer& transfer) {
        --m_InFlight;
        const std::size_t role = m_Completed++ % 3;
        if (transfer.status != TransferStatus::Completed) {
            failures.push_back(transfer.status);
            return;
        }
        bytes += transfer.actualLength;
        const std::uint32_t magic = transfer.actualLength >= 4 ? Load<std::uint32_t>(transfer.buffer) : 0;
        if (role == 0 && magic != 0x4C563355) ++misplaced;
        if (role == 2 && magic != 0x54563355) ++misplaced;
        if (role == 2) ids.push_back(Load<std::uint64_t>(transfer.buffer + 8));
        if (m_Again && m_Handle->Submit(transfer) == Result::Ok) ++m_InFlight;
    }
};

virtualcam::BackendSettings Fast(unsigned cameras) {
    virtualcam::BackendSettings settings;
    for (unsigned i = 0; i < cameras; ++i) {
        settings.cameras.push_back(virtualcam::NumberedCamera(i));
        settings.cameras.back().sensorWidth = 256;
        settings.cameras.back().sensorHeight = 128;
        settings.cameras.back().frameRateEnable = false;
    }
    return settings;
}

constexpr std::uint32_t kPayload = 256 * 128;

TEST(BackendStream, DeliversBlocksInOrderAndWithoutGaps) {
    const auto backend = virtualcam::CreateBackend(Fast(1));
    Host host(*backend, 0);
    host.Start(kPayload, 3);
    host.AwaitBlocks(300);
    host.Stop();
    for (std::size_t i = 0; i < host.ids.size(); ++i)
        ASSERT_EQ(host.ids[i], i);
    EXPECT_EQ(host.misplaced, 0u);
    EXPECT_EQ(backend->Camera(0).LostFrames(), 0u);
}

TEST(BackendStream, BeginsAgainAfterACancel) {
    const auto backend = virtualcam::CreateBackend(Fast(1));
    for (int round = 0; round < 20; ++round) {
        Host host(*backend, 0);
        EXPECT_EQ(host.Bus().ClearHalt(0x83), Result::Ok);
        host.Start(kPayload, 2);
        host.AwaitBlocks(5);
        host.Stop();
        EXPECT_EQ(host.ids.front(), 0u);
        EXPECT_EQ(host.misplaced, 0u);
        for (const TransferStatus status : host.failures)
            EXPECT_EQ(status, TransferStatus::Cancelled);
    }
}

TEST(BackendStream, FailsWhatIsQueuedWhenTheCameraLeaves) {
    const auto backend = virtualcam::CreateBackend(Fast(1));
    for (int round = 0; round < 10; ++round) {
        Host host(*backend, 0);
        host.Start(kPayload, 3);
        host.AwaitBlocks(2);
        backend->Unplug(0);
        host.AwaitIdle();
        for (const TransferStatus status : host.failures)
            EXPECT_EQ(status, TransferStatus::NoDevice);
        EXPECT_EQ(host.Write(0x103004, 1), 0xFFFF) << "no command gets through";
        backend->Plug(0);
    }
}

TEST(BackendStream, RunsSeveralCamerasAtOnce) {
    const auto backend = virtualcam::CreateBackend(Fast(4));
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 4; ++i)
        threads.emplace_back([&backend, i] {
            Host host(*backend, i);
            host.Start(kPayload, 3);
            host.AwaitBlocks(100);
            host.Stop();
            EXPECT_EQ(host.misplaced, 0u);
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(BackendStream, AnswersCommandsWhileItStreams) {
    const auto backend = virtualcam::CreateBackend(Fast(1));
    Host host(*backend, 0);
    host.Start(kPayload, 3);
    for (std::uint32_t i = 0; i < 200; ++i)
        EXPECT_EQ(host.Write(0x103004, i), 0);
    host.AwaitBlocks(10);
    host.Stop();
    EXPECT_EQ(host.misplaced, 0u);
}

TEST(BackendStream, KeepsPaceWithItsFrameRate) {
    virtualcam::BackendSettings settings = Fast(1);
    settings.cameras[0].frameRateEnable = true;
    settings.cameras[0].frameRate = 200;
    const auto backend = virtualcam::CreateBackend(settings);
    Host host(*backend, 0);
    const auto begin = std::chrono::steady_clock::now();
    host.Start(kPayload, 3);
    host.AwaitBlocks(20);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(19 * 5 - 1));
    host.Stop();
}

TEST(BackendStream, StallsAllTransfersWhenTheEndpointIsHalted) {
    const auto backend = virtualcam::CreateBackend(Fast(1));
    Host host(*backend, 0);
    host.Start(kPayload, 3);
    host.AwaitBlocks(2);
    backend->Camera(0).SetHalt(0x83);
    host.AwaitIdle();
    for (const TransferStatus status : host.failures)
        EXPECT_EQ(status, TransferStatus::Stall);
    EXPECT_EQ(host.Bus().ClearHalt(0x83), Result::Ok);
}

TEST(BackendStream, LeavesAndComesBackAsScripted) {
    virtualcam::BackendSettings settings = Fast(1);
    virtualcam::StreamFaultRule rule;
    rule.fault = virtualcam::StreamFault::Unplug;
    rule.frame = 3;
    settings.cameras[0].faults.stream = {rule};
    settings.cameras[0].faults.replugAfterMs = 1;
    const auto backend = virtualcam::CreateBackend(settings);
    const std::string former = backend->IdOf(0);
    Host host(*backend, 0);
    host.Start(kPayload, 3);
    host.AwaitIdle();
    EXPECT_EQ(host.ids.size(), 3u);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (backend->IdOf(0).empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_NE(backend->IdOf(0), former);
    EXPECT_FALSE(backend->IdOf(0).empty());
}

TEST(LoadableBackend, IsMadeByItsOneExportedFunction) {
    void* const library = dlopen(VIRTUALCAM_BACKEND, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto create = reinterpret_cast<usb::CreateBackendFunction>(dlsym(library, usb::kCreateBackendSymbol));
    ASSERT_NE(create, nullptr);
    std::string reason;
    EXPECT_EQ(create(nullptr, reason), nullptr);
    EXPECT_EQ(create("/no/such/file", reason), nullptr);
    EXPECT_EQ(reason, "\"/no/such/file\" is neither a number of cameras nor a file that can be read: "
                      "No such file or directory");
    std::unique_ptr<usb::Backend> backend(create("3", reason));
    ASSERT_NE(backend, nullptr);
    std::vector<usb::DeviceEntry> devices;
    EXPECT_EQ(backend->Enumerate(devices), Result::Ok);
    EXPECT_EQ(devices.size(), 3u);
    EXPECT_STREQ(backend->Name(), "virtual");
    backend.reset();
    dlclose(library);
}

// The bus of the settings, as a program has it that loads it for a while.
struct LoadedBus {
    explicit LoadedBus(const char* settings)
        : library(dlopen(VIRTUALCAM_BACKEND, RTLD_NOW | RTLD_LOCAL)),
          backend(reinterpret_cast<usb::CreateBackendFunction>(dlsym(library, usb::kCreateBackendSymbol))(settings,
                                                                                                          reason)) {}
    ~LoadedBus() {
        backend.reset();
        dlclose(library);
    }
    Result Open() {
        std::vector<usb::DeviceEntry> devices;
        EXPECT_EQ(backend->Enumerate(devices), Result::Ok);
        std::unique_ptr<usb::Handle> handle;
        return devices.empty() ? Result::NotFound : backend->Open(devices[0].id, handle);
    }

    std::string reason;
    void* const library;
    std::unique_ptr<usb::Backend> backend;
};

TEST(LoadableBackend, LivesAsLongAsTheProcess) {
    const char* const settings = R"({"cameras": [{"faults": {"refuseOpens": 1}}]})";
    EXPECT_EQ(LoadedBus(settings).Open(), Result::Access);
    EXPECT_EQ(LoadedBus(settings).Open(), Result::Ok);
}

TEST(LoadableBackend, IsAnotherOneWithOtherSettings) {
    EXPECT_EQ(LoadedBus(R"({"cameras": [{"serial": "1", "faults": {"refuseOpens": 1}}]})").Open(), Result::Access);
    EXPECT_EQ(LoadedBus(R"({"cameras": [{"serial": "2", "faults": {"refuseOpens": 1}}]})").Open(), Result::Access);
}

} // namespace
