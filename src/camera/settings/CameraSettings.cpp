// All settings of a camera.
#include "camera/Failure.h"
#include "camera/device/CameraCore.h"

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
        } catch (const StateError&) {
            throw; // closed by somebody who wants no more of it
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

/// What could not be read of a camera that has gone are no settings of it, whether the notice has come yet or not.
void ThrowIfGone(const detail::OpenDevice& device, const std::vector<RefusedSetting>& unread) {
    if (device.HasGone() || (!unread.empty() && device.GetRemoval().IsLikely()))
        throw Removed(device.Name() + " is unplugged");
}

} // namespace

Settings Camera::ReadSettings(std::vector<RefusedSetting>* unread) const {
    const std::shared_ptr<detail::OpenDevice> device = Checked().Hold();
    std::ostringstream text;
    std::vector<RefusedSetting> failed;
    try {
        GenApi::CFeatureBag bag;
        GenICam::gcstring_vector errors;
        bag.StoreToBag(&device->Nodes(), kAllSettings, &errors);
        failed = Unread(errors);
        text << bag;
    } catch (const GenICam::GenericException& e) {
        if (device->HasGone()) throw Removed(device->Name() + " is unplugged");
        detail::RethrowAsError("cannot read the settings of " + device->Name() + ": ");
    }
    ThrowIfGone(*device, failed);
    if (unread) *unread = std::move(failed);
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
