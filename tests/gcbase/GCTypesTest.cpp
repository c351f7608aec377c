#include "Base/GCTypes.h"

#include <gtest/gtest.h>

using GenICam::Version_t;

TEST(Version, ComparesPartByPart) {
    constexpr Version_t kAscending[] = {{0, 0, 0}, {0, 0, 9}, {0, 1, 0}, {1, 0, 0}, {1, 0, 1}, {1, 1, 0}, {2, 0, 0}};
    for (const Version_t& a : kAscending) {
        for (const Version_t& b : kAscending) {
            EXPECT_EQ(a < b, &a < &b);
            EXPECT_EQ(a > b, &a > &b);
            EXPECT_EQ(a == b, &a == &b);
            EXPECT_EQ(a != b, &a != &b);
            EXPECT_EQ(a <= b, &a <= &b);
            EXPECT_EQ(a >= b, &a >= &b);
        }
    }
}
