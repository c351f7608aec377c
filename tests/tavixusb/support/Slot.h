#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace support {

/// The place of a virtual operation in the table of its class. A pointer to it holds the offset in its first word, and
/// that it is virtual in a bit: of the same word, or on ARM, whose functions may lie at odd addresses, of the second.
template<class Operation>
std::size_t Slot(Operation operation) {
    std::size_t words[2];
    static_assert(sizeof operation == sizeof words);
    std::memcpy(words, &operation, sizeof words);
#ifdef __aarch64__
    EXPECT_EQ(1u, words[1] % 2) << "not virtual";
#else
    EXPECT_EQ(1u, words[0] % sizeof(void*)) << "not virtual";
#endif
    return words[0] / sizeof(void*);
}

} // namespace support
