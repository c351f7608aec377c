#include "Error.h"
#include "Interrupt.h"
#include "PlainFile.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/OwnOutput.h"
#include "output/Table.h"
#include "output/Text.h"
#include "producers/ChildProcess.h"
#include "producers/ProducerPath.h"
#include "producers/Walk.h"

namespace tool {
namespace {

constexpr std::uint64_t kLargestProducer = 1 << 30;
constexpr int kLastOwnStatus = 128; // beyond it a signal ended the program

nlohmann::json ToJson(const ModuleInfos& infos) {
    nlohmann::json json = nlohmann::json::object();
    for (const auto& [name, value] : infos)
        json[name] = value;
    return json;
}

nlohmann::json ToJson(const ShownInterface& interface) {
    nlohmann::json devices = nlohmann::json::array();
    for (const ShownDevice& device : interface.devices)
        devices.push_back({{"id", device.id}, {"infos", ToJson(device.infos)}, {"failure", device.failure}});
    return {{"id", interface.id},
            {"infos", ToJson(interface.infos)},
            {"failure", interface.failure},
            {"devices", std::move(devices)}};
}

nlohmann::json ToJson(const ShownSystem& shown) {
    nlohmann::json interfaces = nlohmann::json::array();
    for (const ShownInterface& interface : shown.interfaces)
        interfaces.push_back(ToJson(interface));
    return {{"system", ToJson(shown.infos)}, {"failure", shown.failure}, {"interfaces", std::move(interfaces)}};
}

template<class Module>
void Add(Table& table, const std::string& indent, const char* kind, const std::string& id, const Module& module) {
    table.Add({indent + kind, id});
    for (const auto& [name, value] : module.infos)
        table.Add({indent + "  " + name, value});
    if (!module.failure.empty()) table.Add({indent + "  failure", module.failure});
}

Table ToTable(const std::string& path, const ShownSystem& shown) {
    Table table({}, /*widest=*/200);
    Add(table, "", "producer", path, shown);
    for (const ShownInterface& interface : shown.interfaces) {
        Add(table, "  ", "interface", interface.id, interface);
        for (const ShownDevice& device : interface.devices)
            Add(table, "    ", "device", device.id, device);
    }
    return table;
}

/// The walk itself; what a producer does to the process ends this one only.
int ShowWalk(const FileOptions& options) {
    const ReportFile report;
    OwnOutput output;
    const ShownSystem shown = WalkProducer(options.path);
    output.Print(options.json ? JsonText(ToJson(shown)) : ToTable(options.path, shown).Text());
    const std::vector<std::string> failures = FailuresIn(shown);
    if (failures.empty()) return kDone;
    const std::string more = failures.size() == 1 ? "" : ", and " + std::to_string(failures.size() - 1) + " more";
    throw Error(options.path + " works in part: " + failures.front() + more, kPartly);
}

int ShowProducer(const FileOptions& options) {
    if (ReportFile::IsThere()) return ShowWalk(options);
    RequirePlainFile(options.path, kLargestProducer, "name a producer, a file that ends in .cti");
    std::vector<std::string> arguments{"gentl", options.path.front() == '-' ? "./" + options.path : options.path};
    if (options.json) arguments.emplace_back("--json");
    const ReportedEnd walk = RunToReport("/proc/self/exe", arguments);
    if (walk.end == ChildOutcome::End::Killed)
        throw Error(options.path + " crashes with signal " + std::to_string(walk.code));
    if (!walk.hasReported && !IsInterrupted() && walk.code <= kLastOwnStatus)
        throw Error(options.path + " " + kEndsTheProcess);
    return walk.code;
}

std::string MissingText() {
    const std::string own = OwnProducer();
    const std::string text = std::string("no GenTL program finds a producer: ") + kProducerPath + " names none";
    return own.empty() ? text : text + "; export " + kProducerPath + "=" + own.substr(0, own.rfind('/'));
}

int ShowPath(const FileOptions& options) {
    nlohmann::json json = nlohmann::json::array();
    Table table({}, /*widest=*/200);
    bool allWork = true;
    for (const std::string& path : FindProducers()) {
        const ProducerCheck check = CheckProducer("/proc/self/exe", path);
        allWork = allWork && check.failure.empty();
        table.Add({path, check.failure.empty() ? "works" : check.failure});
        json.push_back({{"path", path}, {"works", check.failure.empty()}, {"failure", check.failure}});
    }
    options.json ? PrintJson(json) : table.Print();
    if (json.empty()) throw Error(MissingText());
    return allWork ? kDone : kPartly;
}

} // namespace

int Gentl(const FileOptions& options) {
    return options.path.empty() ? ShowPath(options) : ShowProducer(options);
}

} // namespace tool
