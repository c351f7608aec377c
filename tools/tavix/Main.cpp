// The program `tavix`. Status.h says what its exit status means; each but 0 comes with one line on standard error.

#include "CommandLine.h"
#include "Error.h"

#include <cstdio>
#include <cstdlib>

#include <CLI/CLI.hpp>

namespace {

int Complain(const std::string& line, int status) {
    std::fflush(stdout);
    std::fprintf(stderr, "tavix: %s\n", line.c_str());
    return status;
}

} // namespace

int main(int argc, char** argv) {
    tool::CommandLine line;
    try {
        line.Parse(argc, argv);
    } catch (const CLI::Success& e) {
        return line.app.exit(e); // help and version
    } catch (const CLI::ParseError& e) {
        return Complain(tool::Reason(e) + "; see " + line.HelpCommand(), tool::kWrongLine);
    }
    // The transport layer reads the variable when it is loaded, which is later than this.
    if (!line.virtualCameras.empty()) setenv("TAVIX_VIRTUAL_CAMERAS", line.virtualCameras.c_str(), /*overwrite=*/1);
    try {
        const int status = line.run();
        if (std::fflush(stdout) != 0) return Complain("the output could not be written", tool::kFailed);
        return status;
    } catch (const tool::Error& e) {
        return Complain(tool::Reason(e), e.Status());
    } catch (const std::exception& e) {
        return Complain(tool::Reason(e), tool::kFailed);
    }
}
