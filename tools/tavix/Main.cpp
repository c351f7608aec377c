// The program `tavix`. Status.h says what its exit status means; each but 0 comes with one line on standard error.

#include "Error.h"
#include "Interrupt.h"
#include "TraceWatch.h"
#include "line/CommandLine.h"

#include "core/Printable.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <new>

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

namespace {

int Complain(const std::string& line, int status) {
    std::fflush(stdout);
    if (!tool::HasReader()) return status;
    std::fprintf(stderr, "tavix: %s\n", Tavix::Printable(line).c_str());
    return status;
}

/// For when there is nothing left to make a line from.
int ComplainPlainly(const char* line) {
    std::fflush(stdout);
    std::fputs(line, stderr);
    return tool::kFailed;
}

/// A program may be started without standard input or output. Whatever is opened next would take their place, and an
/// image or a camera be written to as if it were the terminal. So they are taken, for the wrong direction: what is
/// written fails as it should.
void OccupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) != -1) continue;
        (void)!open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

/// Whether all that was printed has arrived.
bool IsOutputWhole() {
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

int Run(int argc, char** argv) {
    tool::CommandLine line;
    try {
        line.Parse(argc, argv);
    } catch (const CLI::Success& e) {
        line.app.exit(e); // help and version
        return std::cout.flush() ? tool::kDone : Complain(tool::kOutputLost, tool::kFailed);
    } catch (const CLI::ParseError& e) {
        return Complain(tool::Reason(e) + "; see " + line.HelpCommand(), tool::kWrongLine);
    }
    // The transport layer reads the variable when it is loaded, which is later than this.
    if (!line.virtualCameras.empty()) setenv("TAVIX_VIRTUAL_CAMERAS", line.virtualCameras.c_str(), /*overwrite=*/1);
    try {
        const tool::TraceWatch trace;
        const int status = line.run();
        if (!IsOutputWhole()) return Complain(tool::kOutputLost, tool::kFailed);
        return status == tool::kDone && !trace.IsWhole() ? tool::kPartly : status;
    } catch (const tool::Error& e) {
        const bool isLost = e.Status() == tool::kPartly && !IsOutputWhole();
        return isLost ? Complain(tool::kOutputLost, tool::kFailed) : Complain(tool::Reason(e), e.Status());
    }
}

/// Nothing that is thrown anywhere ends the program without a line.
int RunToALine(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        return ComplainPlainly("tavix: there is not enough memory; end other programs, or ask for less\n");
    } catch (const std::exception& e) {
        return Complain(tool::Reason(e), tool::kFailed);
    } catch (...) {
        return ComplainPlainly("tavix: it failed in a way that nobody foresaw\n");
    }
}

} // namespace

int main(int argc, char** argv) {
    OccupyStandardStreams();
    std::signal(SIGXFSZ, SIG_IGN); // a file that grew too large is an error of writing, not a reason to die
    const tool::InterruptWatch watch;
    const int status = RunToALine(argc, argv);
    if (!tool::IsInterrupted()) return status;
    if (status == tool::kDone && tool::HasReader()) ComplainPlainly(tool::kInterruptedLine);
    return tool::InterruptedStatus();
}
