#include "NewFile.h"

#include "Error.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tool {
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

} // namespace

NewFile::NewFile(const std::string& path, const std::string& advice)
    : m_Path(path), m_Advice(advice), m_Place(path), m_Draft(path) {
    if (IsReplaceable(path)) {
        m_Place = Followed(path);
        m_Draft = m_Place + ".part";
    }
    m_File = std::fopen(m_Draft.c_str(), "wbe");
    if (!m_File) Fail();
}

NewFile::~NewFile() {
    if (!m_File) return;
    std::fclose(m_File);
    Discard();
}

void NewFile::Write(const void* data, std::size_t size) {
    if (std::fwrite(data, 1, size, m_File) != size) Fail();
}

/// What is buffered may be refused by a full disk only now.
void NewFile::Close() {
    if (std::fflush(m_File) != 0) Fail();
    const bool isClosed = std::fclose(std::exchange(m_File, nullptr)) == 0;
    if (m_Draft == m_Place && isClosed) return;
    if (isClosed && std::rename(m_Draft.c_str(), m_Place.c_str()) == 0) return;
    const int error = errno;
    Discard();
    errno = error;
    Fail();
}

void NewFile::Discard() const {
    if (m_Draft != m_Place) std::remove(m_Draft.c_str());
}

void NewFile::Fail() const {
    throw Error("cannot write " + m_Path + ": " + std::generic_category().message(errno) + "; " + m_Advice);
}

} // namespace tool
