// The queue of an endpoint, on the device's thread and without it.
#include "virtualcam/device/endpoint/EndpointQueue.h"

#include <deque>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using usb::TransferStatus;
using virtualcam::EndpointQueue;

constexpr std::size_t kMany = 100;

// A host's requests at a device whose endpoints are halted, so that each ends as soon as it is served.
class Queues : public testing::Test {
protected:
    Queues() {
        device.SetHalt(virtualcam::kStreamIn);
        device.SetHalt(virtualcam::kEventIn);
    }

    void Submit(EndpointQueue& queue, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            usb::Transfer& transfer = transfers.emplace_back();
            virtualcam::Request& request = requests.emplace_back();
            transfer.backendData = &request;
            request.buffer = buffer;
            request.length = sizeof buffer;
            request.transfer = &transfer;
            request.completions = completions;
            queue.Submit(request);
        }
    }
    std::size_t Ended() const { return completions->Wait(0); }
    void ExpectAllEnded(TransferStatus status) const {
        for (const usb::Transfer& transfer : transfers)
            EXPECT_EQ(transfer.status, status);
        EXPECT_EQ(Ended(), transfers.size());
    }

    std::uint8_t buffer[64] = {};
    std::deque<usb::Transfer> transfers;
    std::deque<virtualcam::Request> requests;
    const std::shared_ptr<virtualcam::CompletionQueue> completions = std::make_shared<virtualcam::CompletionQueue>();
    virtualcam::Device device{virtualcam::NumberedCamera(0)};
    EndpointQueue stream{device, device.Generation(), virtualcam::kStreamIn};
    EndpointQueue events{device, device.Generation(), virtualcam::kEventIn};
};

TEST_F(Queues, AreServedInTurns) {
    Submit(stream, kMany);
    for (std::size_t before = 0; Ended() < kMany; before = Ended()) {
        stream.Pump();
        ASSERT_GT(Ended(), before);
        ASSERT_LT(Ended() - before, kMany / 2);
    }
    ExpectAllEnded(TransferStatus::Stall);
}

TEST_F(Queues, AreEmptiedInOneTurnWhenTheDeviceHasLeft) {
    Submit(stream, kMany);
    device.Unplug();
    stream.Pump();
    ExpectAllEnded(TransferStatus::NoDevice);
}

TEST_F(Queues, TakeNothingForADeviceThatHasLeft) {
    device.Unplug();
    Submit(stream, 1);
    ExpectAllEnded(TransferStatus::NoDevice);
}

// Serves both queues on the device's thread. The events' request comes when the stream's are just served.
class QueueServer : public virtualcam::DeviceListener {
public:
    QueueServer(EndpointQueue& stream, EndpointQueue& events, std::function<void()> submitEvents)
        : m_Stream(stream), m_Events(events), m_SubmitEvents(std::move(submitEvents)) {}

    void EndpointReady(std::uint8_t endpoint) override {
        if (endpoint == virtualcam::kEventIn) return ServeEvents();
        if (endpoint != virtualcam::kStreamIn) return;
        ++streamTurns;
        if (auto submit = std::exchange(m_SubmitEvents, nullptr)) submit();
        m_Stream.Pump();
    }
    void Unplugged() override {}
    void Plugged() override {}

    unsigned streamTurns = 0;
    unsigned streamTurnsBeforeEvents = 0;

private:
    EndpointQueue& m_Stream;
    EndpointQueue& m_Events;
    std::function<void()> m_SubmitEvents;

    void ServeEvents() {
        streamTurnsBeforeEvents = streamTurns;
        m_Events.Pump();
    }
};

TEST_F(Queues, LetEachOtherHaveTheDevicesThread) {
    Submit(stream, kMany);
    QueueServer host(stream, events, [this] { Submit(events, 1); });
    device.SetListener(&host);
    while (Ended() < kMany + 1)
        std::this_thread::yield();
    device.SetListener(nullptr);
    EXPECT_EQ(host.streamTurnsBeforeEvents, 1u);
    EXPECT_GT(host.streamTurns, 1u);
    ExpectAllEnded(TransferStatus::Stall);
}

} // namespace
