// Which access modes are remembered, and for how long.
#include "genapi/nodes/host/AccessMemory.h"

#include <gtest/gtest.h>

using genapi::AccessMemory;

namespace {

struct AccessMemoryOfThree : testing::Test {
    AccessMemoryOfThree() { memory.Resize(3); }
    void Remember(genapi::NodeIndex node, GenApi::EAccessMode mode) {
        AccessMemory::Evaluation(memory, node).Keep(mode);
    }

    AccessMemory memory;
};

} // namespace

TEST_F(AccessMemoryOfThree, KeepsAModeForOneGeneration) {
    EXPECT_FALSE(memory.Find(1));
    Remember(1, GenApi::RO);
    EXPECT_EQ(memory.Find(1), GenApi::RO);
    EXPECT_FALSE(memory.Find(2)) << "nobody else's";
    memory.NextGeneration();
    EXPECT_FALSE(memory.Find(1));
}

TEST_F(AccessMemoryOfThree, LetsANodeRestrictNothingWhileItsModeIsComputed) {
    {
        const AccessMemory::Evaluation evaluation(memory, 1);
        EXPECT_EQ(memory.Find(1), GenApi::RW);
        EXPECT_FALSE(memory.Find(0));
    }
    EXPECT_FALSE(memory.Find(1)) << "the computing ended without a mode";
}

TEST_F(AccessMemoryOfThree, KeepsNoModeThatWasComputedInACircle) {
    AccessMemory::Evaluation outer(memory, 0);
    {
        AccessMemory::Evaluation inner(memory, 1);
        EXPECT_EQ(memory.Find(0), GenApi::RW) << "the circle";
        inner.Keep(GenApi::RW);
    }
    outer.Keep(GenApi::RO);
    EXPECT_FALSE(memory.Find(1));
}

TEST_F(AccessMemoryOfThree, KeepsNoModeThatWasComputedOverAChange) {
    AccessMemory::Evaluation evaluation(memory, 0);
    memory.NextGeneration();
    evaluation.Keep(GenApi::RO);
    memory.NextGeneration();
    Remember(1, GenApi::WO);
    EXPECT_EQ(memory.Find(0), GenApi::RW) << "it is being computed still";
    EXPECT_EQ(memory.Find(1), GenApi::WO);
}

TEST_F(AccessMemoryOfThree, TellsOfARememberedModeThatItsNodeLiesBehindAClosedPort) {
    {
        AccessMemory::Evaluation evaluation(memory, 0);
        memory.NoteClosedPort();
        evaluation.Keep(GenApi::NA);
    }
    Remember(1, GenApi::NA);
    const uint32_t before = memory.ClosedPorts();
    EXPECT_EQ(memory.Find(1), GenApi::NA);
    EXPECT_EQ(memory.ClosedPorts(), before);
    EXPECT_EQ(memory.Find(0), GenApi::NA);
    EXPECT_EQ(memory.ClosedPorts(), before + 1);
    memory.ForgetClosedPortsSince(before);
    EXPECT_EQ(memory.ClosedPorts(), before);
}
