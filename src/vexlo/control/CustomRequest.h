#pragma once
// A USB control request that the application puts together, register by register.

#include "usb/Backend.h"
#include "vexlo/Status.h"

#include <array>
#include <cstdint>

namespace vexlo {

/// A vendor request to the device on endpoint 0. Bound to a thread.
class CustomRequest {
public:
    static constexpr std::size_t kMostData = 64;

    /// Fields by the property identifiers of CVxDevice; other identifiers give VX_E_INVALID_PROPERTY.
    [[nodiscard]] VxStatus Get(unsigned int id, void* buffer, unsigned long size) const;
    [[nodiscard]] VxStatus Set(unsigned int id, const void* buffer, unsigned long size);

    /// True for the identifiers whose writing executes the request.
    static bool IsExecution(unsigned int id);
    /// Does the request; the execution identifier tells the direction.
    [[nodiscard]] VxStatus Execute(usb::Handle& handle, unsigned int id, unsigned int timeoutMs);

private:
    std::uint8_t m_Id = 0;
    std::uint16_t m_Value = 0;
    std::uint16_t m_Index = 0;
    std::uint16_t m_Length = 0;
    std::array<std::uint8_t, kMostData> m_Data{};
};

} // namespace vexlo
