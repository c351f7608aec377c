// Programs that are run to see how they end.

#include "producers/ChildProcess.h"

#include <gtest/gtest.h>

#include <system_error>

namespace {

using tool::ChildOutcome;
using tool::RunChild;

ChildOutcome Shell(const std::string& script, int timeoutMs = 20000) {
    return RunChild("/bin/sh", {"-c", script}, timeoutMs);
}

TEST(ChildProcess, TellsStatusAndWhatWasSaid) {
    const ChildOutcome outcome = Shell("echo a long line, kept to its end; echo why >&2; exit 7");
    EXPECT_EQ(outcome.end, ChildOutcome::End::Exited);
    EXPECT_EQ(outcome.code, 7);
    EXPECT_EQ(outcome.errors, "why\n");
    EXPECT_EQ(outcome.ending, "kept to its end\n");
}

TEST(ChildProcess, TellsTheSignal) {
    const ChildOutcome outcome = Shell("kill -SEGV $$");
    EXPECT_EQ(outcome.end, ChildOutcome::End::Killed);
    EXPECT_EQ(outcome.code, 11);
}

TEST(ChildProcess, IsKilledWhenItsTimeIsOver) {
    EXPECT_EQ(Shell("exec sleep 1000", 50).end, ChildOutcome::End::TimedOut);
}

TEST(ChildProcess, IsKilledAlsoWhenItHasNothingMoreToSay) {
    EXPECT_EQ(Shell("exec 2>&-; exec sleep 1000", 50).end, ChildOutcome::End::TimedOut);
}

TEST(ChildProcess, KeepsTheBeginningOfALongText) {
    const ChildOutcome outcome = Shell("head -c 1000000 /dev/zero >&2");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.errors.size(), 65536U);
}

TEST(ChildProcess, ThatDoesNotExistIsAnError) {
    EXPECT_THROW(RunChild("/nowhere/program", {}, 1000), std::system_error);
}

} // namespace
