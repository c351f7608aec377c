#pragma once
// The files in which Linux tells about itself.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// Reads below a root: "/", or a copy of the files of another machine. Paths are written as if the root were "/".
/// Re-entrant.
class SystemFiles {
public:
    explicit SystemFiles(std::string root = "/");

    /// Whether this is the machine that the program runs on.
    bool IsHere() const { return m_Root == "/"; }
    bool Exists(const std::string& path) const;
    /// The content without the line end; nothing when it cannot be read. At most 64 KiB.
    std::optional<std::string> Text(const std::string& path) const;
    /// The number that a file begins with; nothing when there is none.
    std::optional<std::int64_t> Number(const std::string& path, int base = 10) const;
    /// Names in a folder, sorted; empty when there is no such folder.
    std::vector<std::string> List(const std::string& path) const;
    /// What a path is after all links, as a path below the root's parent; empty when it leads nowhere.
    std::string Resolved(const std::string& path) const;
    /// Whether this process may read and write it. Of another machine's file: whether everybody may.
    bool MayWrite(const std::string& path) const;

private:
    std::string Real(const std::string& path) const { return IsHere() ? path : m_Root + path; }

    std::string m_Root; // constant after construction
};

} // namespace tool
