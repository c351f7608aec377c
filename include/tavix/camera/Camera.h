#pragma once
// A camera, from its name to its images.

#include <tavix/camera/CameraEvent.h>
#include <tavix/camera/CameraInfo.h>
#include <tavix/camera/Error.h>
#include <tavix/camera/Export.h>
#include <tavix/camera/Feature.h>
#include <tavix/camera/Image.h>
#include <tavix/camera/ImageStream.h>
#include <tavix/camera/Settings.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace GenApi {
struct INodeMap;
}

namespace Tavix {

class ITavixDevice;

namespace detail {
class CameraCore;
}

/// An open camera, closed at the end of its scope. Move-only; a moved-from or closed one throws StateError. Everything
/// that fails throws Error or one of its heirs. Thread-safe, except moving.
class TAVIX_CAMERA_API Camera {
public:
    /// By number, serial number, GUID, user-defined name, friendly name, model or path; the first camera for an empty
    /// name. NotFound when there is none or there are several, AccessError when it is in use or not permitted.
    static Camera Open(const std::string& name = {});
    static Camera Open(const CameraInfo& info);
    Camera(Camera&&) noexcept;
    Camera& operator=(Camera&&) noexcept;
    /// Ends streams and callbacks, and waits for callbacks that run. Images live on. Called from a callback on an
    /// image, an event, a removal or a change, gives the camera back when that returns.
    ~Camera();

    /// As the destructor. Closing twice is harmless.
    void Close();
    bool IsOpen() const;
    CameraInfo Info() const;

    /// NotFound with the nearest names when the camera has no such feature.
    Feature operator[](const std::string& name) const;
    bool HasFeature(const std::string& name) const;
    /// All features that the camera implements, categories left out, in the order of its description.
    std::vector<Feature> Features() const;
    /// Their names and those of features that its description knows and the camera does not implement, which asks
    /// nothing of it.
    std::vector<std::string> FeatureNames() const;

    /// Starts the camera; ends after `count` images, or when broken off. StateError when it streams already.
    ImageStream Grab(std::uint64_t count = 0);
    ImageStream Grab(const GrabOptions& options);
    /// Calls for each image, one after the other, on the thread that took it off the bus where the transport layer
    /// offers that, otherwise on one of the stream. What the callback throws ends the stream, see ImageStream::Join.
    ImageStream Grab(const GrabOptions& options, std::function<void(Image)> callback);
    ImageStream Grab(std::uint64_t count, std::function<void(Image)> callback) {
        GrabOptions options;
        options.count = count;
        return Grab(options, std::move(callback));
    }
    /// One image: after a software trigger if the camera waits for one, else the next that it makes. A negative time is
    /// as long as it takes, here and wherever else a camera is waited for.
    Image GrabOne(std::chrono::milliseconds timeout = std::chrono::milliseconds(5000));
    /// Triggers by software. Waits until the camera is ready where it tells, and keeps the rate that it states where it
    /// does not, so that no trigger is lost. Timeout when it is not ready in that time; AccessError when its trigger
    /// mode or source are others.
    void Trigger(std::chrono::milliseconds timeout = std::chrono::milliseconds(5000));
    /// The parts of Trigger(), for those who look at something else meanwhile: whether the camera is ready within that
    /// time, AccessError when it takes no triggers by software; and the trigger itself, now, without waiting for
    /// camera["TriggerSoftware"].IsDone().
    bool AwaitTrigger(std::chrono::milliseconds timeout) const;
    void FireTrigger();

    /// Switches the event's notification on and calls for each message, one after the other on a thread of the camera;
    /// for an empty name every event that the camera has, and those messages that its description does not know.
    /// NotFound when the camera does not have the event.
    Subscription OnEvent(const std::string& name, std::function<void(const CameraEvent&)> callback);
    /// Calls when the camera is unplugged, and when it is back with `true` as the argument, no lock held.
    Subscription OnRemoval(std::function<void(bool isBack)> callback);

    /// All that is worth keeping of its present state; `unread`, if it is given, gets what could not be read, and why.
    /// Removed when the camera goes meanwhile.
    Tavix::Settings ReadSettings(std::vector<RefusedSetting>* unread = nullptr) const;
    /// Applies the lines in order, again as long as more of them succeed; returns those that did not.
    std::vector<RefusedSetting> Apply(const Tavix::Settings& settings);

    /// A moment of the camera's clock, in nanoseconds, on the host's clocks. The clocks are compared while the camera
    /// streams; otherwise now, if the camera can.
    HostTime ToHostTime(std::uint64_t cameraTime) const;

    /// The SDK's interfaces, which live until the camera is closed or comes back from an unplug.
    ITavixDevice& Device() const;
    GenApi::INodeMap& Nodes() const;

private:
    friend class Group;
    explicit Camera(std::shared_ptr<detail::CameraCore> core);
    detail::CameraCore& Checked() const;

    std::shared_ptr<detail::CameraCore> m_Core;
};

} // namespace Tavix
