// All settings of a camera.
#include "camera/CameraCore.h"
#include "camera/Failure.h"

#include <tavix/camera/Camera.h>

#include <GenApi/Persistence.h>

#include <sstream>

namespace Tavix {
namespace {

std::vector<RefusedSetting> ApplyOnce(detail::CameraCore& core, const Settings& settings) {
    std::vector<RefusedSetting> refused;
    for (const Settings::Line& line : settings.Lines()) {
        try {
            core.Find(line.name) = line.value;
        } catch (const Removed&) {
            throw; // the rest would be refused, too
        } catch (const Error& e) {
            refused.push_back({line.name, line.value, e.what()});
        }
    }
    return refused;
}

constexpr int kAllSettings = -1;

/// From "NAME: REASON".
std::vector<RefusedSetting> Unread(const GenICam::gcstring_vector& errors) {
    std::vector<RefusedSetting> unread;
    for (const auto& error : errors) {
        const std::string text = detail::Text(error);
        const auto colon = text.find(": ");
        const bool isNamed = colon != std::string::npos;
        unread.push_back({isNamed ? text.substr(0, colon) : "", {}, isNamed ? text.substr(colon + 2) : text});
    }
    return unread;
}

} // namespace

Settings Camera::ReadSettings(std::vector<RefusedSetting>* unread) const {
    const std::shared_ptr<detail::OpenDevice> device = Checked().Hold();
    std::ostringstream text;
    try {
        GenApi::CFeatureBag bag;
        GenICam::gcstring_vector errors;
        bag.StoreToBag(&device->Nodes(), kAllSettings, &errors);
        if (unread) *unread = Unread(errors);
        text << bag;
    } catch (const GenICam::GenericException&) {
        detail::RethrowAsError("cannot read the settings of " + device->Name() + ": ");
    }
    if (device->GetRemoval().HasHappened()) throw Removed(device->Name() + " is unplugged");
    return Settings::FromText(text.str());
}

std::vector<RefusedSetting> Camera::Apply(const Settings& settings) {
    std::vector<RefusedSetting> refused = ApplyOnce(Checked(), settings);
    while (!refused.empty()) {
        std::vector<RefusedSetting> again = ApplyOnce(*m_Core, settings);
        const bool isBetter = again.size() < refused.size();
        refused = std::move(again);
        if (!isBetter) break;
    }
    return refused;
}

} // namespace Tavix
