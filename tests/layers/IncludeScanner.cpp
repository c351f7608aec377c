#include "layers/IncludeScanner.h"

#include <string_view>

namespace layers {
namespace {

// The line without its comments. `inComment` goes from line to line.
std::string WithoutComments(std::string_view line, bool& inComment) {
    std::string code;
    while (!line.empty()) {
        const std::size_t end = inComment ? line.find("*/") : line.find("/*");
        const std::size_t lineComment = inComment ? std::string_view::npos : line.find("//");
        if (lineComment < end) return code.append(line.substr(0, lineComment));
        if (!inComment) code.append(line.substr(0, end));
        if (end == std::string_view::npos) return code;
        inComment = !inComment;
        line.remove_prefix(end + 2);
    }
    return code;
}

std::string_view Trimmed(std::string_view text) {
    constexpr const char* kSpace = " \t\r";
    const std::size_t first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

bool TakeWord(std::string_view& text, std::string_view word) {
    if (text.substr(0, word.size()) != word) return false;
    text = Trimmed(text.substr(word.size()));
    return true;
}

Include ToInclude(unsigned int line, std::string_view target) {
    if (target.size() >= 2 && target.front() == '"' && target.back() == '"')
        return {line, std::string(target.substr(1, target.size() - 2)), Include::kQuoted};
    if (target.size() >= 2 && target.front() == '<' && target.back() == '>')
        return {line, std::string(target.substr(1, target.size() - 2)), Include::kBracketed};
    return {line, std::string(target), Include::kNeither};
}

// A quoted name may hold "//", which is no comment.
std::string CodeOf(const std::string& line, bool& inComment) {
    std::string_view directive = Trimmed(line);
    if (!inComment && TakeWord(directive, "#") && TakeWord(directive, "include") && !directive.empty() &&
        directive.front() == '"') {
        const std::size_t end = directive.find('"', 1);
        if (end != std::string_view::npos) return "#include " + std::string(directive.substr(0, end + 1));
    }
    return WithoutComments(line, inComment);
}

} // namespace

std::vector<Include> ScanIncludes(std::istream& source) {
    std::vector<Include> includes;
    bool inComment = false;
    unsigned int number = 0;
    for (std::string line; std::getline(source, line);) {
        ++number;
        const std::string code = CodeOf(line, inComment);
        std::string_view directive = Trimmed(code);
        if (TakeWord(directive, "#") && TakeWord(directive, "include"))
            includes.push_back(ToInclude(number, directive));
    }
    return includes;
}

} // namespace layers
