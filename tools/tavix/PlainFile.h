#pragma once
// Reading files that a user named.

#include <cstddef>
#include <optional>
#include <string>

namespace tool {

/// The first `most` bytes of a plain file. Nothing when it cannot be read or is none: a pipe or a device may keep its
/// reader waiting for ever, or never end. `notPlain` tells which. Never waits.
std::optional<std::string> ReadPlainFile(const std::string& path, std::size_t most, bool* notPlain = nullptr);

/// All of a plain file of `most` bytes at most. Throws Error that names the file and ends with the advice.
std::string ReadWholeFile(const std::string& path, std::size_t most, const std::string& advice);

/// The same of standard input, to its end.
std::string ReadStandardInput(std::size_t most, const std::string& advice);

/// Throws as ReadWholeFile does, for files that something else reads.
void RequirePlainFile(const std::string& path, std::size_t most, const std::string& advice);

} // namespace tool
