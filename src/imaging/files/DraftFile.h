#pragma once
// A file that is there whole or not at all.

#include <cstddef>
#include <cstdio>
#include <string>

namespace Tavix::imaging {

/// Written beside its place and moved there once everything reached it. What is no plain file (a device, a pipe) is
/// written to as it stands. Functions throw Error, which names the path and the reason. Bound to a thread.
class DraftFile {
public:
    explicit DraftFile(const std::string& path);
    /// Removes what was written, unless it was closed.
    ~DraftFile();
    DraftFile(const DraftFile&) = delete;
    DraftFile& operator=(const DraftFile&) = delete;

    void Write(const void* data, std::size_t size);
    void Close();

private:
    [[noreturn]] void Fail() const;
    void OpenDraft();

    const std::string m_Path;
    std::string m_Place, m_Draft; ///< links followed; the draft is empty when there is none
    std::FILE* m_File = nullptr;
};

} // namespace Tavix::imaging
