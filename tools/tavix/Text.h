#pragma once
// From the SDK's strings to what can be printed.

#include <string>

#include <GenICam.h>

namespace tool {

inline std::string Text(const GenICam::gcstring& s) {
    return std::string(s.c_str(), s.size());
}

/// For a terminal: what a camera put into its strings must not move the cursor, so control characters become '?'.
inline std::string Printable(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    }
    return text;
}

} // namespace tool
