// The way out to log4cpp, seen from outside: a process, its environment, its output and the file that it writes.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

struct Outcome {
    int exitCode = -1;
    std::string output; // both streams
};

std::string Contents(const std::string& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::size_t CountOf(const std::string& what, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++count;
    return count;
}

} // namespace

class LogConfig : public testing::Test {
protected:
    void SetUp() override {
        std::string folder = testing::TempDir() + "tavixlog.XXXXXX";
        ASSERT_NE(mkdtemp(folder.data()), nullptr);
        m_Folder = folder;
    }
    void TearDown() override {
        std::remove(PropertiesPath().c_str());
        std::remove(LogPath().c_str());
        std::remove(m_Folder.c_str());
    }

    std::string PropertiesPath() const { return m_Folder + "/log.properties"; }
    std::string LogPath() const { return m_Folder + "/lines.log"; }
    std::string Log() const { return Contents(LogPath()); }

    // `categories` are the lines that give categories their priorities; the appender is called A.
    void WriteProperties(const std::string& categories) const {
        std::ofstream(PropertiesPath()) << categories << "\n"
                                        << "appender.A=FileAppender\n"
                                        << "appender.A.fileName=" << LogPath() << "\n"
                                        << "appender.A.layout=PatternLayout\n"
                                        << "appender.A.layout.ConversionPattern=%c|%p|%m%n\n";
    }

    // Runs the probe with TAVIX_LOG_CONFIG set to `config` (as the properties file's name unless given otherwise).
    Outcome RunProbe(const std::string& category, const std::string& mode) const {
        return RunProbe(category, mode, PropertiesPath());
    }
    static Outcome RunProbe(const std::string& category, const std::string& mode, const std::string& config) {
        const std::string command =
            "TAVIX_LOG_CONFIG='" + config + "' '" TAVIX_LOG_PROBE "' " + category + " " + mode + " 2>&1";
        Outcome outcome;
        FILE* pipe = popen(command.c_str(), "r");
        if (pipe == nullptr) return outcome;
        std::array<char, 4096> chunk{};
        while (const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), pipe))
            outcome.output.append(chunk.data(), count);
        const int status = pclose(pipe);
        outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return outcome;
    }

private:
    std::string m_Folder;
};

TEST_F(LogConfig, MapsLevelsToPriorities) {
    WriteProperties("rootCategory=750, A");
    EXPECT_EQ(RunProbe("Probe.X", "levels").exitCode, 0);
    EXPECT_EQ(CountOf("Probe.X|ERROR|line 256\nProbe.X|WARN|line 128\nProbe.X|INFO|line 64\nProbe.X|DEBUG|line 32\n"
                      "Probe.X|DEBUG|line 16\n",
                      Log()),
              1u)
        << Log();
}

TEST_F(LogConfig, DropsLinesBelowThePriority) {
    WriteProperties("rootCategory=WARN, A");
    const Outcome outcome = RunProbe("Probe.X", "levels");
    EXPECT_EQ(outcome.output, "256 enabled\n128 enabled\n64 silent\n32 silent\n16 silent\n");
    EXPECT_EQ(CountOf("\n", Log()), 2u) << Log();
}

TEST_F(LogConfig, LeavesTheLowestLevelOutOfDebug) {
    WriteProperties("rootCategory=DEBUG, A");
    EXPECT_EQ(RunProbe("Probe.X", "levels").output, "256 enabled\n128 enabled\n64 enabled\n32 enabled\n16 silent\n");
}

TEST_F(LogConfig, FollowsThePriorityOfACategory) {
    WriteProperties("rootCategory=ERROR, A\ncategory.Probe.Talkative=INFO");
    EXPECT_EQ(RunProbe("Probe.Talkative.Child", "levels").output,
              "256 enabled\n128 enabled\n64 enabled\n32 silent\n16 silent\n");
    EXPECT_EQ(RunProbe("Probe.Quiet", "levels").output, "256 enabled\n128 silent\n64 silent\n32 silent\n16 silent\n");
}

TEST_F(LogConfig, StaysSilentForAMissingFileAndSaysSoOnce) {
    const Outcome outcome = RunProbe("Probe.X", "threads", "/nonexistent/log.properties");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(CountOf("\n", outcome.output), 1u) << outcome.output;
    EXPECT_NE(outcome.output.find("/nonexistent/log.properties"), std::string::npos) << outcome.output;
}

TEST_F(LogConfig, StaysSilentForAFileThatIsNoProperties) {
    std::ofstream(PropertiesPath()) << "rootCategory=LOUD, Nowhere\nappender.Nowhere=NoSuchAppender\n";
    const Outcome outcome = RunProbe("Probe.X", "threads");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(CountOf("\n", outcome.output), 1u) << outcome.output;
}

TEST_F(LogConfig, StaysSilentForAnEmptyName) {
    const Outcome outcome = RunProbe("Probe.X", "threads", "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "");
}

TEST_F(LogConfig, StaysSilentForAFolder) {
    const Outcome outcome = RunProbe("Probe.X", "threads", "/");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_LE(CountOf("\n", outcome.output), 1u) << outcome.output;
}

TEST_F(LogConfig, DoesNotWaitForAPipe) {
    ASSERT_EQ(mkfifo(PropertiesPath().c_str(), 0600), 0);
    const Outcome outcome = RunProbe("Probe.X", "threads");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "TAVIX_LOG_CONFIG: cannot use '" + PropertiesPath() + "': it is no regular file\n");
}

TEST_F(LogConfig, RefusesAFileWithoutEnd) {
    const Outcome outcome = RunProbe("Probe.X", "threads", "/dev/zero");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "TAVIX_LOG_CONFIG: cannot use '/dev/zero': it is no regular file\n");
}

TEST_F(LogConfig, RefusesAFileThatIsLargerThanAnyProperties) {
    WriteProperties("rootCategory=INFO, A");
    ASSERT_EQ(truncate(PropertiesPath().c_str(), (1 << 20) + 1), 0);
    const Outcome outcome = RunProbe("Probe.X", "threads");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "TAVIX_LOG_CONFIG: cannot use '" + PropertiesPath() + "': it is larger than 1 MiB\n");
}

TEST_F(LogConfig, WritesWholeLinesOfManyThreads) {
    WriteProperties("rootCategory=INFO, A");
    EXPECT_EQ(RunProbe("Probe.X", "threads").exitCode, 0);
    std::istringstream lines(Log());
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("Probe.X|ERROR|thread ", 0) == 0) ++count;
    }
    EXPECT_EQ(count, 800u);
}

TEST_F(LogConfig, SurvivesLinesOfLateDestructors) {
    WriteProperties("rootCategory=INFO, A");
    EXPECT_EQ(RunProbe("Probe.X", "atexit").exitCode, 0);
}
