// A USB control request that the application puts together, register by register.
#include "vexlo/control/CustomRequest.h"

#include "vexlo/PropertyValue.h"
#include "vexlo/UsbStatus.h"
#include "vexlo/VxDevice.h"

namespace vexlo {
namespace {

constexpr std::uint8_t kVendorRequestIn = 0xC0;  ///< device to host, vendor, device
constexpr std::uint8_t kVendorRequestOut = 0x40; ///< host to device, vendor, device

} // namespace

VxStatus CustomRequest::Get(unsigned int id, void* buffer, unsigned long size) const {
    switch (id) {
    case CVxDevice::Property_CustomRequestId:
        return GetValue(m_Id, buffer, size);
    case CVxDevice::Property_CustomRequestValue:
        return GetValue(m_Value, buffer, size);
    case CVxDevice::Property_CustomRequestIndex:
        return GetValue(m_Index, buffer, size);
    case CVxDevice::Property_CustomRequestDataLength:
        return GetValue(m_Length, buffer, size);
    case CVxDevice::Property_CustomRequestExecuteRead:
    case CVxDevice::Property_CustomRequestExecuteWrite:
        return GetValue(std::uint8_t{0}, buffer, size);
    case CVxDevice::Property_CustomRequestData:
        if (buffer == nullptr) return VX_E_INVALID_PARAMETER;
        if (size > m_Data.size()) return VX_E_INVALID_SIZE;
        std::memcpy(buffer, m_Data.data(), size);
        return VX_OK;
    default:
        return VX_E_INVALID_PROPERTY;
    }
}

VxStatus CustomRequest::Set(unsigned int id, const void* buffer, unsigned long size) {
    switch (id) {
    case CVxDevice::Property_CustomRequestId:
        return SetValue(m_Id, buffer, size);
    case CVxDevice::Property_CustomRequestValue:
        return SetValue(m_Value, buffer, size);
    case CVxDevice::Property_CustomRequestIndex:
        return SetValue(m_Index, buffer, size);
    case CVxDevice::Property_CustomRequestDataLength:
        return SetValue(m_Length, buffer, size);
    case CVxDevice::Property_CustomRequestData:
        if (buffer == nullptr) return VX_E_INVALID_PARAMETER;
        if (size > m_Data.size()) return VX_E_INVALID_SIZE;
        std::memcpy(m_Data.data(), buffer, size);
        return VX_OK;
    default:
        return VX_E_INVALID_PROPERTY;
    }
}

bool CustomRequest::IsExecution(unsigned int id) {
    return id == CVxDevice::Property_CustomRequestExecuteRead || id == CVxDevice::Property_CustomRequestExecuteWrite;
}

VxStatus CustomRequest::Execute(usb::Handle& handle, unsigned int id, unsigned int timeoutMs) {
    if (m_Length > m_Data.size()) return VX_E_INVALID_SIZE;
    usb::ControlSetup setup;
    setup.requestType = id == CVxDevice::Property_CustomRequestExecuteRead ? kVendorRequestIn : kVendorRequestOut;
    setup.request = m_Id;
    setup.value = m_Value;
    setup.index = m_Index;
    setup.length = m_Length;
    std::size_t actual = 0;
    return ToStatus(handle.Control(setup, m_Data.data(), actual, timeoutMs));
}

} // namespace vexlo
