#pragma once
// Where features come from.

#include "camera/device/OpenDevice.h"

#include <tavix/camera/Feature.h>

#include <memory>
#include <string>
#include <vector>

namespace GenApi {
struct INode;
}

namespace Tavix::detail {

/// Gives features their camera at the moment of an access. Thread-safe.
class FeatureSource : public std::enable_shared_from_this<FeatureSource> {
public:
    FeatureSource() = default;
    FeatureSource(const FeatureSource&) = delete;
    FeatureSource& operator=(const FeatureSource&) = delete;
    virtual ~FeatureSource() = default;

    /// StateError when the camera is closed, Removed when it is unplugged.
    virtual std::shared_ptr<OpenDevice> Hold() const = 0;
    /// The application has written `value` to the node, or executed it.
    virtual void OnWritten(GenApi::INode& node, const std::string& value) = 0;
    virtual Subscription Watch(const std::string& feature, std::function<void(const Feature&)> callback) = 0;

    /// NotFound with the nearest names when there is none.
    Feature Find(const std::string& name);
    /// Without asking whether there is one.
    Feature Make(const std::string& name) { return Feature(shared_from_this(), name); }
};

/// As many nearest names are told to whoever misspelt one.
inline constexpr std::size_t kSuggestions = 3;
/// At most `count` of the names, those that `name` was most probably meant to be first.
std::vector<std::string> NearestNames(const std::string& name, const std::vector<std::string>& names,
                                      std::size_t count = kSuggestions);

} // namespace Tavix::detail
