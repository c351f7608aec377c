#pragma once
// What the arguments of options must look like.

#include <cstdint>
#include <string>

#include <CLI/CLI.hpp>

namespace tool {

/// A whole number from `least` to `most`, and a text that says so.
CLI::Validator Count(std::uint64_t most, std::uint64_t least = 1);
/// The number of virtual cameras or a file that describes them; a text for a person when it is neither.
std::string CheckVirtualCameras(std::string& text);
/// Of a file or folder; an empty one comes from a variable of the shell that is not set.
CLI::Validator NotEmpty();
/// Of image files.
std::string CheckFormat(std::string& text);
/// That completions can be made for.
std::string CheckShell(std::string& text);

} // namespace tool
