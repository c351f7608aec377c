#include "PlainFile.h"

#include "Error.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {
namespace {

/// Closed at the end of its scope.
class Descriptor {
public:
    explicit Descriptor(const std::string& path) : m_File(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
    ~Descriptor() {
        if (m_File >= 0) close(m_File);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return m_File; }

private:
    const int m_File;
};

/// Grows as bytes really come: what the system says of the size is no promise.
std::optional<std::string> ReadFrom(int file, std::size_t most) {
    constexpr std::size_t kBlock = 64 << 10;
    std::string text;
    while (text.size() < most) {
        const std::size_t before = text.size();
        text.resize(before + std::min(kBlock, most - before));
        const ssize_t count = read(file, &text[before], text.size() - before);
        if (count < 0 && errno != EINTR) return {};
        text.resize(before + static_cast<std::size_t>(std::max<ssize_t>(0, count)));
        if (count == 0) break;
    }
    return text;
}

[[noreturn]] void ThrowUnreadable(const std::string& path, bool notPlain, const std::string& advice) {
    throw Error((notPlain ? path + " is no plain file; " : "cannot read " + path + "; ") + advice);
}

void RequireSize(const std::string& path, bool fits, std::size_t most, const std::string& advice) {
    if (!fits) throw Error(path + " has more than the " + std::to_string(most) + " bytes that it may have; " + advice);
}

} // namespace

std::optional<std::string> ReadPlainFile(const std::string& path, std::size_t most, bool* notPlain) {
    if (notPlain) *notPlain = false;
    struct stat status {};
    // Asked before it is opened, too: opening some devices does something.
    if (stat(path.c_str(), &status) != 0) return {};
    const auto isPlain = [&] { return S_ISREG(status.st_mode); };
    if (notPlain) *notPlain = !isPlain() && !S_ISDIR(status.st_mode);
    if (!isPlain()) return {};
    const Descriptor file(path);
    if (file.Get() < 0 || fstat(file.Get(), &status) != 0 || !isPlain()) return {};
    return ReadFrom(file.Get(), most);
}

std::string ReadWholeFile(const std::string& path, std::size_t most, const std::string& advice) {
    bool notPlain = false;
    const auto text = ReadPlainFile(path, most + 1, &notPlain);
    if (!text) ThrowUnreadable(path, notPlain, advice);
    RequireSize(path, text->size() <= most, most, advice);
    return *text;
}

std::string ReadStandardInput(std::size_t most, const std::string& advice) {
    const std::string name = "standard input";
    const auto text = ReadFrom(STDIN_FILENO, most + 1);
    if (!text) ThrowUnreadable(name, /*notPlain=*/false, advice);
    RequireSize(name, text->size() <= most, most, advice);
    return *text;
}

void RequirePlainFile(const std::string& path, std::size_t most, const std::string& advice) {
    bool notPlain = false;
    struct stat status {};
    if (!ReadPlainFile(path, 1, &notPlain)) ThrowUnreadable(path, notPlain, advice);
    const bool fits = stat(path.c_str(), &status) == 0 && static_cast<std::uint64_t>(status.st_size) <= most;
    RequireSize(path, fits, most, advice);
}

} // namespace tool
