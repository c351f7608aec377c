#include "cameras/CameraChoice.h"

#include "Error.h"
#include "cameras/TransportLayers.h"
#include "output/Text.h"

#include <algorithm>
#include <cstdio>

namespace tool {
namespace {

const std::string kBroken = "a transport layer cannot be loaded: ";

Tavix::CameraInfo ChooseOne(const std::vector<Tavix::CameraInfo>& cameras, const std::string& name) {
    std::vector<Tavix::CameraInfo> found;
    for (const Tavix::CameraInfo& camera : cameras) {
        if (name == std::to_string(camera.number)) return camera; // even if it is the serial number of another
        if (camera.IsCalled(name)) found.push_back(camera);
    }
    if (found.empty()) throw Error("no camera is called '" + name + "'; `tavix list` shows the names");
    if (found.size() > 1) {
        const bool isGuid = found.front().guid == found.back().guid; // which is to be unique, and need not be
        throw Error("'" + name + "' fits " + std::to_string(found.size()) + " cameras; use the number or the " +
                    (isGuid ? "path" : "GUID") + " that `tavix list` shows");
    }
    return found.front();
}

/// Whether ChooseOne would take it for this camera.
bool IsNameOf(const Tavix::CameraInfo& camera, const std::string& name, const std::vector<Tavix::CameraInfo>& cameras) {
    return !name.empty() && std::all_of(cameras.begin(), cameras.end(), [&](const Tavix::CameraInfo& other) {
        return other.number == camera.number || !other.IsCalled(name);
    });
}

} // namespace

std::string NoCameraText() {
    const std::string text = SwitchedOffText(FindTransportLayers());
    if (!text.empty()) return "no camera found: " + text;
    return "no camera found; plug one in, ask `tavix doctor`, or try a virtual one: tavix --virtual 2 list";
}

std::vector<Tavix::CameraInfo> FindCameras() {
    const TransportLayers layers = FindTransportLayers();
    std::vector<Tavix::CameraInfo> cameras = Tavix::Cameras();
    if (cameras.empty() && !layers.virtualCameras.empty()) throw Error(layers.virtualCameras);
    if (layers.names.empty() && !layers.broken.empty()) throw Error(kBroken + Printable(layers.broken.front()));
    // The factory tells of a library once, so this does.
    for (const std::string& text : layers.broken)
        std::fprintf(stderr, "tavix: %s%s\n", kBroken.c_str(), Printable(text).c_str());
    return cameras;
}

std::vector<Tavix::CameraInfo> ChooseCameras(const CommonOptions& options) {
    const std::vector<Tavix::CameraInfo> cameras = FindCameras();
    if (cameras.empty()) throw Error(NoCameraText());
    if (options.all) return cameras;
    if (options.cameras.empty()) return {cameras.front()};
    std::vector<Tavix::CameraInfo> chosen;
    for (const std::string& name : options.cameras) {
        const Tavix::CameraInfo camera = ChooseOne(cameras, name);
        const auto isThis = [&](const Tavix::CameraInfo& other) { return other.number == camera.number; };
        if (std::any_of(chosen.begin(), chosen.end(), isThis))
            throw Error("'" + name + "' is a camera that was named before; name each once");
        chosen.push_back(camera);
    }
    return chosen;
}

Tavix::CameraInfo ChooseCamera(const CommonOptions& options) {
    const auto chosen = ChooseCameras(options);
    if (chosen.size() != 1) throw Error("this command works on one camera; name one with --camera");
    return chosen.front();
}

std::vector<std::string> HandyNames(const std::vector<Tavix::CameraInfo>& cameras) {
    std::vector<std::string> names;
    for (const Tavix::CameraInfo& camera : cameras) {
        const std::size_t before = names.size();
        for (const std::string& name : {camera.serial, camera.userName}) {
            const bool isNew =
                std::find(names.begin() + static_cast<std::ptrdiff_t>(before), names.end(), name) == names.end();
            if (isNew && IsNameOf(camera, name, cameras)) names.push_back(name);
        }
        if (names.size() > before) continue;
        names.push_back(IsNameOf(camera, camera.guid, cameras) ? camera.guid : std::to_string(camera.number));
    }
    return names;
}

Tavix::Camera OpenCamera(const CommonOptions& options) {
    return Tavix::Camera::Open(ChooseCamera(options));
}

std::string DistinctName(const Tavix::CameraInfo& camera, const std::vector<Tavix::CameraInfo>& cameras) {
    const std::string name = Printable(camera.friendlyName);
    const bool isAlone = std::all_of(cameras.begin(), cameras.end(), [&](const Tavix::CameraInfo& other) {
        return other.number == camera.number || Printable(other.friendlyName) != name;
    });
    return isAlone ? name : name + " #" + std::to_string(camera.number);
}

std::string NameOf(const Tavix::Camera& camera) {
    return Printable(camera.Info().friendlyName);
}

} // namespace tool
