#pragma once
// The basic types of GenICam that are neither text nor exception.

#include <cstdint>

namespace GenICam {

/// A version number of three parts, compared part by part.
/// Re-entrant.
struct Version_t {
    uint16_t Major;
    uint16_t Minor;
    uint16_t SubMinor;
};

inline bool operator==(const Version_t& a, const Version_t& b) {
    return a.Major == b.Major && a.Minor == b.Minor && a.SubMinor == b.SubMinor;
}
inline bool operator!=(const Version_t& a, const Version_t& b) {
    return !(a == b);
}
inline bool operator<(const Version_t& a, const Version_t& b) {
    if (a.Major != b.Major) return a.Major < b.Major;
    return a.Minor != b.Minor ? a.Minor < b.Minor : a.SubMinor < b.SubMinor;
}
inline bool operator>(const Version_t& a, const Version_t& b) {
    return b < a;
}
inline bool operator<=(const Version_t& a, const Version_t& b) {
    return !(b < a);
}
inline bool operator>=(const Version_t& a, const Version_t& b) {
    return !(a < b);
}

} // namespace GenICam
