#include "virtualcam/backend/Bench.h"

#include "virtualcam/backend/Backend.h"
#include "virtualcam/settings/FaultNames.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

namespace virtualcam {
namespace {

using nlohmann::json;

constexpr std::size_t kMostCameras = 32;

/// Settings of one camera; what is left out is as if it were the `index`-th of as many.
CameraSettings Read(const json& camera, std::size_t index) {
    json cameras = json::array();
    for (std::size_t i = 0; i < index; ++i)
        cameras.push_back(json::object());
    cameras.push_back(camera);
    BackendSettings settings;
    std::string error;
    if (!ParseSettings(json{{"cameras", cameras}}.dump(), settings, error)) throw std::runtime_error(error);
    return settings.cameras.back();
}

std::size_t IndexOf(Backend& bus, const json& guid) {
    for (std::size_t i = 0; i < bus.CameraCount(); ++i) {
        if (guid == bus.Camera(i).Settings().guid) return i;
    }
    throw std::runtime_error("there is no virtual camera " + guid.dump());
}

template<class E>
void List(json& all, const std::string& kind, const Names<E>& names) {
    for (const Named<E>& row : names)
        all.push_back({{"kind", kind}, {"name", row.name}, {"text", row.text}});
}

json Do(Backend& bus, const json& request) {
    if (request.contains("list")) {
        json all = json::array();
        List(all, "control", kControlFaults);
        List(all, "stream", kStreamFaults);
        List(all, "events", kEventFaults);
        return all;
    }
    if (request.contains("add")) {
        if (bus.CameraCount() >= kMostCameras) throw std::runtime_error("there may be at most 32 virtual cameras");
        const CameraSettings settings = Read(request["add"], bus.CameraCount());
        bus.Add(settings);
        return {{"guid", settings.guid}};
    }
    if (request.contains("unplug")) {
        bus.Unplug(IndexOf(bus, request["unplug"]));
    } else if (request.contains("plug")) {
        bus.Plug(IndexOf(bus, request["plug"]));
    } else if (request.contains("faults") && request.contains("guid")) {
        const std::size_t index = IndexOf(bus, request["guid"]);
        bus.Camera(index).SetFaults(Read({{"faults", request["faults"]}}, 0).faults);
    } else {
        throw std::runtime_error("this is none of add, unplug, plug, faults, list");
    }
    return json::object();
}

} // namespace

bool Obey(Backend& bus, const std::string& request, std::string& answer) {
    try {
        const json parsed = json::parse(request);
        if (!parsed.is_object()) throw std::runtime_error("an object {...} is expected");
        answer = Do(bus, parsed).dump();
        return true;
    } catch (const std::exception& e) {
        answer = e.what();
        return false;
    }
}

} // namespace virtualcam
