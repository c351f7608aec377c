#include "producers/ChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kReportVariable = "TAVIX_REPORT_FILE"; // the number of a file that the program inherits
constexpr std::size_t kMostErrors = 64 << 10;
constexpr std::size_t kLongestEnding = 16;

void Require(int error, const char* what) {
    if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

/// Both ends of a pipe; closes what is still open. Bound to a thread.
struct Pipe {
    Pipe() { Require(pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno, "making a pipe"); }
    ~Pipe() {
        CloseWriting();
        close(ends[0]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void CloseWriting() {
        if (ends[1] >= 0) close(ends[1]);
        ends[1] = -1;
    }
    int ends[2] = {-1, -1};
};

/// Closed at the end of its scope. Bound to a thread.
class ProcessFile {
public:
    explicit ProcessFile(int file) : m_File(file) { Require(file >= 0 ? 0 : errno, "watching a program"); }
    ~ProcessFile() { close(m_File); }
    ProcessFile(const ProcessFile&) = delete;
    ProcessFile& operator=(const ProcessFile&) = delete;
    int Get() const { return m_File; }

private:
    const int m_File;
};

/// What becomes of the three standard files. Bound to a thread.
class FileActions {
public:
    FileActions(int output, int errors) {
        Require(posix_spawn_file_actions_init(&m_Actions), "preparing a program");
        posix_spawn_file_actions_addopen(&m_Actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&m_Actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_Actions, errors, STDERR_FILENO);
    }
    ~FileActions() { posix_spawn_file_actions_destroy(&m_Actions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    const posix_spawn_file_actions_t* Get() const { return &m_Actions; }

private:
    posix_spawn_file_actions_t m_Actions;
};

pid_t Start(const std::string& program, const std::vector<std::string>& arguments,
            const posix_spawn_file_actions_t* files) {
    std::vector<char*> words{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    pid_t child = 0;
    Require(posix_spawn(&child, program.c_str(), files, nullptr, words.data(), environ), "starting a program");
    return child;
}

/// Takes what there is to read and gives it to `keep`; takes the file out of what is polled at its end.
template<class Keep>
void Read(pollfd& file, Keep&& keep) {
    char block[4096];
    const ssize_t count = read(file.fd, block, sizeof block);
    if (count > 0)
        keep(block, static_cast<std::size_t>(count));
    else if (count == 0 || errno != EINTR)
        file.fd = -1;
}

/// Reads until the program has ended and nothing of it is left; false when the time is over before that.
bool ReadUntilEnd(pid_t child, int output, int errors, Clock::time_point end, ChildOutcome& outcome) {
    const ProcessFile process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    pollfd files[] = {{output, POLLIN, 0}, {errors, POLLIN, 0}, {process.Get(), POLLIN, 0}};
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0 || poll(files, std::size(files), static_cast<int>(left)) == 0) return false;
        if (files[0].revents != 0)
            Read(files[0], [&](const char* bytes, std::size_t count) {
                outcome.ending.append(bytes, count);
                if (outcome.ending.size() > kLongestEnding)
                    outcome.ending.erase(0, outcome.ending.size() - kLongestEnding);
            });
        else if (files[1].revents != 0)
            Read(files[1], [&](const char* bytes, std::size_t count) {
                outcome.errors.append(bytes, std::min(count, kMostErrors - outcome.errors.size()));
            });
        else if (files[2].revents != 0)
            return true;
    }
}

int Wait(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

} // namespace

ChildOutcome RunChild(const std::string& program, const std::vector<std::string>& arguments, int timeoutMs) {
    Pipe output, errors;
    const FileActions files(output.ends[1], errors.ends[1]);
    const pid_t child = Start(program, arguments, files.Get());
    output.CloseWriting();
    errors.CloseWriting();
    ChildOutcome outcome;
    const auto end = Clock::now() + std::chrono::milliseconds(timeoutMs);
    if (!ReadUntilEnd(child, output.ends[0], errors.ends[0], end, outcome)) {
        outcome.end = ChildOutcome::End::TimedOut;
        kill(child, SIGKILL);
    }
    const int status = Wait(child);
    if (outcome.end == ChildOutcome::End::TimedOut) return outcome;
    outcome.end = WIFSIGNALED(status) ? ChildOutcome::End::Killed : ChildOutcome::End::Exited;
    outcome.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    return outcome;
}

ReportedEnd RunToReport(const std::string& program, const std::vector<std::string>& arguments) {
    Pipe report;
    Require(fcntl(report.ends[1], F_SETFD, 0) == 0 ? 0 : errno, "preparing a program"); // that one is inherited
    setenv(kReportVariable, std::to_string(report.ends[1]).c_str(), /*overwrite=*/1);
    const pid_t child = Start(program, arguments, nullptr);
    unsetenv(kReportVariable);
    report.CloseWriting();
    const int status = Wait(child);
    ReportedEnd outcome;
    outcome.end = WIFSIGNALED(status) ? ChildOutcome::End::Killed : ChildOutcome::End::Exited;
    outcome.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    char byte = 0;
    // What the program has started itself may have the other end still, so this must not wait.
    pollfd said{report.ends[0], POLLIN, 0};
    outcome.hasReported = poll(&said, 1, 0) == 1 && read(report.ends[0], &byte, 1) == 1;
    return outcome;
}

bool ReportFile::IsThere() {
    if (!secure_getenv(kReportVariable)) return false;
    prctl(PR_SET_PDEATHSIG, SIGKILL); // nobody waits for this program any more then
    return true;
}

ReportFile::~ReportFile() {
    (void)!write(std::atoi(secure_getenv(kReportVariable)), "", 1);
}

} // namespace tool
