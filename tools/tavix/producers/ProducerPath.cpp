#include "producers/ProducerPath.h"

#include "Status.h"
#include "producers/ChildProcess.h"

#include "core/Log.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include <dlfcn.h>

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kOwnName = "libtavixgentl.cti";
constexpr int kLongestLookMs = 10000;

bool IsProducer(const fs::path& path) {
    std::error_code error;
    return path.extension() == ".cti" && fs::is_regular_file(path, error);
}

void AddFolder(const std::string& folder, std::vector<std::string>& found) {
    const std::size_t first = found.size();
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error))
        if (IsProducer(at->path())) found.push_back(at->path().string());
    std::sort(found.begin() + static_cast<std::ptrdiff_t>(first), found.end());
}

std::string Without(const std::string& prefix, const std::string& text) {
    return text.rfind(prefix, 0) == 0 ? text.substr(prefix.size()) : text;
}

/// The sentence of a command that failed, without its "tavix: " and what it is about.
std::string LastLine(const std::string& output, const std::string& path) {
    std::istringstream lines(output);
    std::string last;
    for (std::string line; std::getline(lines, line);)
        if (!line.empty()) last = line;
    return Without(path + " ", Without("tavix: ", last));
}

/// Whether JSON has come to its end. Nothing but ours goes that way, and it goes when the walk is done.
bool IsWhole(const std::string& ending) {
    return ending.size() >= 2 && ending.compare(ending.size() - 2, 2, "}\n") == 0;
}

} // namespace

std::vector<std::string> FindProducers() {
    std::vector<std::string> found;
    const char* path = secure_getenv(kProducerPath);
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (folder.empty()) continue;
        if (IsProducer(folder))
            found.push_back(folder);
        else
            AddFolder(folder, found);
    }
    return found;
}

std::string OwnProducer() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&Tavix::LogGetCatID), &info) == 0 || !info.dli_fname) return {};
    std::error_code error;
    const fs::path libraries = fs::canonical(info.dli_fname, error).parent_path();
    for (const fs::path& folder : {libraries / "tavix-gentl", libraries})
        if (IsProducer(folder / kOwnName)) return (folder / kOwnName).string();
    return {};
}

ProducerCheck CheckProducer(const std::string& program, const std::string& path) {
    ProducerCheck check;
    check.path = path;
    check.isOurs = fs::path(path).filename() == kOwnName;
    const ChildOutcome outcome = RunChild(program, {"gentl", path, "--json"}, kLongestLookMs);
    if (outcome.end == ChildOutcome::End::TimedOut)
        check.failure = "does not come back within 10 s";
    else if (outcome.end == ChildOutcome::End::Killed)
        check.failure = "crashes with signal " + std::to_string(outcome.code);
    else if (outcome.code != kDone)
        check.failure = LastLine(outcome.errors, path);
    else if (!IsWhole(outcome.ending))
        check.failure = kEndsTheProcess;
    check.worksInPart = outcome.end == ChildOutcome::End::Exited && outcome.code == kPartly;
    return check;
}

} // namespace tool
