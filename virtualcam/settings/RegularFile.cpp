#include "virtualcam/settings/RegularFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

namespace virtualcam {
namespace {

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using OpenFile = std::unique_ptr<FILE, CloseFile>;

[[noreturn]] void Fail(int error) {
    throw std::runtime_error(std::strerror(error));
}

} // namespace

std::string ReadRegularFile(const std::string& path, std::size_t most) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) Fail(errno);
    const OpenFile file(fdopen(descriptor, "rb"));
    if (!file) Fail(errno);
    struct stat facts {};
    if (fstat(descriptor, &facts) != 0) Fail(errno);
    if (!S_ISREG(facts.st_mode)) throw std::runtime_error("it is no regular file");
    std::string text;
    char piece[16384];
    for (std::size_t got = 0; (got = fread(piece, 1, sizeof piece, file.get())) != 0;) {
        text.append(piece, got);
        if (text.size() > most) throw std::runtime_error("it is larger than " + std::to_string(most) + " bytes");
    }
    if (ferror(file.get()) != 0) Fail(EIO);
    return text;
}

} // namespace virtualcam
