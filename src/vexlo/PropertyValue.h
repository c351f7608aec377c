#pragma once
// Values of properties: little-endian, of one exact width.

#include "vexlo/Status.h"

#include <cstring>
#include <type_traits>

namespace vexlo {

/// Copies a value out. VX_E_INVALID_SIZE when the width is another.
template<class Value>
[[nodiscard]] VxStatus GetValue(const Value& value, void* buffer, unsigned long size) {
    static_assert(std::is_integral_v<Value>);
    if (buffer == nullptr) return VX_E_INVALID_PARAMETER;
    if (size != sizeof value) return VX_E_INVALID_SIZE;
    std::memcpy(buffer, &value, sizeof value);
    return VX_OK;
}

/// Copies a value in. VX_E_INVALID_SIZE when the width is another.
template<class Value>
[[nodiscard]] VxStatus SetValue(Value& value, const void* buffer, unsigned long size) {
    static_assert(std::is_integral_v<Value>);
    if (buffer == nullptr) return VX_E_INVALID_PARAMETER;
    if (size != sizeof value) return VX_E_INVALID_SIZE;
    std::memcpy(&value, buffer, sizeof value);
    return VX_OK;
}

/// As SetValue; VX_E_INVALID_PARAMETER, with the value left as it was, when it is not within the limits.
template<class Value>
[[nodiscard]] VxStatus SetValueWithin(Value& target, const void* buffer, unsigned long size, Value least, Value most) {
    Value value{};
    const VxStatus status = SetValue(value, buffer, size);
    if (status != VX_OK) return status;
    if (value < least || value > most) return VX_E_INVALID_PARAMETER;
    target = value;
    return VX_OK;
}

} // namespace vexlo
