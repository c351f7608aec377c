#include "features/Features.h"

#include "Error.h"

namespace tool {
namespace {

bool IsWritable(const Tavix::Camera& camera, const char* name) {
    return camera.HasFeature(name) && camera[name].IsWritable();
}

} // namespace

Tavix::Feature FindFeature(const Tavix::Camera& camera, const std::string& name) {
    try {
        return camera[name];
    } catch (const Tavix::NotFound& e) {
        throw Error(e.what() + std::string(e.Suggestions().empty() ? "; `tavix features` lists all" : ""));
    }
}

Tavix::Feature ApplySetting(const Tavix::Camera& camera, const std::string& setting) {
    const auto sign = setting.find('=');
    if (sign == 0) throw Error("'" + setting + "' is no setting; write NAME=VALUE");
    const std::string name = setting.substr(0, sign);
    Tavix::Feature feature = FindFeature(camera, name);
    if (feature.Type() == Tavix::FeatureType::Command) {
        if (sign != std::string::npos)
            throw Error(name + " is a command and takes no value; the name alone executes it");
        feature.Execute();
    } else if (sign == std::string::npos) {
        throw Error("'" + name + "' is no command; write " + name + "=VALUE to set it");
    } else {
        feature = setting.substr(sign + 1);
    }
    return feature;
}

void EnableAllChunks(const Tavix::Camera& camera) {
    if (!IsWritable(camera, "ChunkModeActive"))
        throw Error("this camera offers no chunk data now; `tavix why ChunkModeActive` may say why");
    camera["ChunkModeActive"] = true;
    if (!IsWritable(camera, "ChunkSelector") || !camera.HasFeature("ChunkEnable")) return; // all or nothing, then
    for (const std::string& name : camera["ChunkSelector"].Entries()) {
        camera["ChunkSelector"] = name;
        if (camera["ChunkEnable"].IsWritable()) camera["ChunkEnable"] = true;
    }
}

} // namespace tool
