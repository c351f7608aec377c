#pragma once
// A file that is there whole or not at all.

#include <cstddef>
#include <cstdio>
#include <string>

namespace tool {

/// Written beside its place, as NAME.part, and moved there once everything reached it: whoever finds a file of that
/// name finds all of it, whenever the program was killed. What is no plain file (a device, a pipe) is written to as it
/// stands. Each function throws Error, which ends with the advice. Bound to a thread.
class NewFile {
public:
    NewFile(const std::string& path, const std::string& advice);
    /// Removes what was written, unless it was closed.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    std::FILE* Get() const { return m_File; }
    void Write(const void* data, std::size_t size);
    void Close();
    /// With the reason in errno.
    [[noreturn]] void Fail() const;

private:
    void Discard() const;

    const std::string m_Path, m_Advice;
    std::string m_Place, m_Draft; // links followed; equal when there is no draft
    std::FILE* m_File = nullptr;
};

} // namespace tool
