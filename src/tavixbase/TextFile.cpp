#include "tavix/ConfigFileRegistry.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace Tavix {
namespace {

// More than any description has.
constexpr std::size_t kMostText = std::size_t{64} << 20;

// A file that is open to be read, and the failures to do so as exceptions.
class TextFile {
public:
    explicit TextFile(const gcstring& name)
        : m_Name(name), m_Descriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        if (m_Descriptor < 0) Fail();
    }
    ~TextFile() {
        if (m_Descriptor >= 0) close(m_Descriptor);
    }
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    std::string ReadAll() const {
        RequireRegularFile();
        std::string text;
        char piece[16384];
        for (;;) {
            const ssize_t count = read(m_Descriptor, piece, sizeof piece);
            if (count == 0) return text;
            if (count > 0) {
                if (text.size() + static_cast<std::size_t>(count) > kMostText) FailAsTooLarge();
                text.append(piece, static_cast<std::size_t>(count));
            } else if (errno != EINTR) {
                Fail();
            }
        }
    }

private:
    // Pipes and devices may never end.
    void RequireRegularFile() const {
        struct stat status = {};
        if (fstat(m_Descriptor, &status) != 0) Fail();
        if (S_ISREG(status.st_mode)) return;
        throw RUNTIME_EXCEPTION("Failed to read file '%s': Not a regular file", m_Name.c_str());
    }

    [[noreturn]] void FailAsTooLarge() const {
        throw RUNTIME_EXCEPTION("Failed to read file '%s': It has more than the %zu bytes that are allowed",
                                m_Name.c_str(), kMostText);
    }

    [[noreturn]] void Fail() const {
        throw RUNTIME_EXCEPTION("Failed to read file '%s': %s", m_Name.c_str(), std::strerror(errno));
    }

    const gcstring& m_Name;
    const int m_Descriptor; // owned
};

} // namespace

gcstring textFileToString(const gcstring& fileName) {
    return TextFile(fileName).ReadAll();
}

} // namespace Tavix
