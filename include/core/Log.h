#pragma once
// Log lines: a category, a numeric level and a printf-style text. Silent unless someone asks for them.

#include "core/Export.h"

#include <cstdarg>

namespace Tavix {

/// The numeric levels; the higher, the graver.
enum LogLevel : unsigned int {
    kLogError = 256,
    kLogWarning = 128,
    kLogInfo = 64, ///< lifecycle: creating, opening, closing, destroying
    kLogDetail = 32,
    kLogDebug = 16,
};

// Where lines go: to the log4cpp appenders of the properties file that the environment variable TAVIX_LOG_CONFIG names,
// read once, on first use; and to the listeners of core/LogSink.h. Without either nothing is written. A file that
// cannot be read leaves the log silent and says so once, on standard error.
// The levels appear in log4cpp as ERROR, WARN, INFO, DEBUG and the number 750 (which is what a properties file gives as
// a category's priority to see the lowest level as well). A level between two of them counts as the lower one.
// All functions are thread-safe; none throws.

/// The id of a category, made on first use and the same for the rest of the process. Names are nested by dots.
[[nodiscard]] TAVIX_CORE_API unsigned int LogGetCatID(const char* name);

/// Whether a line of this category and level would go anywhere; to skip the work of preparing one.
[[nodiscard]] TAVIX_CORE_API bool LogIsEnabled(unsigned int catId, unsigned int level);

/// Writes one line; formats as core/Format.h says, of any length, shown as core/Printable.h says. An id that
/// LogGetCatID never gave out is ignored.
TAVIX_CORE_API void LogTrace(unsigned int catId, unsigned int level, const char* format, ...);
TAVIX_CORE_API void LogTraceV(unsigned int catId, unsigned int level, const char* format, va_list arguments);

} // namespace Tavix
