#include "imaging/files/DraftFile.h"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include <tavix/imaging/Error.h>

namespace Tavix::imaging {

DraftFile::DraftFile(const std::string& path) : m_Path(path), m_Place(path) {
    std::error_code code;
    const auto status = std::filesystem::status(path, code);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        m_File = std::fopen(path.c_str(), "wbe");
        if (!m_File) Fail();
        return;
    }
    const std::filesystem::path place = std::filesystem::canonical(path, code);
    if (!code) m_Place = place.string();
    OpenDraft();
}

DraftFile::~DraftFile() {
    if (m_File) std::fclose(m_File);
    if (!m_Draft.empty()) std::remove(m_Draft.c_str());
}

// Nobody who may write to the folder can plant a link under the draft's name: it is made here or not at all.
void DraftFile::OpenDraft() {
    static std::atomic<unsigned int> s_Count{0};
    int file = -1;
    do {
        m_Draft = m_Place + "." + std::to_string(getpid()) + "-" + std::to_string(++s_Count) + ".part";
        file = open(m_Draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    } while (file < 0 && errno == EEXIST);
    if (file < 0) {
        m_Draft.clear();
        Fail();
    }
    m_File = fdopen(file, "wb");
    if (m_File) return;
    close(file);
    std::remove(std::exchange(m_Draft, {}).c_str());
    throw Error("cannot write " + m_Path + ": no memory");
}

void DraftFile::Write(const void* data, std::size_t size) {
    if (size > 0 && std::fwrite(data, 1, size, m_File) != size) Fail();
}

// What is buffered may be refused by a full disk only now.
void DraftFile::Close() {
    if (std::fflush(m_File) != 0) Fail();
    if (std::fclose(std::exchange(m_File, nullptr)) != 0) Fail();
    if (m_Draft.empty()) return;
    if (std::rename(m_Draft.c_str(), m_Place.c_str()) != 0) Fail();
    m_Draft.clear();
}

void DraftFile::Fail() const {
    throw Error("cannot write " + m_Path + ": " + std::generic_category().message(errno));
}

} // namespace Tavix::imaging
