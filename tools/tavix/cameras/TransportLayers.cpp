#include "cameras/TransportLayers.h"

#include "Error.h"
#include "output/Text.h"

#include "core/Log.h"
#include "core/LogSink.h"
#include "virtualcam/settings/BackendSettings.h"

#include <cstdlib>
#include <cstring>

#include <tavix/Tavix.h>

namespace tool {
namespace {

constexpr const char* kFactoryCategory = "tavix.base.Factory"; // where the factory tells of libraries that do not load

std::string WantedClass() {
    const char* wanted = secure_getenv("TAVIX_USE_TL");
    return wanted ? wanted : "";
}

/// A transport layer that cannot have its virtual cameras does not load, and says why in the log only.
std::string VirtualCamerasText() {
    const char* wanted = secure_getenv("TAVIX_VIRTUAL_CAMERAS");
    if (wanted == nullptr || *wanted == '\0') return {};
    virtualcam::BackendSettings settings;
    std::string error;
    if (virtualcam::ReadSettings(wanted, settings, error)) return {};
    return "TAVIX_VIRTUAL_CAMERAS: " + Printable(error) + "; mend it or unset the variable";
}

} // namespace

TransportLayers FindTransportLayers() {
    TransportLayers layers;
    Tavix::TlInfoList infos;
    {
        const Tavix::LogSink sink([&](const char* category, unsigned int level, const char* text) {
            const bool isFailure = level >= Tavix::kLogWarning && std::strcmp(category, kFactoryCategory) == 0;
            if (isFailure) layers.broken.emplace_back(text);
        });
        Tavix::CTlFactory::GetInstance().EnumerateTls(infos);
    }
    for (const auto& info : infos) {
        layers.names.push_back(Text(info.GetFullName()));
        const std::string wanted = WantedClass();
        if (!wanted.empty() && Text(info.GetDeviceClass()) != wanted) layers.switchedOff.push_back(layers.names.back());
    }
    layers.virtualCameras = VirtualCamerasText();
    return layers;
}

std::string SwitchedOffText(const TransportLayers& layers) {
    if (layers.switchedOff.empty()) return {};
    std::string names;
    for (const std::string& name : layers.switchedOff)
        names += (names.empty() ? "" : ", ") + name;
    return "TAVIX_USE_TL is '" + WantedClass() + "', which switches " + names + " off; unset it";
}

} // namespace tool
