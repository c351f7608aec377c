#pragma once
// The last step of an operation that promised to throw nothing.

#include "core/Threads.h"
#include "vexlo/Status.h"

#include <exception>
#include <new>
#include <system_error>

namespace vexlo {

/// The status for what is being handled, in a catch block: VX_E_NO_MEMORY, VX_E_NO_THREAD, VX_E_TOO_MANY_FILES, or
/// VX_E_FAILED.
[[nodiscard]] inline VxStatus CaughtStatus() noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return VX_E_NO_MEMORY;
    } catch (const Tavix::NoThread&) {
        return VX_E_NO_THREAD;
    } catch (const std::system_error& error) {
        return error.code() == std::errc::too_many_files_open ? VX_E_TOO_MANY_FILES : VX_E_FAILED;
    } catch (const std::exception&) {
        return VX_E_FAILED;
    }
}

/// What the operation answers, or the status for what it throws.
template<class Operation>
[[nodiscard]] VxStatus NoThrow(Operation operation) noexcept {
    try {
        return operation();
    } catch (...) {
        return CaughtStatus();
    }
}

} // namespace vexlo
