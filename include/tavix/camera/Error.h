#pragma once
// What the camera classes throw.

#include "tavix/camera/Export.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace Tavix {

/// Everything that a camera class throws; what() is one sentence that names camera or feature, value and limits.
/// Re-entrant.
class TAVIX_CAMERA_API Error : public std::runtime_error {
public:
    explicit Error(const std::string& text, std::string feature = {})
        : std::runtime_error(text), m_Feature(std::move(feature)) {}
    /// The feature that refused; empty where none did.
    const std::string& FeatureName() const { return m_Feature; }

private:
    std::string m_Feature;
};

/// No camera, feature, chunk or event has that name, or several cameras have it.
class TAVIX_CAMERA_API NotFound final : public Error {
public:
    explicit NotFound(const std::string& text, std::string feature = {}, std::vector<std::string> suggestions = {})
        : Error(text, std::move(feature)), m_Suggestions(std::move(suggestions)) {}
    /// The names that are nearest to the one asked for, best first; may be empty.
    const std::vector<std::string>& Suggestions() const { return m_Suggestions; }

private:
    std::vector<std::string> m_Suggestions;
};

/// The camera is in use or not permitted, or a feature cannot be read, written or executed now.
class TAVIX_CAMERA_API AccessError final : public Error {
    using Error::Error;
};

/// A value of the wrong type, beyond the limits, off the increment, or no entry.
class TAVIX_CAMERA_API ValueError final : public Error {
    using Error::Error;
};

/// Nothing came in time.
class TAVIX_CAMERA_API Timeout final : public Error {
    using Error::Error;
};

/// The camera is unplugged, and nobody asked to wait for it.
class TAVIX_CAMERA_API Removed final : public Error {
    using Error::Error;
};

/// The call does not fit: the object or the callback is empty or closed, or the camera streams already.
class TAVIX_CAMERA_API StateError final : public Error {
    using Error::Error;
};

} // namespace Tavix
