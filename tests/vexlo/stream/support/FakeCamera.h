#pragma once
// The registers of a camera's image stream, in memory.

#include "PacketBus.h"

#include "vexlo/stream/StreamHost.h"

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <utility>

namespace streamtest {

using vexlo::VxStatus;

/// A handle of its own on a bus that others look at. Thread-safe.
class BusHandle final : public usb::Handle {
public:
    explicit BusHandle(PacketBus& bus) : m_Bus(bus) { m_Bus.CountHandles(1); }
    ~BusHandle() override { m_Bus.CountHandles(-1); }
    [[nodiscard]] usb::Result Claim(std::uint8_t number) override { return m_Bus.Claim(number); }
    usb::Result Release(std::uint8_t number) override { return m_Bus.Release(number); }
    [[nodiscard]] usb::Result Control(const usb::ControlSetup& setup, std::uint8_t* data, std::size_t& actual,
                                      unsigned int timeoutMs) override {
        return m_Bus.Control(setup, data, actual, timeoutMs);
    }
    [[nodiscard]] usb::Result Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                                   unsigned int timeoutMs) override {
        return m_Bus.Bulk(endpoint, data, length, actual, timeoutMs);
    }
    [[nodiscard]] usb::Result Submit(usb::Transfer& transfer) override { return m_Bus.Submit(transfer); }
    usb::Result Cancel(usb::Transfer& transfer) override { return m_Bus.Cancel(transfer); }
    void Forget(usb::Transfer& transfer) override { m_Bus.Forget(transfer); }
    usb::Result HandleEvents(unsigned int timeoutMs) override { return m_Bus.HandleEvents(timeoutMs); }
    void WakeEvents() override { m_Bus.WakeEvents(); }
    [[nodiscard]] usb::Result ClearHalt(std::uint8_t endpoint) override { return m_Bus.ClearHalt(endpoint); }
    [[nodiscard]] usb::Result Reset() override { return m_Bus.Reset(); }
    std::string ReadString(std::uint8_t index) override { return m_Bus.ReadString(index); }

private:
    PacketBus& m_Bus; // borrowed
};

/// Switching the stream off drops what was not sent. Thread-safe.
class FakeCamera final : public vexlo::StreamHost {
public:
    static constexpr std::uint64_t kBase = 0x20000;
    using Write = std::pair<std::uint64_t, std::uint32_t>; ///< offset in the stream's block, value

    explicit FakeCamera(PacketBus& bus) : m_Bus(bus) {}

    void Set(std::uint64_t offset, std::uint32_t value) {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_Registers[offset] = value;
    }
    /// Answers of the next writes to the control register that switch the stream on.
    void AnswerEnable(std::vector<VxStatus> answers) {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_Answers.assign(answers.begin(), answers.end());
    }
    void AnswerWrites(std::uint64_t offset, VxStatus status) {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_Refused[offset] = status;
    }
    /// Answers writes to a register; called with the number of the write, from 1 on, and no lock held.
    void OnWrite(std::uint64_t offset, std::function<VxStatus(unsigned int)> handler) {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_OnWrite[offset] = {std::move(handler), 0};
    }
    void AnswerReads(std::uint64_t offset, VxStatus status) {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_Unreadable[offset] = status;
    }
    /// Called after the stream was switched on, with the number of times.
    void OnEnable(std::function<void(unsigned int)> handler) {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_OnEnable = std::move(handler);
    }
    std::vector<Write> Writes() const {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Writes;
    }
    unsigned int TimesEnabled() const {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Enabled;
    }
    unsigned int TimesLost() const {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Lost;
    }
    /// Halts that had been cleared when the stream was switched on last.
    unsigned int HaltsBeforeEnable() const {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        return m_HaltsBeforeEnable;
    }

    unsigned int Resets() const {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Resets;
    }
    /// What a reset changes in the camera.
    void OnReset(std::function<void()> handler) {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_OnReset = std::move(handler);
    }
    /// Transfers that were queued when the stream was switched on last.
    std::size_t QueuedBeforeEnable() const {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        return m_QueuedBeforeEnable;
    }

    /// Answer when the stream is opened.
    VxStatus openAnswer = vexlo::VX_OK;
    VxStatus channelAnswer = vexlo::VX_OK;
    VxStatus resetAnswer = vexlo::VX_OK;
    std::size_t memoryLimit = 0; ///< of the system
    std::atomic<int> streaming{0};
    std::atomic<std::uint32_t> transferLimit{UINT32_MAX};
    std::atomic<std::uint32_t> trustedTransfer{0};
    std::atomic<std::chrono::steady_clock::time_point> lastWrite{std::chrono::steady_clock::time_point{}};

    [[nodiscard]] VxStatus OpenHandle(std::unique_ptr<usb::Handle>& handle) override {
        handle = std::make_unique<BusHandle>(m_Bus);
        return openAnswer;
    }
    [[nodiscard]] VxStatus GetStreamChannel(vexlo::StreamChannel& channel) override {
        channel = Channel(1024);
        return channelAnswer;
    }
    [[nodiscard]] VxStatus ReadRegister(std::uint64_t address, void* data, std::size_t size) override;
    [[nodiscard]] VxStatus WriteRegister(std::uint64_t address, const void* data, std::size_t size) override;
    std::size_t TransferMemoryLimit() override { return memoryLimit; }
    [[nodiscard]] VxStatus ResetCamera() override {
        std::unique_lock<std::mutex> lock(m_Mutex);
        ++m_Resets;
        const auto handler = m_OnReset;
        lock.unlock();
        if (handler) handler();
        return resetAnswer;
    }
    std::uint32_t TransferLimit() override { return transferLimit; }
    void LimitTransfers(std::uint32_t size) override { transferLimit = size; }
    std::uint32_t TrustedTransfer() override { return trustedTransfer; }
    void TrustTransfers(std::uint32_t size) override { trustedTransfer = size; }
    std::chrono::steady_clock::time_point LastWrite() override { return lastWrite; }
    void NoteStreaming(bool isOn) override { streaming += isOn ? 1 : -1; }
    void ReportLost() override {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        ++m_Lost;
    }

    static vexlo::StreamChannel Channel(std::uint32_t packetSize) { return {2, 0x83, packetSize, kBase}; }

private:
    PacketBus& m_Bus; // borrowed
    mutable std::mutex m_Mutex;
    std::map<std::uint64_t, std::uint32_t> m_Registers;
    std::map<std::uint64_t, VxStatus> m_Refused;
    std::map<std::uint64_t, std::pair<std::function<VxStatus(unsigned int)>, unsigned int>> m_OnWrite;
    std::map<std::uint64_t, VxStatus> m_Unreadable;
    std::deque<VxStatus> m_Answers;
    std::vector<Write> m_Writes;
    std::function<void(unsigned int)> m_OnEnable;
    unsigned int m_Enabled = 0;
    unsigned int m_HaltsBeforeEnable = 0;
    unsigned int m_Lost = 0;
    unsigned int m_Resets = 0;
    std::function<void()> m_OnReset;
    std::size_t m_QueuedBeforeEnable = 0;
};

} // namespace streamtest
