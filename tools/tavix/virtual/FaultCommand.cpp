#include "virtual/FaultCommand.h"

#include "Error.h"

#include "virtualcam/settings/BackendSettings.h"
#include "virtualcam/settings/FaultNames.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <sstream>

#include <nlohmann/json.hpp>

namespace tool {
namespace {

using namespace virtualcam;
using nlohmann::json;

Error Wrong(const std::string& fault, const std::string& why) {
    return Error("'" + fault + "': " + why + "; see tavix virtual faults", kWrongLine);
}

/// A value as it is written, or a text when it is nothing else.
json ValueOf(const std::string& text) {
    json value = json::parse(text, nullptr, /*allow_exceptions=*/false);
    return value.is_discarded() ? json(text) : value;
}

/// Settings that are texts, even if they look like numbers.
bool IsText(const std::string& key) {
    static const char* const kTexts[] = {"vendor",           "model",  "family", "deviceVersion", "firmwareVersion",
                                         "manufacturerInfo", "serial", "guid",   "userName",      "descriptionPath"};
    return std::find(std::begin(kTexts), std::end(kTexts), key) != std::end(kTexts);
}

std::pair<std::string, std::string> SplitAt(const std::string& text, char separator) {
    const std::size_t at = text.find(separator);
    if (at == std::string::npos) return {text, {}};
    return {text.substr(0, at), text.substr(at + 1)};
}

bool IsRule(const std::string& kind) {
    return kind == "control" || kind == "stream" || kind == "events";
}

/// stream.LostTrailer:frame=5,count=2
void AddRule(json& camera, const std::string& text) {
    const auto [head, options] = SplitAt(text, ':');
    const auto [kind, name] = SplitAt(head, '.');
    json rule{{"fault", name}};
    std::istringstream words(options);
    for (std::string word; std::getline(words, word, ',');) {
        const auto [key, value] = SplitAt(word, '=');
        if (value.empty()) throw Wrong(text, "'" + word + "' is no KEY=VALUE");
        rule[key] = ValueOf(value);
    }
    camera["faults"][kind].push_back(rule);
}

/// registers.manifest=PlainXml
void SetValue(json& camera, const std::string& text) {
    const auto [path, value] = SplitAt(text, '=');
    if (value.empty()) throw Wrong(text, "KIND.FAULT[:KEY=VALUE,...] or KEY=VALUE is expected");
    json* place = &camera;
    std::istringstream words(path);
    for (std::string word; std::getline(words, word, '.');)
        place = &(*place)[word];
    const std::string key = path.substr(path.rfind('.') + 1);
    *place = IsText(key) ? json(value) : ValueOf(value);
}

/// `text` is what --virtual has accepted: a number, the settings themselves, or the file that holds them.
json Cameras(const std::string& text) {
    if (text.find_first_not_of("0123456789") == std::string::npos) {
        const int count = text.empty() ? 1 : std::stoi(text.substr(0, 6));
        if (count < 1 || count > 32) throw Error("the number of virtual cameras must be from 1 to 32");
        return json{{"cameras", std::vector<json>(static_cast<std::size_t>(count), json::object())}};
    }
    const std::string content = text.front() == '{' ? text : ReadSettingsFile(text);
    json document = json::parse(content, nullptr, /*allow_exceptions=*/false);
    if (!document.is_object() || !document["cameras"].is_array())
        throw Error(text + " does not describe virtual cameras");
    return document;
}

template<class E>
void Print(const char* kind, const Names<E>& names, bool asJson, json& all) {
    for (const Named<E>& row : names) {
        if (asJson)
            all.push_back({{"name", std::string(kind) + row.name}, {"text", row.text}});
        else
            std::printf("%s%-*s %s\n", kind, static_cast<int>(30 - std::string(kind).size()), row.name, row.text);
    }
}

} // namespace

std::string SettingsWithFaults(const std::string& cameras, const std::vector<std::string>& faults) {
    json document = Cameras(cameras);
    for (json& camera : document["cameras"]) {
        for (const std::string& fault : faults) {
            try {
                if (IsRule(fault.substr(0, fault.find('.'))))
                    AddRule(camera, fault);
                else
                    SetValue(camera, fault);
            } catch (const json::exception&) {
                throw Wrong(fault, "it does not fit what was said before");
            }
        }
    }
    const std::string text = document.dump(2);
    BackendSettings parsed;
    std::string error;
    if (!ParseSettings(text, parsed, error)) throw Error("virtual cameras: " + error, kWrongLine);
    return text;
}

int ListFaults(const FaultOptions& options) {
    json all = json::array();
    Print("control.", kControlFaults, options.json, all);
    Print("stream.", kStreamFaults, options.json, all);
    Print("events.", kEventFaults, options.json, all);
    Print("registers.manifest=", kManifestFaults, options.json, all);
    if (options.json) std::printf("%s\n", all.dump(2).c_str());
    return 0;
}

int PrintSettings(const FaultOptions& options) {
    std::printf("%s\n", SettingsWithFaults(options.cameras, options.faults).c_str());
    return 0;
}

} // namespace tool
