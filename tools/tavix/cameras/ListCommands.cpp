#include "cameras/CameraChoice.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Table.h"
#include "output/Text.h"

#include "core/AtOnce.h"

#include <cstdio>

#include <GenApi/GenApi.h>
#include <tavix/Tavix.h>

namespace tool {
namespace {

nlohmann::json Properties(const Tavix::CInfoBase& info) {
    nlohmann::json json = nlohmann::json::object();
    GenICam::gcstring_vector names;
    info.GetPropertyNames(names);
    for (const auto& name : names) {
        GenICam::gcstring value;
        if (info.GetPropertyValue(name, value)) json[Text(name)] = Text(value);
    }
    return json;
}

std::string OrDash(const std::string& text) {
    return text.empty() ? "-" : Printable(text);
}

void PrintList(const std::vector<Tavix::CameraInfo>& cameras) {
    Table table;
    table.Add({"#", "vendor", "model", "serial", "GUID", "user name", "path"});
    for (const Tavix::CameraInfo& info : cameras) {
        table.Add({std::to_string(info.number), OrDash(info.vendor), OrDash(info.model), OrDash(info.serial),
                   OrDash(info.guid), OrDash(info.userName), OrDash(info.path)});
    }
    table.Print();
}

std::size_t CountFeatures(GenApi::INodeMap& map) {
    GenApi::NodeList_t nodes;
    map.GetNodes(nodes);
    std::size_t count = 0;
    for (GenApi::INode* node : nodes) {
        if (node->IsFeature() && node->GetPrincipalInterfaceType() != GenApi::intfICategory) ++count;
    }
    return count;
}

nlohmann::json Statistics(GenApi::INodeMap* map) {
    nlohmann::json json = nlohmann::json::object();
    if (!map) return json;
    GenApi::NodeList_t nodes;
    map->GetNodes(nodes);
    for (GenApi::INode* node : nodes) {
        const std::string name = Text(node->GetName());
        auto* value = dynamic_cast<GenApi::IInteger*>(node);
        if (value && name.rfind("Statistic_", 0) == 0) json[name] = value->GetValue();
    }
    return json;
}

void AddRows(Table& table, const nlohmann::json& object) {
    for (const auto& [name, value] : object.items()) {
        table.Add({"  " + name, Printable(value.is_string() ? value.get<std::string>() : value.dump())});
    }
}

void PrintInfo(const nlohmann::json& one) {
    Table table;
    table.Add({"device"});
    AddRows(table, one["device"]);
    table.Add({"features"});
    table.Add({"  number", one["features"].dump()});
    table.Add({"transport"});
    AddRows(table, one["transport"]);
    table.Print();
}

nlohmann::json InfoOf(const Tavix::CameraInfo& info) {
    const Tavix::Camera camera = Tavix::Camera::Open(info);
    return {{"device", Properties(camera.Device().GetDeviceInfo())},
            {"features", CountFeatures(camera.Nodes())},
            {"transport", Statistics(camera.Device().GetTLNodeMap())}};
}

} // namespace

int List(const ListOptions& options) {
    const std::vector<Tavix::CameraInfo> cameras = FindCameras();
    if (options.namesOnly) {
        for (const std::string& name : HandyNames(cameras))
            PrintWord(name);
    } else if (options.json) {
        nlohmann::json json = nlohmann::json::array();
        for (const auto& info : cameras)
            json.push_back(Properties(info.device));
        PrintJson(json);
    } else if (cameras.empty()) {
        std::fprintf(stderr, "tavix: %s\n", Printable(NoCameraText()).c_str());
    } else {
        PrintList(cameras);
    }
    return 0;
}

int Info(const CommonOptions& options) {
    const auto chosen = ChooseCameras(options);
    std::vector<nlohmann::json> all(chosen.size());
    Tavix::AtOnce(chosen.size(), [&](std::size_t number) { all[number] = InfoOf(chosen[number]); });
    if (options.json) {
        PrintJson(all);
        return 0;
    }
    for (const auto& one : all)
        PrintInfo(one);
    return 0;
}

} // namespace tool
