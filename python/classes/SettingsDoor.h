#pragma once
// The class Settings of the package, and what cameras do with settings.

#include <tavix/camera/Camera.h>

#include <pybind11/pybind11.h>

#include <memory>
#include <vector>

namespace tavixpython {

/// Settings with what of them a camera did not tell.
struct SettingsDoor {
    Tavix::Settings settings;
    std::vector<Tavix::RefusedSetting> unread;
};

SettingsDoor ReadSettings(const std::shared_ptr<Tavix::Camera>& camera);
/// Those that did not succeed: (name, value, reason) of each.
pybind11::list ApplySettings(const std::shared_ptr<Tavix::Camera>& camera, const Tavix::Settings& settings);

/// (name, reason) of each.
pybind11::list UnreadOf(const std::vector<Tavix::RefusedSetting>& unread);
/// (name, left value, right value) of each.
pybind11::list DifferencesOf(const std::vector<Tavix::SettingDifference>& differences);

void BindSettings(pybind11::module_& module);

} // namespace tavixpython
