#include "cameras/Camera.h"

#include "Error.h"
#include "cameras/TransportLayers.h"
#include "output/Text.h"

#include <algorithm>
#include <cstdio>

namespace tool {
namespace {

bool Fits(const Tavix::CDeviceInfo& info, const std::string& name) {
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
        if (name == std::to_string(i)) return cameras[i]; // even if it is the serial number of another
        if (Fits(cameras[i], name)) found.push_back(cameras[i]);
    }
    if (found.empty()) throw Error("no camera is called '" + name + "'; `tavix list` shows the names");
    if (found.size() > 1) {
        throw Error("'" + name + "' fits " + std::to_string(found.size()) +
                    " cameras; use the number or the GUID that `tavix list` shows");
    }
    return found.front();
}

} // namespace

std::string NoCameraText() {
    const std::string text = SwitchedOffText(FindTransportLayers());
    if (!text.empty()) return "no camera found: " + text;
    return "no camera found; plug one in, ask `tavix doctor`, or try a virtual one: tavix --virtual 2 list";
}

Tavix::DeviceInfoList FindCameras() {
    const TransportLayers layers = FindTransportLayers();
    Tavix::DeviceInfoList cameras;
    Tavix::CTlFactory::GetInstance().EnumerateDevices(cameras);
    if (cameras.empty() && !layers.virtualCameras.empty()) throw Error(layers.virtualCameras);
    // The factory tells of a library once, so this does.
    for (const std::string& text : layers.broken)
        std::fprintf(stderr, "tavix: a transport layer cannot be loaded: %s\n", Printable(text).c_str());
    return cameras;
}

std::vector<Tavix::CDeviceInfo> ChooseCameras(const CommonOptions& options) {
    const Tavix::DeviceInfoList cameras = FindCameras();
    if (cameras.empty()) throw Error(NoCameraText());
    if (options.all) return {cameras.begin(), cameras.end()};
    if (options.cameras.empty()) return {cameras.front()};
    std::vector<Tavix::CDeviceInfo> chosen;
    for (const std::string& name : options.cameras) {
        const Tavix::CDeviceInfo camera = ChooseOne(cameras, name);
        if (std::find(chosen.begin(), chosen.end(), camera) != chosen.end()) {
            throw Error("'" + name + "' is a camera that was named before; name each once");
        }
        chosen.push_back(camera);
    }
    return chosen;
}

Tavix::CDeviceInfo ChooseCamera(const CommonOptions& options) {
    const auto chosen = ChooseCameras(options);
    if (chosen.size() != 1) throw Error("this command works on one camera; name one with --camera");
    return chosen.front();
}

namespace {

/// What a person can do when a camera does not open.
std::string Advice(const Tavix::CDeviceInfo& info) {
    Tavix::EDeviceAccessiblityInfo access = Tavix::Accessibility_Unknown;
    try {
        if (Tavix::CTlFactory::GetInstance().IsDeviceAccessible(info, Tavix::DefaultAccessMode(), &access)) return {};
    } catch (const std::exception&) {
        return {}; // the first failure is the one to report
    }
    switch (access) {
    case Tavix::Accessibility_Opened:
    case Tavix::Accessibility_OpenedExclusively:
        return "; end the program that uses it and try again";
    case Tavix::Accessibility_NotReachable:
        return "; plug it in again";
    default:
        return {};
    }
}

} // namespace

Camera::Camera(const Tavix::CDeviceInfo& info) : m_Device(nullptr), m_Name(Printable(Text(info.GetFriendlyName()))) {
    try {
        m_Device = Tavix::CTlFactory::GetInstance().CreateDevice(info);
        m_Device->Open();
    } catch (const std::exception& e) {
        if (m_Device) Tavix::CTlFactory::GetInstance().DestroyDevice(m_Device);
        const std::string reason = Reason(e);
        // What these say is advice enough; asking a silent camera once more costs seconds.
        const bool isClear = TellsOfRemoval(reason) || TellsOfSilence(reason);
        throw Error("cannot open " + m_Name + ": " + reason + (isClear ? "" : Advice(info)));
    }
}

Camera::~Camera() {
    try {
        if (m_Device->IsOpen()) m_Device->Close();
        Tavix::CTlFactory::GetInstance().DestroyDevice(m_Device);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tavix: closing %s failed: %s\n", m_Name.c_str(), Reason(e).c_str());
    }
}

} // namespace tool
