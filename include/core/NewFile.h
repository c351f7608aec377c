#pragma once
// A file that is there whole or not at all.

#include "core/Export.h"

#include <cstddef>
#include <cstdio>
#include <string>

namespace Tavix {

/// Written beside its place, under a name of its own that ends with .part, and moved there once everything reached it:
/// whoever finds a file of that name finds all of it, whenever the program was killed. What is no plain file (a device,
/// a pipe with a reader) is written to as it stands. Each function throws std::runtime_error, which names the
/// path and the reason and ends with the advice. Bound to a thread.
class TAVIX_CORE_API NewFile {
public:
    /// What is done when the path is a link: the file that it leads to is written, or the link gives way. In a folder
    /// to which others can write, only the second is safe; it replaces what is no plain file, too.
    enum class Links { Followed, Replaced };

    explicit NewFile(const std::string& path, const std::string& advice = {}, Links links = Links::Followed);
    /// Removes what was written, unless it was closed.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    std::FILE* Get() const { return m_File; }
    void Write(const void* data, std::size_t size);
    /// In the place that was named first; a plain file there is replaced.
    void Close();
    /// In another place of the same folder. False when there is something already; it stays as it is, and the next
    /// name can be tried.
    [[nodiscard]] bool CloseAs(const std::string& path);
    /// With the reason in errno.
    [[noreturn]] void Fail() const;

private:
    void OpenDraft();
    void OpenAsItStands();
    void Flush();
    void Discard() const;

    const std::string m_Path, m_Advice;
    std::string m_Place; // links followed
    std::string m_Draft; // empty when there is none
    std::FILE* m_File = nullptr;
};

} // namespace Tavix
