#pragma once
// Which cameras there are.

#include <tavix/Info.h>
#include <tavix/camera/Export.h>
#include <tavix/camera/Subscription.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Tavix {

/// Whether a camera could be opened now.
enum class Accessibility { Free, InUse, NotPermitted, NotReachable, Unknown };

/// What is known of a camera without opening it. Texts that it does not tell are empty. Re-entrant.
struct TAVIX_CAMERA_API CameraInfo {
    std::size_t number = 0;   ///< place in the list, from 0
    std::string vendor;       ///< who made it
    std::string model;        ///< as its maker calls it
    std::string serial;       ///< alone not always unique
    std::string guid;         ///< twelve hexadecimal digits, unique in the world
    std::string userName;     ///< as the user calls it
    std::string friendlyName; ///< for titles: "MODEL (SERIAL)"
    std::string path;         ///< the full name, which tells the port
    std::string speed;        ///< of the link: "Super" (5 Gbit/s or more) or "High" (480 Mbit/s); empty when unknown
    CDeviceInfo device;       ///< for the SDK's factory

    /// Asks the camera's port, which takes a moment. Never throws.
    Accessibility Access() const;
    /// Whether it is called so: by number, serial number, GUID, user-defined name, friendly name, model or path.
    bool IsCalled(const std::string& name) const;
};

/// All cameras of all transport layers. Error when every transport layer failed. Thread-safe.
TAVIX_CAMERA_API std::vector<CameraInfo> Cameras();
/// The one camera of that name; the first one for an empty name. NotFound when there is none or there are several.
/// Thread-safe.
TAVIX_CAMERA_API CameraInfo FindCamera(const std::string& name);

/// Tells of cameras that come and go, for as long as it lives. The destructor waits for a callback that runs, except
/// when called from it: then it is the last one. Thread-safe.
class TAVIX_CAMERA_API CameraWatch {
public:
    /// `callback(info, true)` for an arrival, `callback(info, false)` for a departure, one after the other on a thread
    /// of the watch, no lock held. Cameras that are there already are told first, as arrivals, but for `known` ones:
    /// those are told of only when they have gone. An exception that the callback lets out is logged.
    explicit CameraWatch(std::function<void(const CameraInfo&, bool arrived)> callback,
                         std::vector<CameraInfo> known = {});
    CameraWatch(CameraWatch&&) noexcept;
    CameraWatch& operator=(CameraWatch&&) noexcept;
    ~CameraWatch();

private:
    struct Impl;
    std::unique_ptr<Impl> m_Impl;
};

} // namespace Tavix
