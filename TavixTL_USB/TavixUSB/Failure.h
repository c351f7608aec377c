#pragma once
// From status codes to texts and from failures to exceptions.

#include "Log.h"

#include "Base/GCException.h"
#include "Base/GCString.h"
#include "core/Format.h"

namespace Tavix {

/// The USB access library's text for a status; empty for a status that it does not know.
GenICam::gcstring VxStatus2Msg(unsigned int status);

/// A source line, written into exceptions.
struct SourcePlace {
    const char* file; ///< with its folders, which Throw leaves out
    unsigned int line;
};

/// The line that calls it. Costs nothing, since it stands in calls that seldom fail.
inline SourcePlace Here(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) {
    return {file, line};
}

template<class Exception, class... Arguments>
[[noreturn]] void Throw(SourcePlace place, const char* format, Arguments... arguments) {
    throw Exception(Format(format, arguments...).c_str(), GenICam::SourceFileBaseName(place.file), place.line);
}

/// Logs an error and throws an exception of the same text.
template<class Exception, class... Arguments>
[[noreturn]] void LogAndThrow(unsigned int category, SourcePlace place, const char* format, Arguments... arguments) {
    LogTrace(category, kLogError, format, arguments...);
    Throw<Exception>(place, format, arguments...);
}

} // namespace Tavix
