#include "virtualcam/backend/Backend.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

#include <gtest/gtest.h>

#include "virtualcam/support/DeviceClient.h"

namespace {

using usb::HotplugEvent;
using usb::Result;
using usb::TransferStatus;
using virtualcam::Bytes;
using virtualcam::test::Hex;

virtualcam::BackendSettings Cameras(unsigned count) {
    virtualcam::BackendSettings settings;
    for (unsigned i = 0; i < count; ++i)
        settings.cameras.push_back(virtualcam::NumberedCamera(i));
    return settings;
}

// An asynchronous transfer with a buffer of its own.
struct Pending {
    usb::Transfer transfer;
    Bytes buffer;
    int completions = 0;

    Pending(std::uint8_t endpoint, std::size_t length) : buffer(length) {
        transfer.endpoint = endpoint;
        transfer.buffer = buffer.data();
        transfer.length = length;
        transfer.context = this;
        transfer.completed = [](usb::Transfer& done) { ++static_cast<Pending*>(done.context)->completions; };
    }
};

struct BackendTest : testing::Test {
    std::unique_ptr<virtualcam::Backend> backend;
    std::unique_ptr<usb::Handle> handle;

    explicit BackendTest(const virtualcam::BackendSettings& settings = Cameras(2))
        : backend(virtualcam::CreateBackend(settings)) {
        EXPECT_EQ(backend->Open(backend->IdOf(0), handle), Result::Ok);
        for (const std::uint8_t number : {0, 1, 2})
            EXPECT_EQ(handle->Claim(number), Result::Ok);
    }
    Result Send(const std::string& command) {
        Bytes bytes = Hex(command);
        std::size_t actual = 0;
        return handle->Bulk(0x01, bytes.data(), bytes.size(), actual, 1000);
    }
    void AwaitCompletion(const Pending& pending) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (pending.completions == 0 && std::chrono::steady_clock::now() < deadline)
            EXPECT_EQ(handle->HandleEvents(100), Result::Ok);
        EXPECT_EQ(pending.completions, 1);
    }
};

const char* const kReadVersion = "55335643 0040 0008 0C00 0000 0000000000000000 0000 0400";
const char* const kEnableEvents = "55335643 0040 0208 0C00 0100 0000030000000000 01000000";
const char* const kTestEvent = "55335643 0040 0208 0C00 0200 0800030000000000 01000000";

TEST_F(BackendTest, ListsItsCameras) {
    std::vector<usb::DeviceEntry> devices;
    EXPECT_EQ(backend->Enumerate(devices), Result::Ok);
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_NE(devices[0].id, devices[1].id);
    EXPECT_EQ(devices[0].speed, usb::Speed::Super);
    EXPECT_EQ(devices[0].device.size(), 18u);
    ASSERT_EQ(devices[0].configurations.size(), 1u);
    EXPECT_EQ(devices[0].configurations[0].size(), 116u);
}

TEST_F(BackendTest, AnswersACommandOnTheCallersThread) {
    ASSERT_EQ(Send(kReadVersion), Result::Ok);
    Bytes answer(1024);
    std::size_t actual = 0;
    EXPECT_EQ(handle->Bulk(0x81, answer.data(), answer.size(), actual, 1000), Result::Ok);
    answer.resize(actual);
    EXPECT_EQ(answer, Hex("55335643 0000 0108 0400 0000 03000100"));
}

TEST(Backend, AnswersAtTheEndpointThatItsDescriptorsName) {
    virtualcam::BackendSettings settings = Cameras(1);
    settings.cameras[0].registers.asymmetricEndpoints = true;
    const auto backend = virtualcam::CreateBackend(settings);
    std::unique_ptr<usb::Handle> handle;
    ASSERT_EQ(backend->Open(backend->IdOf(0), handle), Result::Ok);
    ASSERT_EQ(handle->Claim(0), Result::Ok);
    Bytes command = Hex(kReadVersion), answer(1024);
    std::size_t actual = 0;
    ASSERT_EQ(handle->Bulk(0x01, command.data(), command.size(), actual, 1000), Result::Ok);
    EXPECT_EQ(handle->Bulk(0x81, answer.data(), answer.size(), actual, 1000), Result::NotFound);
    EXPECT_EQ(handle->Bulk(0x84, answer.data(), answer.size(), actual, 1000), Result::Ok);
    EXPECT_EQ(actual, 16u);
    backend->Camera(0).SetHalt(0x84);
    EXPECT_EQ(handle->Bulk(0x84, answer.data(), answer.size(), actual, 1000), Result::Pipe);
    EXPECT_EQ(handle->ClearHalt(0x84), Result::Ok);
    EXPECT_FALSE(backend->Camera(0).IsHalted(0x84));
}

TEST_F(BackendTest, TimesOutWhenNothingComes) {
    Bytes answer(16);
    std::size_t actual = 0;
    EXPECT_EQ(handle->Bulk(0x81, answer.data(), answer.size(), actual, 1), Result::Timeout);
}

TEST_F(BackendTest, LetsOneHandleClaimAnInterface) {
    std::unique_ptr<usb::Handle> other;
    ASSERT_EQ(backend->Open(backend->IdOf(0), other), Result::Ok);
    EXPECT_EQ(other->Claim(0), Result::Busy);
    EXPECT_EQ(other->Claim(9), Result::NotFound);
    EXPECT_EQ(handle->Release(0), Result::Ok);
    EXPECT_EQ(handle->Release(0), Result::NotFound);
    EXPECT_EQ(other->Claim(0), Result::Ok);
    other.reset();
    EXPECT_EQ(handle->Claim(0), Result::Ok) << "closing a handle releases its claims";
}

TEST_F(BackendTest, RefusesEndpointsOfUnclaimedInterfaces) {
    ASSERT_EQ(handle->Release(0), Result::Ok);
    EXPECT_EQ(Send(kReadVersion), Result::NotFound);
    EXPECT_EQ(handle->ClearHalt(0x01), Result::NotFound);
}

TEST_F(BackendTest, ReadsStrings) {
    EXPECT_EQ(handle->ReadString(4), "120940000001");
    EXPECT_EQ(handle->ReadString(6), "VC-1300");
    EXPECT_EQ(handle->ReadString(0), "");
    EXPECT_EQ(handle->ReadString(99), "");
}

TEST_F(BackendTest, CompletesAsynchronousTransfers) {
    Pending event(0x82, 1024);
    ASSERT_EQ(handle->Submit(event.transfer), Result::Ok);
    ASSERT_EQ(Send(kEnableEvents), Result::Ok);
    ASSERT_EQ(Send(kTestEvent), Result::Ok);
    AwaitCompletion(event);
    EXPECT_EQ(event.transfer.status, TransferStatus::Completed);
    EXPECT_EQ(event.transfer.actualLength, 24u);
    handle->Forget(event.transfer);
    EXPECT_EQ(event.transfer.backendData, nullptr);
}

TEST_F(BackendTest, CompletesTransfersInTheOrderOfTheirSubmission) {
    Pending first(0x82, 1024), second(0x82, 1024);
    ASSERT_EQ(handle->Submit(first.transfer), Result::Ok);
    ASSERT_EQ(handle->Submit(second.transfer), Result::Ok);
    ASSERT_EQ(Send(kEnableEvents), Result::Ok);
    ASSERT_EQ(Send(kTestEvent), Result::Ok);
    AwaitCompletion(first);
    EXPECT_EQ(second.completions, 0);
    backend->Camera(0).FireEvent(0x9001);
    AwaitCompletion(second);
    EXPECT_EQ(virtualcam::Load<std::uint16_t>(second.buffer.data() + 14), 0x9001);
    handle->Forget(first.transfer);
    handle->Forget(second.transfer);
}

TEST_F(BackendTest, CancelsATransferOnce) {
    Pending event(0x82, 1024);
    EXPECT_EQ(handle->Cancel(event.transfer), Result::NotFound);
    ASSERT_EQ(handle->Submit(event.transfer), Result::Ok);
    EXPECT_EQ(handle->Cancel(event.transfer), Result::Ok);
    AwaitCompletion(event);
    EXPECT_EQ(event.transfer.status, TransferStatus::Cancelled);
    EXPECT_EQ(handle->Cancel(event.transfer), Result::NotFound);
    handle->Forget(event.transfer);
}

TEST_F(BackendTest, StallsUntilTheHaltIsCleared) {
    Pending event(0x82, 1024);
    ASSERT_EQ(handle->Submit(event.transfer), Result::Ok);
    EXPECT_EQ(handle->ClearHalt(0x82), Result::Busy) << "nothing may be queued";
    backend->Camera(0).SetHalt(0x82);
    AwaitCompletion(event);
    EXPECT_EQ(event.transfer.status, TransferStatus::Stall);
    std::size_t actual = 0;
    EXPECT_EQ(handle->Bulk(0x82, event.buffer.data(), 1024, actual, 100), Result::Pipe);
    EXPECT_EQ(handle->ClearHalt(0x82), Result::Ok);
    EXPECT_EQ(handle->Bulk(0x82, event.buffer.data(), 1024, actual, 1), Result::Timeout);
    handle->Forget(event.transfer);
}

TEST_F(BackendTest, FailsEverythingWhenTheCameraIsUnplugged) {
    Pending event(0x82, 1024);
    ASSERT_EQ(handle->Submit(event.transfer), Result::Ok);
    backend->Unplug(0);
    AwaitCompletion(event);
    EXPECT_EQ(event.transfer.status, TransferStatus::NoDevice);
    EXPECT_EQ(handle->Submit(event.transfer), Result::NoDevice);
    EXPECT_EQ(Send(kReadVersion), Result::NoDevice);
    backend->Plug(0);
    EXPECT_EQ(Send(kReadVersion), Result::NoDevice) << "the handle belongs to the former stay";
    std::unique_ptr<usb::Handle> again;
    EXPECT_EQ(backend->Open(backend->IdOf(0), again), Result::Ok);
    handle->Forget(event.transfer);
}

TEST_F(BackendTest, TellsArrivalsAndRemovals) {
    std::mutex lock;
    std::condition_variable changed;
    std::vector<std::pair<HotplugEvent, std::string>> seen;
    const std::uint64_t registration = backend->RegisterHotplug([&](HotplugEvent event, const std::string& id) {
        const std::lock_guard<std::mutex> guard(lock);
        seen.emplace_back(event, id);
        changed.notify_all();
    });
    const std::string former = backend->IdOf(1);
    backend->Unplug(1);
    backend->Plug(1);
    {
        std::unique_lock<std::mutex> guard(lock);
        ASSERT_TRUE(changed.wait_for(guard, std::chrono::seconds(10), [&] { return seen.size() == 2; }));
        EXPECT_EQ(seen[0], std::make_pair(HotplugEvent::Left, former));
        EXPECT_EQ(seen[1], std::make_pair(HotplugEvent::Arrived, backend->IdOf(1)));
        EXPECT_NE(seen[1].second, former);
    }
    backend->DeregisterHotplug(registration);
}

TEST_F(BackendTest, RefusesOpensAndClaimsAsScripted) {
    virtualcam::FaultScript faults;
    faults.refuseOpens = 1;
    faults.refuseClaims = 2;
    backend->Camera(1).SetFaults(faults);
    std::unique_ptr<usb::Handle> other;
    EXPECT_EQ(backend->Open(backend->IdOf(1), other), Result::Access);
    ASSERT_EQ(backend->Open(backend->IdOf(1), other), Result::Ok);
    EXPECT_EQ(other->Claim(0), Result::Busy);
    EXPECT_EQ(other->Claim(0), Result::Busy);
    EXPECT_EQ(other->Claim(0), Result::Ok);
}

TEST_F(BackendTest, OpensOnlyWhatIsThere) {
    std::unique_ptr<usb::Handle> other;
    EXPECT_EQ(backend->Open("virtual:0:0", other), Result::NotFound);
}

struct LimitedBackendTest : BackendTest {
    static virtualcam::BackendSettings Limited() {
        virtualcam::BackendSettings settings = Cameras(1);
        settings.transferMemoryLimit = 3000;
        return settings;
    }
    LimitedBackendTest() : BackendTest(Limited()) {}
};

TEST_F(LimitedBackendTest, RefusesTransfersBeyondItsMemory) {
    Pending first(0x82, 2048), second(0x82, 2048);
    EXPECT_EQ(backend->TransferMemoryLimit(), 3000u);
    ASSERT_EQ(handle->Submit(first.transfer), Result::Ok);
    EXPECT_EQ(handle->Submit(second.transfer), Result::NoMemory);
    ASSERT_EQ(handle->Cancel(first.transfer), Result::Ok);
    AwaitCompletion(first);
    EXPECT_EQ(backend->TransferMemoryUsed(), 0u);
    EXPECT_EQ(handle->Submit(second.transfer), Result::Ok);
    ASSERT_EQ(handle->Cancel(second.transfer), Result::Ok);
    AwaitCompletion(second);
    handle->Forget(first.transfer);
    handle->Forget(second.transfer);
}

} // namespace
