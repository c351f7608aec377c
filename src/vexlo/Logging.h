#pragma once
// Log lines of the USB access library.

#include "core/Log.h"

#include <new>

namespace vexlo {

/// Id of the library's log category.
inline unsigned int LogCategory() {
    static const unsigned int id = Tavix::LogGetCatID("Tavix.USB.Vexlo");
    return id;
}

/// Writes one line in the library's category. A line that finds no memory is left out: no thread may end for it.
template<class... Arguments>
void Log(unsigned int level, const char* format, Arguments... arguments) noexcept {
    try {
        if (Tavix::LogIsEnabled(LogCategory(), level)) Tavix::LogTrace(LogCategory(), level, format, arguments...);
    } catch (const std::bad_alloc&) {
    }
}

} // namespace vexlo
