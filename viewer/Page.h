#pragma once
// The files of the page, which are part of the program.

#include <string_view>

namespace viewer {

/// Constant.
struct PageFile {
    std::string_view path; ///< "/main.js"; "/" for the page itself
    std::string_view type; ///< as browsers call it
    std::string_view content;
};

/// Null for a path that is none of them. Re-entrant.
const PageFile* FindPageFile(std::string_view path);

} // namespace viewer
