#include "core/NewFile.h"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tavix {
namespace {

namespace fs = std::filesystem;

/// What a link leads to, so that the link stays.
std::string Followed(const std::string& path) {
    std::error_code code;
    const fs::path place = fs::canonical(path, code);
    return code ? path : place.string();
}

bool IsReplaceable(const std::string& path) {
    std::error_code code;
    const fs::file_status status = fs::status(path, code);
    return !fs::exists(status) || fs::is_regular_file(status);
}

/// Not every file system can move a file only if its new name is free. There the name is taken first, by an empty file.
bool MoveToFreeName(const std::string& from, const std::string& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    const int taken = open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (taken < 0) return false;
    close(taken);
    return std::rename(from.c_str(), to.c_str()) == 0;
}

} // namespace

NewFile::NewFile(const std::string& path, const std::string& advice, Links links)
    : m_Path(path), m_Advice(advice), m_Place(path) {
    if (links == Links::Replaced) {
        OpenDraft();
    } else if (IsReplaceable(path)) {
        m_Place = Followed(path);
        OpenDraft();
    } else {
        OpenAsItStands();
    }
}

NewFile::~NewFile() {
    if (m_File) std::fclose(m_File);
    Discard();
}

/// Somebody else who may write to the folder cannot plant a link under the draft's name: it is made here or not at all.
void NewFile::OpenDraft() {
    static std::atomic<unsigned int> s_Count{0};
    int file = -1;
    do {
        m_Draft = m_Place + "." + std::to_string(getpid()) + "-" + std::to_string(++s_Count) + ".part";
        file = open(m_Draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    } while (file < 0 && errno == EEXIST);
    if (file >= 0 && (m_File = fdopen(file, "wb"))) return;
    const int error = errno;
    if (file >= 0) {
        close(file);
        Discard();
    }
    errno = error;
    Fail();
}

/// Without waiting for somebody who reads a pipe.
void NewFile::OpenAsItStands() {
    const int file = open(m_Path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) Fail();
    fcntl(file, F_SETFL, fcntl(file, F_GETFL) & ~O_NONBLOCK);
    if ((m_File = fdopen(file, "wb"))) return;
    close(file);
    Fail();
}

void NewFile::Write(const void* data, std::size_t size) {
    if (std::fwrite(data, 1, size, m_File) != size) Fail();
}

/// What is buffered may be refused by a full disk only now.
void NewFile::Flush() {
    if (!m_File) return;
    if (std::fflush(m_File) != 0) Fail();
    if (std::fclose(std::exchange(m_File, nullptr)) != 0) Fail();
}

void NewFile::Close() {
    Flush();
    if (m_Draft.empty()) return;
    if (std::rename(m_Draft.c_str(), m_Place.c_str()) != 0) Fail();
    m_Draft.clear();
}

bool NewFile::CloseAs(const std::string& path) {
    Flush();
    if (!MoveToFreeName(m_Draft, path)) {
        if (errno == EEXIST) return false;
        Fail();
    }
    m_Draft.clear();
    return true;
}

void NewFile::Discard() const {
    if (!m_Draft.empty()) std::remove(m_Draft.c_str());
}

void NewFile::Fail() const {
    const std::string text = "cannot write " + m_Path + ": " + std::generic_category().message(errno);
    throw std::runtime_error(m_Advice.empty() ? text : text + "; " + m_Advice);
}

} // namespace Tavix
