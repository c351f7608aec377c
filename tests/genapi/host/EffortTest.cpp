// How deep and how long an operation may go.
#include "genapi/nodes/host/Effort.h"

#include <gtest/gtest.h>

using genapi::Effort;

TEST(Effort, EndsAtADepth) {
    Effort effort;
    effort.Begin(/*nodes=*/1);
    for (uint32_t i = 0; i < Effort::kMaxDepth; ++i)
        ASSERT_TRUE(effort.Enter()) << i;
    EXPECT_TRUE(effort.IsTooDeep());
    EXPECT_FALSE(effort.Enter());
    effort.Leave();
    EXPECT_TRUE(effort.Enter());
}

TEST(Effort, EndsAfterSomeStepsMoreInALargerMap) {
    const auto stepsWith = [](std::size_t nodes) {
        Effort effort;
        effort.Begin(nodes);
        std::size_t steps = 0;
        for (; effort.Enter(); ++steps)
            effort.Leave();
        EXPECT_FALSE(effort.IsTooDeep());
        return steps;
    };
    EXPECT_EQ(stepsWith(0), 20000u);
    EXPECT_EQ(stepsWith(100), 25000u);
}

TEST(Effort, OfANewOperationIsFresh) {
    Effort effort;
    EXPECT_TRUE(effort.IsIdle());
    EXPECT_FALSE(effort.Enter()) << "nothing has begun";
    effort.Begin(0);
    ASSERT_TRUE(effort.Enter());
    EXPECT_FALSE(effort.IsIdle());
    effort.Leave();
    EXPECT_TRUE(effort.IsIdle());
}
