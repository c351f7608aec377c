#pragma once
// The registers of a camera's image stream, in memory.

#include "PacketBus.h"

#include "vexlo/stream/StreamHost.h"

#include <map>
#include <utility>

namespace streamtest {

using vexlo::VxStatus;

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

    [[nodiscard]] VxStatus OpenHandle(std::unique_ptr<usb::Handle>&) override { return vexlo::VX_E_NOT_SUPPORTED; }
    [[nodiscard]] VxStatus GetStreamChannel(vexlo::StreamChannel& channel) override {
        channel = Channel(1024);
        return vexlo::VX_OK;
    }
    [[nodiscard]] VxStatus ReadRegister(std::uint64_t address, void* data, std::size_t size) override;
    [[nodiscard]] VxStatus WriteRegister(std::uint64_t address, const void* data, std::size_t size) override;
    std::size_t TransferMemoryLimit() override { return 0; }
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
    std::map<std::uint64_t, VxStatus> m_Unreadable;
    std::deque<VxStatus> m_Answers;
    std::vector<Write> m_Writes;
    std::function<void(unsigned int)> m_OnEnable;
    unsigned int m_Enabled = 0;
    unsigned int m_HaltsBeforeEnable = 0;
    unsigned int m_Lost = 0;
};

} // namespace streamtest
