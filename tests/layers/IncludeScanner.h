#pragma once
// Finds the include lines of a source file.

#include <istream>
#include <string>
#include <vector>

namespace layers {

struct Include {
    unsigned int line; // from 1
    std::string text;  // between the quotes or brackets; as written if neither
    enum Kind { kQuoted, kBracketed, kNeither } kind;

    bool operator==(const Include& other) const {
        return line == other.line && text == other.text && kind == other.kind;
    }
};

// Include lines in comments don't count; those that the preprocessor would skip do, because on another machine it
// might not.
std::vector<Include> ScanIncludes(std::istream& source);

} // namespace layers
