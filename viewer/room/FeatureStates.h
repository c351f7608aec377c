#pragma once
// Features of a camera as JSON.

#include "Restless.h"
#include "viewer/server/Protocol.h"

#include <tavix/camera/Camera.h>

#include <map>
#include <string>
#include <vector>

namespace viewer {

/// What does not change: {"tree": [...], "features": {name: {...}}}. A node of the tree is a feature's name, or
/// {"title", "name", "of": [...]}.
Json DescribeFeatures(const Tavix::Camera& camera);
/// What does: value, limits, access, reasons. Never throws what a feature throws: a failure is part of it.
Json StateOf(const Tavix::Feature& feature);

/// Why features are read again: somebody has set something, or time has passed.
enum class Occasion { Setting, Look };

/// The states that browsers have been told. Bound to a thread.
class FeatureStates {
public:
    /// Reads features again and returns those that have changed, by name.
    Json Update(const Tavix::Camera& camera, const std::vector<std::string>& names, Occasion occasion);
    const Json& Known() const { return m_Known; }
    void Forget() { m_Known = Json::object(); }
    /// Whether its value changes without a setting.
    bool IsRestless(const std::string& name) const { return m_Restless.Is(name, Restless::Clock::now()); }

private:
    Json m_Known = Json::object();
    Restless m_Restless;
};

} // namespace viewer
