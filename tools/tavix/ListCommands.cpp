#include "Camera.h"
#include "Commands.h"
#include "Text.h"

#include <GenApi/GenApi.h>
#include <nlohmann/json.hpp>

#include <cstdio>

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

std::string Property(const Tavix::CDeviceInfo& info, const char* name) {
    GenICam::gcstring value;
    return info.GetPropertyValue(name, value) ? Text(value) : "-";
}

void PrintList(const Tavix::DeviceInfoList& cameras) {
    std::printf("%-3s %-22s %-14s %-14s %-14s %s\n", "#", "model", "serial", "GUID", "user name", "path");
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        const Tavix::CDeviceInfo& info = cameras[i];
        std::printf("%-3zu %-22s %-14s %-14s %-14s %s\n", i, Property(info, "ModelName").c_str(),
                    Property(info, "SerialNumber").c_str(), Property(info, "DeviceGUID").c_str(),
                    Property(info, "UserDefinedName").c_str(), Property(info, "FullName").c_str());
    }
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

nlohmann::json Statistics(GenApi::INodeMap& map) {
    nlohmann::json json = nlohmann::json::object();
    GenApi::NodeList_t nodes;
    map.GetNodes(nodes);
    for (GenApi::INode* node : nodes) {
        const std::string name = Text(node->GetName());
        auto* value = dynamic_cast<GenApi::IInteger*>(node);
        if (value && name.rfind("Statistic_", 0) == 0) json[name] = value->GetValue();
    }
    return json;
}

void PrintObject(const char* title, const nlohmann::json& object) {
    std::printf("%s\n", title);
    for (const auto& [name, value] : object.items()) {
        std::printf("  %-40s %s\n", name.c_str(),
                    value.is_string() ? value.get<std::string>().c_str() : value.dump().c_str());
    }
}

} // namespace

int List(const CommonOptions& options) {
    const Tavix::DeviceInfoList cameras = FindCameras();
    if (options.json) {
        nlohmann::json json = nlohmann::json::array();
        for (const auto& info : cameras)
            json.push_back(Properties(info));
        std::printf("%s\n", json.dump(2).c_str());
        return 0;
    }
    if (cameras.empty()) {
        std::printf("no camera found; plug one in, or try a virtual one: tavix --virtual 2 list\n");
        return 0;
    }
    PrintList(cameras);
    return 0;
}

int Info(const CommonOptions& options) {
    nlohmann::json all = nlohmann::json::array();
    for (const auto& info : ChooseCameras(options)) {
        Camera camera(info);
        all.push_back({{"device", Properties(camera.Device().GetDeviceInfo())},
                       {"features", CountFeatures(camera.Features())},
                       {"transport", Statistics(*camera.Device().GetTLNodeMap())}});
    }
    if (options.json) {
        std::printf("%s\n", all.dump(2).c_str());
        return 0;
    }
    for (const auto& one : all) {
        PrintObject("device", one["device"]);
        std::printf("features\n  %-40s %zu\n", "number", one["features"].get<std::size_t>());
        PrintObject("transport", one["transport"]);
    }
    return 0;
}

} // namespace tool
