#pragma once
// Standard output, kept from code of others.

#include <cstdio>
#include <string>

namespace tool {

/// Takes standard output for itself. What anybody else in this process prints there goes to standard error from then
/// on, to the end of the process: a stranger's threads and handlers live as long. Bound to a thread.
class OwnOutput {
public:
    OwnOutput();
    ~OwnOutput();
    OwnOutput(const OwnOutput&) = delete;
    OwnOutput& operator=(const OwnOutput&) = delete;

    /// Prints all of it at once. Throws Error when it cannot be written.
    void Print(const std::string& text);

private:
    std::FILE* const m_File;
};

} // namespace tool
