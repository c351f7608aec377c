// Whoever asks for a trace learns when it is not whole.

#include "tools/support/SmallFiles.h"
#include "tools/support/TestFolder.h"
#include "tools/support/ToolRun.h"
#include "tools/support/Variable.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace tooltest;

void ExpectItTold(const Outcome& outcome, const std::string& says) {
    EXPECT_EQ(outcome.status, 3);
    ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_NE(outcome.err.find(says), std::string::npos) << outcome.err;
}

// As fast as the host takes them, so that none is missed on a busy machine.
const Arguments kGrab{"--virtual", "1", "grab", "-n", "2", "-q", "-s", "AcquisitionFrameRateEnable=0"};

TEST(Trace, IsThereWithoutALine) {
    const TestFolder folder;
    Arguments arguments = kGrab;
    arguments.insert(arguments.end(), {"--trace", folder.Path("t.pcapng")});
    const Outcome outcome = RunTool(arguments);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(folder.Read("t.pcapng").substr(0, 4), "\x0a\x0d\x0d\x0a");
}

TEST(Trace, ThatTheDiskDoesNotTakeIsToldInTheEnd) {
    const TestFolder folder;
    for (const bool isVariable : {false, true}) {
        const SmallFiles limit(4096);
        const std::string path = folder.Path("t.pcapng");
        Arguments arguments = kGrab;
        if (!isVariable) arguments.insert(arguments.end(), {"--trace", path});
        const Variable variable(isVariable ? "TAVIX_TRACE" : "TAVIX_UNUSED", path);
        ExpectItTold(RunTool(arguments), "TAVIX_TRACE: the trace in " + path + " is not whole: File too large");
    }
}

TEST(Trace, ThatTheVariableCannotHaveIsTold) {
    const TestFolder folder;
    for (const std::string& path : {folder.Path("none/t"), folder.Path(), std::string("/dev/null")}) {
        const Variable variable("TAVIX_TRACE", path);
        ExpectItTold(RunTool(kGrab), "TAVIX_TRACE: no trace can be written to " + path + ": ");
    }
}

TEST(Trace, WithABadNumberOfPayloadBytesIsTold) {
    const TestFolder folder;
    const Variable variable("TAVIX_TRACE", folder.Path("t"));
    for (const char* bad : {"many", "-1", "5k", "1000000000000000000", "99999999999999999999"}) {
        const Variable payload("TAVIX_TRACE_PAYLOAD", bad);
        ExpectItTold(RunTool(kGrab), "TAVIX_TRACE_PAYLOAD: '" + std::string(bad) + "' is no number of bytes; 64 ");
    }
    for (const char* good : {"0", "999999999999999999"}) {
        const Variable payload("TAVIX_TRACE_PAYLOAD", good);
        const Outcome outcome = RunTool(kGrab);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err.find("TAVIX_TRACE_PAYLOAD"), std::string::npos) << outcome.err;
    }
}

} // namespace
