#pragma once
// The last step of an operation that promised to throw nothing.

#include "usb/Backend.h"

#include <exception>
#include <new>

namespace usb {

/// What the operation answers; NoMemory or Other for what it throws. Re-entrant.
template<class Operation>
[[nodiscard]] Result NoThrow(Operation operation) noexcept {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return Result::NoMemory;
    } catch (const std::exception&) {
        return Result::Other;
    }
}

} // namespace usb
