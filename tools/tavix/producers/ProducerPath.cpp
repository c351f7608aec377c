#include "producers/ProducerPath.h"

#include "Status.h"
#include "producers/ChildProcess.h"

#include "core/Log.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include <dlfcn.h>

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kOwnName = "libtavixgentl.cti";
constexpr int kLongestLookMs = 10000;

/// Entries of the variable; empty ones, which name nothing, are left out.
std::vector<std::string> PathEntries() {
    std::vector<std::string> entries;
    const char* path = secure_getenv(kProducerPath);
    std::istringstream stream(path ? path : "");
    for (std::string entry; std::getline(stream, entry, ':');)
        if (!entry.empty()) entries.push_back(entry);
    return entries;
}

/// One name for all that lead to the same file or folder; empty when there is none.
std::string OneName(const std::string& path) {
    std::error_code error;
    const std::string name = fs::canonical(path, error).string();
    return error ? std::string() : name;
}

bool IsProducer(const fs::path& path) {
    std::error_code error;
    return path.extension() == ".cti" && fs::is_regular_file(path, error);
}

/// Those that programs find by an entry of the variable, by name.
std::vector<std::string> ProducersIn(const std::string& entry) {
    if (IsProducer(entry)) return {entry};
    std::vector<std::string> found;
    std::error_code error;
    for (fs::directory_iterator at(entry, error), end; !error && at != end; at.increment(error))
        if (IsProducer(at->path())) found.push_back(at->path().string());
    std::sort(found.begin(), found.end());
    return found;
}

/// Whether an entry leads to what is among the names already, and to what is not; adds all to them.
struct EntryNovelty {
    EntryNovelty(const std::string& entry, std::set<std::string>& names) {
        Note(names.insert(OneName(entry)).second);
        if (isRepeated || IsProducer(entry)) return;
        const std::vector<std::string> producers = ProducersIn(entry);
        if (!producers.empty()) isNew = false; // it is they that count
        for (const std::string& producer : producers)
            Note(names.insert(OneName(producer)).second);
    }
    void Note(bool isFirst) { (isFirst ? isNew : isRepeated) = true; }

    bool isNew = false;
    bool isRepeated = false;
};

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
    std::set<std::string> names;
    for (const std::string& entry : PathEntries()) {
        for (const std::string& producer : ProducersIn(entry))
            if (names.insert(OneName(producer)).second) found.push_back(producer);
    }
    return found;
}

ProducerPathFaults FindProducerPathFaults() {
    ProducerPathFaults faults;
    std::set<std::string> names;
    for (const std::string& entry : PathEntries()) {
        if (OneName(entry).empty()) {
            faults.missing.push_back(entry);
            continue;
        }
        const EntryNovelty novelty(entry, names);
        if (novelty.isRepeated) faults.repeated.push_back(entry);
        if (novelty.isNew) faults.mended += (faults.mended.empty() ? "" : ":") + entry;
    }
    return faults;
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
