#include "tools/tavix/grabs/Distribution.h"

#include <gtest/gtest.h>

namespace {

TEST(Distribution, IsNothingWithoutValues) {
    const tool::Distribution none;
    EXPECT_EQ(none.Quantile(0.5), 0);
    EXPECT_TRUE(none.Json().is_null());
}

TEST(Distribution, GivesTheValueThatAPartDoesNotExceed) {
    tool::Distribution hundred;
    for (int i = 100; i > 0; --i)
        hundred.Add(i);
    EXPECT_EQ(hundred.Quantile(0), 1);
    EXPECT_EQ(hundred.Quantile(0.5), 50);
    EXPECT_EQ(hundred.Quantile(0.99), 99);
    EXPECT_EQ(hundred.Quantile(1), 100);
    EXPECT_EQ(hundred.Json()["p99"], 99);
}

TEST(Distribution, OfOneValueIsThatValue) {
    tool::Distribution one;
    one.Add(7);
    EXPECT_EQ(one.Quantile(0), 7);
    EXPECT_EQ(one.Quantile(1), 7);
}

} // namespace
