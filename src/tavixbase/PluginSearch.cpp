#include "tavixbase/PluginSearch.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <memory>
#include <new>

namespace Tavix::plugin {
namespace {

constexpr std::string_view kPrefix = "libtavix";
constexpr std::string_view kSuffix = ".so";

bool IsNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool IsVersion(std::string_view text) {
    const std::size_t first = text.find('.');
    if (first == std::string_view::npos) return false;
    const std::size_t second = text.find('.', first + 1);
    if (second == std::string_view::npos) return false;
    return IsNumber(text.substr(0, first)) && IsNumber(text.substr(first + 1, second - first - 1)) &&
           IsNumber(text.substr(second + 1));
}

void AppendFoldersOf(std::string_view path, std::vector<std::string>& folders) {
    while (!path.empty()) {
        const std::size_t colon = std::min(path.find(':'), path.size());
        if (colon > 0) folders.emplace_back(path.substr(0, colon));
        path.remove_prefix(std::min(colon + 1, path.size()));
    }
}

// Empty when the loader does not know it.
std::string OwnFolder() {
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void*>(&OwnFolder), &info) == 0 || !info.dli_fname) return {};
    const std::string_view path = info.dli_fname;
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? "." : std::string(path.substr(0, std::max<std::size_t>(slash, 1)));
}

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

// The standard library's iterator over a folder ends the process when memory is short, so the system's is used.
std::vector<std::string> PluginNamesIn(const std::string& path) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
    if (!folder && errno == ENOMEM) throw std::bad_alloc();
    if (!folder) return names;
    while (const dirent* const entry = readdir(folder.get())) {
        if (IsPluginFileName(entry->d_name)) names.emplace_back(entry->d_name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

bool IsPluginFileName(std::string_view name) {
    if (name.size() < kPrefix.size() + kSuffix.size()) return false;
    if (name.substr(0, kPrefix.size()) != kPrefix) return false;
    if (name.substr(name.size() - kSuffix.size()) != kSuffix) return false;
    const std::string_view stem = name.substr(kPrefix.size(), name.size() - kPrefix.size() - kSuffix.size());
    const std::size_t dash = stem.rfind('-');
    return dash != std::string_view::npos && IsVersion(stem.substr(dash + 1));
}

std::vector<std::string> SearchFolders() {
    std::vector<std::string> folders;
    if (const char* path = secure_getenv("TAVIX_TL_PATH")) AppendFoldersOf(path, folders);
    const std::string own = OwnFolder();
    if (!own.empty()) folders.push_back(own);
    return folders;
}

std::vector<std::string> FindPluginFiles(const std::vector<std::string>& folders) {
    std::vector<std::string> files;
    for (const std::string& folder : folders) {
        for (const std::string& name : PluginNamesIn(folder))
            files.push_back(folder.back() == '/' ? folder + name : folder + '/' + name);
    }
    return files;
}

std::string_view FileNameOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

} // namespace Tavix::plugin
