#include "Camera.h"

#include "Error.h"
#include "Text.h"

#include <GenApi/GenApi.h>

#include <algorithm>
#include <cctype>

namespace tool {
namespace {

bool Fits(const Tavix::CDeviceInfo& info, std::size_t number, const std::string& name) {
    if (name == std::to_string(number)) return true;
    for (const char* property :
         {"SerialNumber", "DeviceGUID", "UserDefinedName", "FriendlyName", "ModelName", "FullName"}) {
        GenICam::gcstring value;
        if (info.GetPropertyValue(property, value) && Text(value) == name) return true;
    }
    return false;
}

Tavix::CDeviceInfo ChooseOne(const Tavix::DeviceInfoList& cameras, const std::string& name) {
    std::vector<Tavix::CDeviceInfo> found;
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        if (Fits(cameras[i], i, name)) found.push_back(cameras[i]);
    }
    if (found.empty()) throw Error("no camera is called '" + name + "'; `tavix list` shows the names");
    if (found.size() > 1) {
        throw Error("'" + name + "' fits " + std::to_string(found.size()) +
                    " cameras; use the number or the GUID that `tavix list` shows");
    }
    return found.front();
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

/// Names that hold the one asked for, whatever their case, to help with a misspelling.
std::string SimilarNames(GenApi::INodeMap& features, const std::string& name) {
    GenApi::NodeList_t nodes;
    features.GetNodes(nodes);
    std::string similar;
    int count = 0;
    for (GenApi::INode* node : nodes) {
        const std::string candidate = Text(node->GetName());
        if (!node->IsFeature() || Lower(candidate).find(Lower(name)) == std::string::npos) continue;
        similar += (count ? ", " : "") + candidate;
        if (++count == 5) break;
    }
    return similar;
}

} // namespace

Tavix::DeviceInfoList FindCameras() {
    Tavix::DeviceInfoList cameras;
    Tavix::CTlFactory::GetInstance().EnumerateDevices(cameras);
    return cameras;
}

std::vector<Tavix::CDeviceInfo> ChooseCameras(const CommonOptions& options) {
    const Tavix::DeviceInfoList cameras = FindCameras();
    if (cameras.empty()) {
        throw Error("no camera found; plug one in, or try a virtual one: tavix --virtual 2 list");
    }
    if (options.all) return {cameras.begin(), cameras.end()};
    if (options.cameras.empty()) return {cameras.front()};
    std::vector<Tavix::CDeviceInfo> chosen;
    for (const std::string& name : options.cameras)
        chosen.push_back(ChooseOne(cameras, name));
    return chosen;
}

Tavix::CDeviceInfo ChooseCamera(const CommonOptions& options) {
    const auto chosen = ChooseCameras(options);
    if (chosen.size() != 1) throw Error("this command works on one camera; name one with --camera");
    return chosen.front();
}

Camera::Camera(const Tavix::CDeviceInfo& info)
    : m_Device(Tavix::CTlFactory::GetInstance().CreateDevice(info)), m_Name(Text(info.GetFriendlyName())) {
    try {
        m_Device->Open();
    } catch (...) {
        Tavix::CTlFactory::GetInstance().DestroyDevice(m_Device);
        throw;
    }
}

Camera::~Camera() {
    try {
        if (m_Device->IsOpen()) m_Device->Close();
        Tavix::CTlFactory::GetInstance().DestroyDevice(m_Device);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tavix: closing %s failed: %s\n", m_Name.c_str(), e.what());
    }
}

std::pair<std::string, std::string> SplitSetting(const std::string& setting) {
    const auto sign = setting.find('=');
    if (sign == std::string::npos || sign == 0) {
        throw Error("'" + setting + "' is no setting; write NAME=VALUE");
    }
    return {setting.substr(0, sign), setting.substr(sign + 1)};
}

GenApi::IValue& FindFeature(GenApi::INodeMap& features, const std::string& name) {
    GenApi::INode* node = features.GetNode(name.c_str());
    auto* value = dynamic_cast<GenApi::IValue*>(node);
    if (value) return *value;
    const std::string similar = SimilarNames(features, name);
    throw Error("this camera has no feature '" + name + "'" +
                (similar.empty() ? "; `tavix features` lists all" : "; did you mean " + similar + "?"));
}

void ApplySetting(GenApi::INodeMap& features, const std::string& setting) {
    const auto [name, value] = SplitSetting(setting);
    GenApi::IValue& feature = FindFeature(features, name);
    try {
        feature.FromString(value.c_str());
    } catch (const GenICam::GenericException& e) {
        throw Error("cannot set " + name + " to '" + value + "': " + e.GetDescription());
    }
}

} // namespace tool
