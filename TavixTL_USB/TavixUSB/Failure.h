#pragma once
// From status codes to texts and from failures to exceptions.

#include "Log.h"

#include "Base/GCException.h"
#include "Base/GCString.h"
#include "core/Format.h"
#include "tavix/DevicePresence.h"

namespace Tavix {

/// The USB access library's text for a status; empty for a status that it does not know.
GenICam::gcstring VxStatus2Msg(unsigned int status);

DevicePresence PresenceBy(unsigned int status);

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

/// RuntimeException, or the one that tells how a camera was found that did not answer.
template<class... Arguments>
[[noreturn]] void ThrowStatus(SourcePlace place, unsigned int status, const char* format, Arguments... arguments) {
    const DevicePresence presence = PresenceBy(status);
    if (presence == DevicePresence::There) Throw<GenICam::RuntimeException>(place, format, arguments...);
    throw PresenceException(presence, Format(format, arguments...).c_str(), GenICam::SourceFileBaseName(place.file),
                            place.line);
}

/// Logs an error and throws an exception of the same text.
template<class Exception, class... Arguments>
[[noreturn]] void LogAndThrow(unsigned int category, SourcePlace place, const char* format, Arguments... arguments) {
    LogTrace(category, kLogError, format, arguments...);
    Throw<Exception>(place, format, arguments...);
}

/// The same for a status that may tell how a camera was found.
template<class... Arguments>
[[noreturn]] void LogAndThrowStatus(unsigned int category, SourcePlace place, unsigned int status, const char* format,
                                    Arguments... arguments) {
    LogTrace(category, kLogError, format, arguments...);
    ThrowStatus(place, status, format, arguments...);
}

} // namespace Tavix
