#pragma once
// What a camera object, its features and its streams share.

#include "camera/CallbackList.h"
#include "camera/device/Trigger.h"
#include "camera/event/EventHub.h"
#include "camera/feature/FeatureSource.h"
#include "camera/settings/Journal.h"
#include "camera/time/HostClock.h"
#include "core/Mutex.h"

#include <tavix/camera/CameraInfo.h>

#include <memory>
#include <string>
#include <vector>

namespace Tavix::detail {

class Acquisition;

/// A camera that is open, closed, or unplugged and waited for. No lock of its own is held while it calls the SDK or the
/// application. Thread-safe.
class CameraCore final : public FeatureSource {
public:
    static std::shared_ptr<CameraCore> Open(const CameraInfo& info);
    ~CameraCore() override;

    /// Ends streams and callbacks. Closing twice is harmless.
    void Close();
    bool IsOpen() const;
    CameraInfo Info() const;

    std::shared_ptr<OpenDevice> Hold() const override;
    void OnWritten(GenApi::INode& node, const std::string& value) override;
    Subscription Watch(const std::string& feature, std::function<void(const Feature&)> callback) override;
    Subscription OnRemoval(std::function<void(bool)> callback) { return m_RemovalCallbacks.Add(std::move(callback)); }

    Subscription OnEvent(const std::string& event, std::function<void(const CameraEvent&)> callback) {
        return m_Events.Add(Hold(), event, std::move(callback));
    }
    /// Of the device that is open now.
    std::shared_ptr<HostClock> Clock();
    TriggerClock& GetTriggerClock() { return m_TriggerClock; }

    /// StateError when another one runs.
    void Attach(const std::shared_ptr<Acquisition>& stream);
    void Detach(const Acquisition& stream);

    /// Gives back the device that is unplugged.
    void LetGo();
    /// Opens the same camera again, by GUID and serial number, and sets it as the application had. False while it is
    /// not there; it may be asked again.
    bool TryReopen();

private:
    /// A callback on the changes of a feature, which is registered anew when the camera comes back.
    struct Watcher {
        std::string feature;
        std::shared_ptr<GuardedCallback<const Feature&>> callback;
    };

    explicit CameraCore(const CameraInfo& info) : m_Info(info) {}
    std::shared_ptr<OpenDevice> MakeDevice(const CameraInfo& info);
    void Register(GenApi::INodeMap& nodes, const Watcher& watcher);

    mutable Mutex m_Mutex;
    CameraInfo m_Info TAVIX_GUARDED_BY(m_Mutex);
    std::shared_ptr<OpenDevice> m_Device TAVIX_GUARDED_BY(m_Mutex); // null when closed or unplugged
    std::shared_ptr<HostClock> m_Clock TAVIX_GUARDED_BY(m_Mutex);   // made when it is needed
    bool m_IsClosed TAVIX_GUARDED_BY(m_Mutex) = false;
    std::weak_ptr<Acquisition> m_Stream TAVIX_GUARDED_BY(m_Mutex);
    std::vector<Watcher> m_Watchers TAVIX_GUARDED_BY(m_Mutex);
    Journal m_Journal;
    CallbackList<bool> m_RemovalCallbacks;
    EventHub m_Events;
    TriggerClock m_TriggerClock;
};

} // namespace Tavix::detail
