#include "tools/support/ToolRun.h"

#include <core/WaitObject.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tooltest {
namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The address sanitizer does not know every format of the C library and says so once a process; that is no line of the
/// program's.
std::string WithoutSanitizerNotes(const std::string& text) {
    std::string kept;
    for (const std::string& line : Lines(text)) {
        if (line.find("WARNING: unexpected format specifier in printf") == std::string::npos) kept += line + "\n";
    }
    return kept;
}

} // namespace

ToolRun::ToolRun(const Arguments& arguments, const std::string& input) {
    m_Folder = testing::TempDir() + "tavix_run_XXXXXX";
    if (!mkdtemp(m_Folder.data())) throw std::runtime_error("no scratch folder");
    std::vector<char*> argv{const_cast<char*>(TAVIX_TOOL)};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    const std::string out = m_Folder + "/out", err = m_Folder + "/err";
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, err.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals); // tests may run where Ctrl-C is ignored
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    const int error = posix_spawn(&m_Process, TAVIX_TOOL, &files, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) throw std::runtime_error("tavix cannot be started");
}

ToolRun::~ToolRun() {
    if (m_Process > 0) {
        kill(m_Process, SIGKILL);
        waitpid(m_Process, nullptr, 0);
    }
    std::error_code ignored;
    std::filesystem::remove_all(m_Folder, ignored);
}

void ToolRun::Signal(int signal) const {
    if (m_Process > 0) kill(m_Process, signal);
}

std::string ToolRun::Output() const {
    return ReadFile(m_Folder + "/out");
}

Outcome ToolRun::Finish() {
    int status = 0;
    rusage usage{};
    wait4(m_Process, &status, 0, &usage);
    m_Process = -1;
    Outcome outcome;
    outcome.peakKilobytes = usage.ru_maxrss;
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    outcome.out = ReadFile(m_Folder + "/out");
    outcome.err = WithoutSanitizerNotes(ReadFile(m_Folder + "/err"));
    return outcome;
}

bool Eventually(const std::function<bool()>& condition) {
    const Tavix::WaitObjectEx never = Tavix::WaitObjectEx::Create();
    for (int i = 0; i < 3000; ++i) {
        if (condition()) return true;
        (void)never.Wait(10);
    }
    return false;
}

Outcome RunTool(const Arguments& arguments, const std::string& input) {
    return ToolRun(arguments, input).Finish();
}

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace tooltest
