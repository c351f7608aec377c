#include "FakeCamera.h"

#include "support/Shortage.h"

#include <cstring>

namespace streamtest {

using vexlo::VX_OK;
using Lock = std::unique_lock<std::mutex>;

VxStatus FakeCamera::ReadRegister(std::uint64_t address, void* data, std::size_t size) {
    const shortage::AmpleMemory ample;
    if (m_Bus.IsGone()) return vexlo::VX_E_USB_NO_DEVICE;
    Lock lock(m_Mutex);
    const std::uint64_t offset = address - kBase;
    if (const auto found = m_Unreadable.find(offset); found != m_Unreadable.end() && found->second != VX_OK)
        return found->second;
    for (std::size_t i = 0; i < size; i += 4)
        std::memcpy(static_cast<std::uint8_t*>(data) + i, &m_Registers[offset + i], 4);
    return VX_OK;
}

VxStatus FakeCamera::WriteRegister(std::uint64_t address, const void* data, std::size_t size) {
    const shortage::AmpleMemory ample;
    if (m_Bus.IsGone()) return vexlo::VX_E_USB_NO_DEVICE;
    if (size != 4) return vexlo::VX_E_INVALID_SIZE;
    std::uint32_t value = 0;
    std::memcpy(&value, data, 4);
    Lock lock(m_Mutex);
    const std::uint64_t offset = address - kBase;
    m_Writes.emplace_back(offset, value);
    if (m_Refused.count(offset)) return m_Refused[offset];
    if (const auto found = m_OnWrite.find(offset); found != m_OnWrite.end()) {
        const auto handler = found->second.first;
        const unsigned int number = ++found->second.second;
        lock.unlock();
        if (const VxStatus status = handler(number)) return status;
        lock.lock();
    }
    m_Registers[offset] = value;
    if (offset != 0x04) return VX_OK;
    if (value == 0) {
        m_Bus.DropUnsent();
        return VX_OK;
    }
    m_QueuedBeforeEnable = m_Bus.Queued();
    if (!m_Answers.empty()) {
        const VxStatus answer = m_Answers.front();
        m_Answers.pop_front();
        if (answer != VX_OK) return answer;
    }
    m_HaltsBeforeEnable = m_Bus.HaltsCleared();
    const unsigned int times = ++m_Enabled;
    const auto handler = m_OnEnable;
    lock.unlock();
    if (handler) handler(times);
    return VX_OK;
}

} // namespace streamtest
