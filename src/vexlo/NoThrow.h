#pragma once
// The last step of an operation that promised to throw nothing.

#include "vexlo/Status.h"

#include <exception>
#include <new>

namespace vexlo {

/// What the operation answers; VX_E_NO_MEMORY or VX_E_FAILED for what it throws.
template<class Operation>
[[nodiscard]] VxStatus NoThrow(Operation operation) noexcept {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return VX_E_NO_MEMORY;
    } catch (const std::exception&) {
        return VX_E_FAILED;
    }
}

} // namespace vexlo
