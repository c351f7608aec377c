// Looking and reaching inside a device, for tests and those who set scenes.

#include "virtualcam/device/Device.h"

namespace virtualcam {

Status Device::ReadRegister(std::uint64_t address, std::uint8_t* to, std::size_t length) {
    const Tavix::MutexLock lock(m_Lock);
    return m_Camera ? m_Camera->Registers().Read(address, to, length) : Status::AccessDenied;
}

Status Device::WriteRegister(std::uint64_t address, const std::uint8_t* from, std::size_t length) {
    const Tavix::MutexLock lock(m_Lock);
    const Status status = m_Camera ? m_Camera->Registers().Write(address, from, length) : Status::AccessDenied;
    m_Thread.Reschedule(Deadline());
    return status;
}

void Device::FireEvent(std::uint16_t id, const Bytes& data) {
    const Tavix::MutexLock lock(m_Lock);
    if (m_Camera) m_Camera->RaiseEvent(id, data);
}

void Device::FireRawEvent(const Bytes& message) {
    const Tavix::MutexLock lock(m_Lock);
    if (m_Camera && m_Camera->Events().RaiseRaw(message)) EventQueued();
}

void Device::SetFaults(const FaultScript& faults) {
    const Tavix::MutexLock lock(m_Lock);
    m_Faults = ScriptedFaults(faults);
    if (m_Camera) {
        m_Camera->Control().SetFaults(faults.control);
        m_Camera->Events().SetFaults(faults.events);
    }
    PassFaults();
}

void Device::JumpClock(std::chrono::nanoseconds by) {
    const Tavix::MutexLock lock(m_Lock);
    if (m_Camera) m_Camera->Time().Jump(by);
}

void Device::SetInput(std::uint32_t line, bool high) {
    const Tavix::MutexLock lock(m_Lock);
    if (m_Camera) m_Camera->SetInput(line, high);
    m_Thread.Reschedule(Deadline());
}

std::uint64_t Device::LostFrames() const {
    const Tavix::MutexLock lock(m_Lock);
    return m_Camera ? m_Camera->LostFrames() : 0;
}

bool Device::RefusesOpen() {
    const Tavix::MutexLock lock(m_Lock);
    return m_Faults.RefusesOpen();
}

bool Device::RefusesClaim() {
    const Tavix::MutexLock lock(m_Lock);
    return m_Faults.RefusesClaim();
}

std::string Device::UserName() const {
    const Tavix::MutexLock lock(m_Lock);
    return m_Persistent.userName;
}

std::uint64_t Device::Commands() const {
    const Tavix::MutexLock lock(m_Lock);
    return m_Camera ? m_Camera->Control().Commands() : 0;
}

} // namespace virtualcam
