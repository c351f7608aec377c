#pragma once
// From the SDK's strings to what can be printed.

#include "core/Printable.h"

#include <cstdio>
#include <string>

#include <GenICam.h>

namespace tool {

inline std::string Text(const GenICam::gcstring& s) {
    return std::string(s.c_str(), s.size());
}

using Tavix::Printable;

/// A line on standard output. Whatever a camera or a file put into it cannot move the cursor.
inline void PrintLine(const std::string& line) {
    std::printf("%s\n", Printable(line).c_str());
}
/// The same for output that goes on while it is read: written out at once.
inline void PrintLineNow(const std::string& line) {
    PrintLine(line);
    std::fflush(stdout);
}

} // namespace tool
