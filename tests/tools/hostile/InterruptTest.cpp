// Ctrl-C, the request to terminate, and the terminal that goes away: each ends every command, at every moment.

#include "tests/tools/support/TestFolder.h"
#include "tests/tools/support/ToolRun.h"
#include "tests/tools/support/Variable.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace tooltest;

constexpr char kAddressOfTestEventGenerate[] = "\x04\x80\x10";

std::size_t CountOf(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

class EachSignal : public testing::TestWithParam<int> {};

/// A camera that does not answer keeps a command for ten seconds and more; whoever asks for the end need not wait.
TEST_P(EachSignal, EndsACommandThatWaitsForASilentCamera) {
    const TestFolder folder;
    const std::string settings =
        folder.Write("c.json", R"({"cameras": [{"faults": {"control": [{"fault": "NoAnswer", "count": 0}]}}]})");
    const Variable trace("TAVIX_TRACE", folder.Path("t.pcapng")); // made when the camera is looked for
    for (const Arguments& command : {Arguments{"info"}, {"get", "Width"}, {"grab", "-n", "1"}, {"doctor"}}) {
        Arguments arguments{"--virtual", settings};
        arguments.insert(arguments.end(), command.begin(), command.end());
        std::filesystem::remove(folder.Path("t.pcapng"));
        ToolRun run(arguments);
        ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(folder.Path("t.pcapng")); }));
        run.Signal(GetParam());
        const Outcome outcome = run.Finish();
        EXPECT_EQ(outcome.status, 128 + GetParam()) << command.front();
        EXPECT_EQ(outcome.err, "tavix: interrupted\n") << command.front();
    }
}

/// The command is at work in the camera, which is asked for the end of it again and again.
TEST_P(EachSignal, EndsACommandOfTheCameraThatIsNeverDone) {
    const TestFolder folder;
    const std::string settings =
        folder.Write("c.json", R"({"cameras": [{"registers": {"endlessCommands": [1081348]}}]})");
    const Variable trace("TAVIX_TRACE", folder.Path("t.pcapng"));
    ToolRun run({"--virtual", settings, "set", "TestEventGenerate"});
    ASSERT_TRUE(Eventually([&] { return CountOf(kAddressOfTestEventGenerate, folder.Read("t.pcapng")) > 10; }));
    run.Signal(GetParam());
    const Outcome outcome = run.Finish();
    EXPECT_EQ(outcome.status, 128 + GetParam());
    EXPECT_EQ(outcome.err, "tavix: interrupted\n") << "which is not that it was not done in time";
}

TEST_P(EachSignal, EndsAGrabInGoodOrder) {
    const TestFolder folder;
    // Small images: one that is just being written is finished, and there is not a second for that.
    ToolRun run({"--virtual", "1", "grab", "-n", "1000000", "-s", "AcquisitionFrameRateEnable=0", "-s", "Width=64",
                 "-s", "Height=64", "-o", folder.Path("images")});
    ASSERT_TRUE(Eventually([&] { return !folder.Files(".png").empty(); }));
    run.Signal(GetParam());
    const Outcome outcome = run.Finish();
    EXPECT_EQ(outcome.status, 128 + GetParam());
    EXPECT_EQ(outcome.err, "tavix: interrupted\n");
    EXPECT_NE(outcome.out.find(std::to_string(folder.Files(".png").size()) + " images in "), std::string::npos)
        << outcome.out;
    EXPECT_TRUE(folder.Files(".part").empty());
}

INSTANTIATE_TEST_SUITE_P(Interrupt, EachSignal, testing::Values(SIGINT, SIGTERM, SIGHUP), [](const auto& instance) {
    return instance.param == SIGINT ? "Int" : instance.param == SIGTERM ? "Term" : "Hup";
});

/// What a shell's `| less` is while nobody turns the page.
TEST(Interrupt, EndsACommandWhoseOutputNobodyTakes) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the thread sanitizer's own exit waits for the thread that nobody lets write";
#endif
    const TestFolder folder;
    const std::string command = "echo $$ >" + folder.Path("pid") +
                                "; exec " TAVIX_TOOL
                                " --virtual 1 chunks -n 1000000 -s AcquisitionFrameRateEnable=0 -s Width=16 "
                                "-s Height=16 2>" +
                                folder.Path("err");
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    ASSERT_NE(pipe, nullptr);
    const auto isFull = [&, before = -1]() mutable {
        int held = 0;
        ioctl(fileno(pipe.get()), FIONREAD, &held);
        return held > 0 && held == std::exchange(before, held) && held > (60 << 10);
    };
    ASSERT_TRUE(Eventually(isFull));
    const pid_t process = std::atoi(folder.Read("pid").c_str());
    kill(process, SIGINT);
    int status = 0; // pclose would close its end first, and end the command by that
    waitpid(process, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 130);
    EXPECT_EQ(folder.Read("err"), "tavix: interrupted\n");
}

/// Whether a trace consists of blocks to its very end.
bool IsWholeTrace(const std::string& trace) {
    std::size_t at = 0;
    for (std::uint32_t length = 0; at + 12 <= trace.size(); at += length) {
        std::memcpy(&length, trace.data() + at + 4, sizeof length);
        if (length < 12) return false;
    }
    return at == trace.size() && at > 0;
}

/// As `head -1` does.
TEST(Interrupt, OfTheReaderEndsAGrabInGoodOrder) {
    for (const std::string command : {"chunks -n 1000000", "events --grab"}) {
        const TestFolder folder;
        const Variable trace("TAVIX_TRACE", folder.Path("t.pcapng"));
        FILE* const pipe =
            popen(("exec " TAVIX_TOOL " --virtual 1 " + command + " 2>" + folder.Path("err")).c_str(), "r");
        ASSERT_NE(pipe, nullptr);
        char line[1000];
        EXPECT_NE(fgets(line, sizeof line, pipe), nullptr) << command;
        const int status = pclose(pipe); // its end of the pipe goes first
        ASSERT_TRUE(WIFEXITED(status)) << command;
        EXPECT_EQ(WEXITSTATUS(status), 141) << command;
        const std::string err = folder.Read("err");
        const bool isOfSanitizer = err.rfind("==", 0) == 0 && err.find('\n') == err.size() - 1; // one line of its own
        EXPECT_TRUE(err.empty() || isOfSanitizer) << command << ": " << err;
        EXPECT_TRUE(IsWholeTrace(folder.Read("t.pcapng"))) << command;
    }
}

TEST_P(EachSignal, EndsAServerOfVirtualCameras) {
    const std::string port = std::to_string(30000 + 4 * (getpid() % 7000) + GetParam() % 4);
    ToolRun run({"virtual", "serve", "--usbip", port});
    ASSERT_TRUE(Eventually([&] { return run.Output().find("attach with") != std::string::npos; }));
    run.Signal(GetParam());
    const Outcome outcome = run.Finish();
    EXPECT_EQ(outcome.status, 128 + GetParam());
    EXPECT_EQ(outcome.err, "tavix: interrupted\n");
}

/// As `nohup` starts programs.
TEST(Interrupt, LeavesASignalAloneThatIsToBeIgnored) {
    const TestFolder folder;
    const std::string command = "trap '' HUP; echo $$ >" + folder.Path("pid") +
                                "; exec " TAVIX_TOOL " --virtual 1 grab -n 1000000 -q -o " + folder.Path("images") +
                                " 2>" + folder.Path("err");
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    ASSERT_NE(pipe, nullptr);
    ASSERT_TRUE(Eventually([&] { return !folder.Files(".png").empty(); }));
    const pid_t process = std::atoi(folder.Read("pid").c_str());
    kill(process, SIGHUP);
    kill(process, SIGTERM);
    int status = 0;
    waitpid(process, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 143);
}

} // namespace
