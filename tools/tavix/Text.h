#pragma once
// From the SDK's strings to the standard library's.

#include <string>

#include <GenICam.h>

namespace tool {

inline std::string Text(const GenICam::gcstring& s) {
    return std::string(s.c_str(), s.size());
}

} // namespace tool
