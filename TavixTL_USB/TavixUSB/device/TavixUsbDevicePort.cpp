// The device as the port of its camera node map.

#include "device/CommandRegisters.h"
#include "device/TavixUsbDevice.h"

namespace Tavix {

using GenICam::LogicalErrorException;
using GenICam::RuntimeException;

GenApi::EAccessMode CTavixUsbDevice::GetAccessMode() const {
    const TransportGuard guard(m_Lock);
    if (!m_IsOpen) return GenApi::NA;
    return m_AccessMode.test(Control) || m_AccessMode.test(Exclusive) ? GenApi::RW : GenApi::RO;
}

void CTavixUsbDevice::Read(void* pBuffer, int64_t address, int64_t length) {
    const TransportGuard guard(m_Lock);
    if (!m_IsOpen) Throw<LogicalErrorException>(Here(), "Device not yet opened.");
    auto count = static_cast<unsigned long>(length);
    const unsigned int status = m_pVxDevice->ReadMem(pBuffer, static_cast<unsigned long>(address), &count);
    if (status != 0) {
        const gcstring text = VxStatus2Msg(status);
        LogTrace(LogCategoryDevice(), kLogError, "%s: Read operation on device '%s' failed: '%s'", "Read",
                 m_FullName.c_str(), text.c_str());
        Throw<RuntimeException>(Here(), "Read operation on device '%s' failed: '%s'", m_FullName.c_str(), text.c_str());
    }
    if (count >= static_cast<unsigned long>(length)) return;
    LogTrace(LogCategoryDevice(), kLogError,
             "%s: Couldn't read the requested number of bytes from device '%s'. Requested: %u; read: %u", "Read",
             m_FullName.c_str(), static_cast<unsigned int>(length), static_cast<unsigned int>(count));
    Throw<RuntimeException>(Here(), "Read operation failed. Read %d bytes instead of %d", static_cast<int>(count),
                            static_cast<int>(length));
}

void CTavixUsbDevice::Write(const void* pBuffer, int64_t address, int64_t length) {
    const auto target = static_cast<unsigned long long>(address);
    const auto count = static_cast<unsigned long long>(length);
    unsigned int status = 0;
    {
        const TransportGuard guard(m_Lock);
        if (!m_IsOpen) {
            LogAndThrow<LogicalErrorException>(
                LogCategoryDevice(), Here(),
                "Device '%s' not open when trying to read from address %#llx; length %llu.", // sic
                m_FullName.c_str(), target, count);
        }
        status =
            m_pVxDevice->WriteMem(pBuffer, static_cast<unsigned long>(address), static_cast<unsigned long>(length));
    }
    if (vexlo::CVxDevice::IsWriteInDoubt(status)) status = SettleWrite(pBuffer, address, length, status);
    if (status == 0) return;
    LogAndThrow<RuntimeException>(LogCategoryDevice(), Here(),
                                  "Write operation failed on device '%s' at address: %#llx; length %llu; Error: '%s'",
                                  m_FullName.c_str(), target, count, VxStatus2Msg(status).c_str());
}

unsigned int CTavixUsbDevice::SettleWrite(const void* pBuffer, int64_t address, int64_t length, unsigned int status) {
    if (!_Ptr) return status;
    LogTrace(LogCategoryDevice(), kLogDetail, "Write to device '%s' at address %#llx in doubt: '%s'",
             m_FullName.c_str(), static_cast<unsigned long long>(address), VxStatus2Msg(status).c_str());
    const CommandHere command = FindCommand(*_Ptr, address, length);
    if (command == CommandHere::Yes) return vexlo::VX_E_COMMAND_IN_DOUBT;
    if (command == CommandHere::Unknown) return status;
    const TransportGuard guard(m_Lock);
    if (!m_IsOpen) return status;
    return m_pVxDevice->RewriteMem(pBuffer, static_cast<unsigned long>(address), static_cast<unsigned long>(length));
}

} // namespace Tavix
