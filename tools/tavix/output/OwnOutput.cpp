#include "output/OwnOutput.h"

#include "Error.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <unistd.h>

namespace tool {
namespace {

std::FILE* TakeStandardOutput() {
    std::fflush(stdout);
    const int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    std::FILE* file = own < 0 ? nullptr : fdopen(own, "w");
    if (!file || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) throw Error("standard output cannot be taken from a producer");
    return file;
}

} // namespace

OwnOutput::OwnOutput() : m_File(TakeStandardOutput()) {}

OwnOutput::~OwnOutput() {
    std::fclose(m_File);
    std::fflush(stdout);
    __fpurge(stdout); // what others could not print is no failure of ours
    std::clearerr(stdout);
}

void OwnOutput::Print(const std::string& text) {
    std::fputs(text.c_str(), m_File);
    if (std::fflush(m_File) != 0 || std::ferror(m_File) != 0) throw Error(kOutputLost);
}

} // namespace tool
