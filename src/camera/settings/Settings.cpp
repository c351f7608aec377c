#include "camera/Failure.h"
#include "camera/settings/SettingLines.h"
#include "core/NewFile.h"
#include "core/Printable.h"

#include <tavix/camera/Settings.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace Tavix {
namespace {

[[noreturn]] void ThrowUnreadable(const std::string& path) {
    throw Error("cannot read " + path + ": " + std::strerror(errno));
}

constexpr std::size_t kMostShown = 80; // of a line that is refused, since another kind of file has lines without end

[[noreturn]] void ThrowNoSetting(const std::string& line) {
    const std::string shown = Printable(line.substr(0, kMostShown)) + (line.size() > kMostShown ? "..." : "");
    throw Error("'" + shown + "' is no setting: NAME, a tab and VALUE");
}

bool IsSelector(const std::string& name) {
    constexpr char kEnding[] = "Selector";
    constexpr std::size_t kLength = sizeof kEnding - 1;
    return name.size() > kLength && name.compare(name.size() - kLength, kLength, kEnding) == 0;
}

using Values = std::map<std::string, std::string>;

/// The value that each place ends up with. A feature that occurs again behind another value of a selector is one for
/// each of them.
Values ValuesOf(const std::vector<Settings::Line>& lines) {
    std::map<std::string, int> occurrences;
    for (const Settings::Line& line : lines)
        ++occurrences[line.name];
    Values values;
    std::string selection;
    for (const Settings::Line& line : lines) {
        const bool isSelector = IsSelector(line.name);
        if (isSelector) selection = "[" + line.name + "=" + line.value + "]";
        const bool isSelected = !isSelector && occurrences[line.name] > 1 && !selection.empty();
        values[isSelected ? line.name + selection : line.name] = line.value;
    }
    return values;
}

} // namespace

Settings Settings::FromText(const std::string& text) {
    Settings settings;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line.front() == '#') continue;
        const std::size_t tab = line.find('\t');
        if (tab == std::string::npos || tab == 0) ThrowNoSetting(line);
        settings.Add(line.substr(0, tab), detail::Unescape(line.substr(tab + 1)));
    }
    return settings;
}

std::string Settings::Text() const {
    std::string text;
    for (const Line& line : m_Lines)
        text += line.name + "\t" + detail::Escape(line.value) + "\n";
    return text;
}

Settings Settings::FromFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) ThrowUnreadable(path);
    file.peek(); // a folder opens like a file
    if (file.bad()) ThrowUnreadable(path);
    std::ostringstream text;
    text << file.rdbuf();
    if (file.bad()) ThrowUnreadable(path);
    return FromText(text.str());
}

void Settings::Save(const std::string& path) const {
    const std::string text = Text();
    try {
        NewFile file(path);
        file.Write(text.data(), text.size());
        file.Close();
    } catch (const std::runtime_error& e) {
        throw Error(e.what());
    }
}

std::vector<SettingDifference> Settings::Compare(const Settings& other) const {
    const Values left = ValuesOf(m_Lines), right = ValuesOf(other.m_Lines);
    std::vector<SettingDifference> differences;
    for (const auto& [name, value] : left) {
        const auto found = right.find(name);
        if (found == right.end()) {
            differences.push_back({name, value, {}});
        } else if (found->second != value) {
            differences.push_back({name, value, found->second});
        }
    }
    for (const auto& [name, value] : right) {
        if (left.count(name) == 0) differences.push_back({name, {}, value});
    }
    return differences;
}

} // namespace Tavix
