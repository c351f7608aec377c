#include "camera/settings/SettingLines.h"

namespace Tavix::detail {

std::string Escape(const std::string& value) {
    std::string text;
    for (const char c : value) {
        if (c == '\n') {
            text += "\\n";
        } else if (c == '\r') {
            text += "\\r";
        } else {
            text += c == '\\' ? "\\\\" : std::string(1, c);
        }
    }
    return text;
}

std::string Unescape(const std::string& text) {
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            value += text[i];
            continue;
        }
        const char next = text[++i];
        value += next == 'n' ? '\n' : next == 'r' ? '\r' : next;
    }
    return value;
}

} // namespace Tavix::detail
