#include "TraceWatch.h"

#include "Error.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {
namespace {

constexpr const char* kTraceSwitch = "TAVIX_TRACE";
constexpr const char* kTraceCategory = "Tavix.USB.Trace"; // where the writer tells that a trace is not whole
constexpr char kBegin[] = "pcapng";                       // what a full disk refuses; the trace begins the file anew

/// 0, or what is wrong.
int TryToWrite(const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (file < 0) return errno;
    struct stat status {};
    const bool isPlain = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    errno = EINVAL;
    const bool isWritten =
        isPlain && ftruncate(file, 0) == 0 && write(file, kBegin, sizeof kBegin) == static_cast<ssize_t>(sizeof kBegin);
    const int error = isWritten ? 0 : errno;
    close(file);
    return error;
}

} // namespace

TraceWatch::TraceWatch() {
    const char* path = secure_getenv(kTraceSwitch);
    if (path == nullptr || *path == '\0') return;
    m_Sink.emplace([this](const char* category, unsigned int, const char*) {
        if (std::strcmp(category, kTraceCategory) == 0) m_IsWhole = false;
    });
}

void StartTrace(const std::string& path) {
    if (const int error = TryToWrite(path); error != 0) {
        throw Error("cannot write the trace to " + path + ": " + std::generic_category().message(error) +
                    "; choose a plain file on a disk with room for --trace");
    }
    setenv(kTraceSwitch, path.c_str(), /*overwrite=*/1);
}

} // namespace tool
