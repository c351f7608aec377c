#pragma once
// A device of the SDK that is open.

#include "core/WaitObject.h"

#include <tavix/camera/CameraInfo.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

namespace GenApi {
struct INodeMap;
}

namespace Tavix {
class IDevicePresence;
class ITavixDevice;
} // namespace Tavix

namespace Tavix::detail {

/// Whether a camera has been unplugged. Shared with the SDK's removal callback, which may outlive the device.
/// Thread-safe.
class Removal {
public:
    explicit Removal(std::function<void()> listener) : m_Listener(std::move(listener)) {}

    bool HasHappened() const { return m_HasHappened; }
    /// Stays signalled once it has happened.
    const WaitObject& Bell() const { return m_Bell; }
    /// Waits a moment for a notice that may lag behind the failures that it explains.
    bool IsLikely() const;
    void Happen();

private:
    std::atomic<bool> m_HasHappened{false};
    const WaitObjectEx m_Bell = WaitObjectEx::Create(/*manualReset=*/true);
    const std::function<void()> m_Listener;
};

/// Opens at the beginning of its life and closes and gives back at its end. Whoever uses the device holds a share, so
/// that it is not closed underneath. Thread-safe.
class OpenDevice {
public:
    /// AccessError or Error with what can be done about it. `onRemoval` is called on a thread of the SDK.
    OpenDevice(const CameraInfo& info, std::function<void()> onRemoval);
    ~OpenDevice();
    OpenDevice(const OpenDevice&) = delete;
    OpenDevice& operator=(const OpenDevice&) = delete;

    ITavixDevice& Device() const { return *m_Device; }
    GenApi::INodeMap& Nodes() const;
    const Removal& GetRemoval() const { return *m_Removal; }
    /// Whether an access has found that the camera has gone, even if the notice of it is still to come.
    bool HasGone() const;
    /// The same of an image that failed with that status.
    bool IsByRemoval(unsigned int status) const;
    const std::string& Name() const { return m_Name; }

private:
    const std::string m_Name, m_Path;
    const std::shared_ptr<Removal> m_Removal;
    ITavixDevice* m_Device = nullptr;            // constant after construction
    const IDevicePresence* m_Presence = nullptr; // of m_Device, null where it has none; constant after construction
    void* m_RemovalCallback = nullptr;           // constant after construction
};

} // namespace Tavix::detail
