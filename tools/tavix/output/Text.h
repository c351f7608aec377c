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

/// A line for a script that puts words into a command line. Nothing is printed that a terminal would not show as it is,
/// or that would be taken for an option.
inline void PrintWord(const std::string& word) {
    if (!word.empty() && word.front() != '-' && word == Printable(word)) PrintLine(word);
}

} // namespace tool
