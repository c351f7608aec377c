#include "SystemFiles.h"

#include "PlainFile.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace tool {
namespace {

constexpr std::size_t kLargest = 64 << 10;

} // namespace

SystemFiles::SystemFiles(std::string root) : m_Root(std::move(root)) {
    while (m_Root.size() > 1 && m_Root.back() == '/')
        m_Root.pop_back();
}

bool SystemFiles::Exists(const std::string& path) const {
    std::error_code ignored;
    return std::filesystem::exists(Real(path), ignored);
}

std::optional<std::string> SystemFiles::Text(const std::string& path) const {
    auto text = ReadPlainFile(Real(path), kLargest);
    while (text && !text->empty() && (text->back() == '\n' || text->back() == ' '))
        text->pop_back();
    return text;
}

std::optional<std::int64_t> SystemFiles::Number(const std::string& path, int base) const {
    const auto text = Text(path);
    if (!text) return {};
    char* end = nullptr;
    const long long value = std::strtoll(text->c_str(), &end, base);
    if (end == text->c_str()) return {};
    return value;
}

std::vector<std::string> SystemFiles::List(const std::string& path) const {
    std::vector<std::string> names;
    std::error_code code;
    for (std::filesystem::directory_iterator entry(Real(path), code), end; !code && entry != end; entry.increment(code))
        names.push_back(entry->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string SystemFiles::Resolved(const std::string& path) const {
    std::error_code code;
    const auto resolved = std::filesystem::canonical(Real(path), code);
    return code ? std::string() : resolved.string();
}

bool SystemFiles::MayWrite(const std::string& path) const {
    if (IsHere()) return access(path.c_str(), R_OK | W_OK) == 0;
    struct stat status {};
    return stat(Real(path).c_str(), &status) == 0 && (status.st_mode & (S_IROTH | S_IWOTH)) == (S_IROTH | S_IWOTH);
}

} // namespace tool
