// Descriptions that lie in files.
#include "genapi/loader/Loader.h"

#include <Base/GCException.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace genapi {

namespace {

// An open file. Bound to a thread.
class File {
public:
    // A pipe would let the opening wait for ever, and a device the reading.
    explicit File(const std::string& path)
        : m_Path(path), m_Descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
        if (m_Descriptor < 0) throw RUNTIME_EXCEPTION("Cannot open file '%hs': %hs", Path(), std::strerror(errno));
    }
    ~File() { ::close(m_Descriptor); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::string ReadAll() const {
        std::string text;
        text.reserve(CheckedSize());
        for (;;) {
            const std::size_t before = text.size();
            // One byte more than may be, so that a file that grows meanwhile is noticed.
            text.resize(std::min(before + kChunkSize, kMaxDescriptionSize + 1));
            const ssize_t count = ::read(m_Descriptor, text.data() + before, text.size() - before);
            if (count < 0) throw RUNTIME_EXCEPTION("Cannot read file '%hs': %hs", Path(), std::strerror(errno));
            text.resize(before + static_cast<std::size_t>(count));
            if (text.size() > kMaxDescriptionSize) RefuseSize();
            if (count == 0) return text;
        }
    }

private:
    static constexpr std::size_t kChunkSize = std::size_t{1} << 20;

    const char* Path() const { return m_Path.c_str(); }
    [[noreturn]] void RefuseSize() const {
        throw RUNTIME_EXCEPTION("File '%hs' is longer than %zu MiB", Path(), kMaxDescriptionSize >> 20U);
    }

    std::size_t CheckedSize() const {
        struct stat facts = {};
        if (::fstat(m_Descriptor, &facts) != 0) {
            throw RUNTIME_EXCEPTION("Cannot read file '%hs': %hs", Path(), std::strerror(errno));
        }
        if (!S_ISREG(facts.st_mode)) throw RUNTIME_EXCEPTION("'%hs' is no regular file", Path());
        const auto size = static_cast<std::size_t>(facts.st_size);
        if (size > kMaxDescriptionSize) RefuseSize();
        return size + kChunkSize;
    }

    const std::string& m_Path; // borrowed
    int m_Descriptor;          // owned
};

} // namespace

std::string ReadDescriptionFile(const std::string& path) {
    std::string text = File(path).ReadAll();
    if (text.compare(0, 4, "PK\3\4") == 0) return UnzipDescription(text.data(), text.size());
    return text;
}

} // namespace genapi
