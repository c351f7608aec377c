#pragma once
// Log lines of the USB access library.

#include "core/Log.h"

namespace vexlo {

/// Id of the library's log category.
inline unsigned int LogCategory() {
    static const unsigned int id = Tavix::LogGetCatID("Tavix.USB.Vexlo");
    return id;
}

/// Writes one line in the library's category.
template<class... Arguments>
void Log(unsigned int level, const char* format, Arguments... arguments) {
    if (Tavix::LogIsEnabled(LogCategory(), level)) Tavix::LogTrace(LogCategory(), level, format, arguments...);
}

} // namespace vexlo
