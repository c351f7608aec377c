#include "camera/device/CameraCore.h"

#include "camera/CallbackScope.h"
#include "camera/stream/Acquisition.h"

#include <tavix/camera/Error.h>

#include <GenApi/GenApi.h>
#include <GenApi/NodeCallback.h>

#include <algorithm>
#include <utility>

namespace Tavix::detail {

std::shared_ptr<CameraCore> CameraCore::Open(const CameraInfo& info) {
    if (info.device == CDeviceInfo())
        throw StateError("the CameraInfo is empty; take one of Cameras(), or open by name");
    const std::shared_ptr<CameraCore> core(new CameraCore(info));
    std::shared_ptr<OpenDevice> device = core->MakeDevice(info);
    const MutexLock guard(core->m_Mutex);
    core->m_Device = std::move(device);
    return core;
}

std::shared_ptr<OpenDevice> CameraCore::MakeDevice(const CameraInfo& info) {
    const std::weak_ptr<FeatureSource> weak = weak_from_this();
    return std::make_shared<OpenDevice>(info, [weak] {
        if (const auto core = std::static_pointer_cast<CameraCore>(weak.lock())) core->m_RemovalCallbacks.Call(false);
    });
}

CameraCore::~CameraCore() {
    Attempt("Closing a camera", [&] { Close(); });
}

void CameraCore::Close() {
    std::shared_ptr<Acquisition> stream;
    std::vector<Watcher> watchers;
    bool isAgain;
    {
        const MutexLock guard(m_Mutex);
        isAgain = std::exchange(m_IsClosed, true);
        stream = m_Stream.lock();
        watchers.swap(m_Watchers);
    }
    // A callback that closes the camera cannot wait for itself, so who closes it again does; but not one callback for
    // another, which may wait for it.
    if (isAgain && CallbackScope::IsInside()) return;
    if (stream) stream->Shutdown();
    m_Events.Stop();
    if (isAgain) return;
    for (const Watcher& watcher : watchers)
        watcher.callback->End();
    m_RemovalCallbacks.EndAll();
    std::shared_ptr<OpenDevice> device;
    std::shared_ptr<HostClock> clock;
    const MutexLock guard(m_Mutex);
    device.swap(m_Device);
    clock.swap(m_Clock);
}

bool CameraCore::IsOpen() const {
    const MutexLock guard(m_Mutex);
    return !m_IsClosed;
}

CameraInfo CameraCore::Info() const {
    const MutexLock guard(m_Mutex);
    return m_Info;
}

std::shared_ptr<OpenDevice> CameraCore::Hold() const {
    const MutexLock guard(m_Mutex);
    if (m_IsClosed) throw StateError(m_Info.friendlyName + " is closed");
    if (!m_Device) throw Removed(m_Info.friendlyName + " is unplugged");
    return m_Device;
}

std::shared_ptr<HostClock> CameraCore::Clock() {
    const std::shared_ptr<OpenDevice> device = Hold();
    {
        const MutexLock guard(m_Mutex);
        if (m_Clock) return m_Clock;
    }
    const auto clock = std::make_shared<HostClock>(device); // unlocked, since it asks the camera
    const MutexLock guard(m_Mutex);
    if (!m_Clock && m_Device == device) m_Clock = clock;
    return m_Clock ? m_Clock : clock;
}

void CameraCore::OnWritten(GenApi::INode& node, const std::string& value) {
    m_Journal.Note(node, value);
}

void CameraCore::Register(GenApi::INodeMap& nodes, const Watcher& watcher) {
    GenApi::INode* node = nodes.GetNode(watcher.feature.c_str());
    if (!node) return;
    const std::weak_ptr<FeatureSource> weak = weak_from_this();
    GenApi::Register(
        node,
        [weak, watcher](GenApi::INode*) {
            if (const auto source = weak.lock()) watcher.callback->Call(source->Make(watcher.feature));
        },
        GenApi::cbPostOutsideLock);
}

Subscription CameraCore::Watch(const std::string& feature, std::function<void(const Feature&)> callback) {
    const Watcher watcher{feature, std::make_shared<GuardedCallback<const Feature&>>(std::move(callback))};
    const std::shared_ptr<OpenDevice> device = Hold();
    Register(device->Nodes(), watcher);
    const MutexLock guard(m_Mutex);
    m_Watchers.erase(std::remove_if(m_Watchers.begin(), m_Watchers.end(),
                                    [](const Watcher& old) { return old.callback->HasEnded(); }),
                     m_Watchers.end());
    m_Watchers.push_back(watcher);
    return Subscription([gate = watcher.callback] { gate->End(); });
}

void CameraCore::Attach(const std::shared_ptr<Acquisition>& stream) {
    const MutexLock guard(m_Mutex);
    if (m_IsClosed) throw StateError(m_Info.friendlyName + " is closed");
    if (m_Stream.lock()) throw StateError(m_Info.friendlyName + " streams already; end that stream first");
    m_Stream = stream;
}

void CameraCore::Detach(const Acquisition& stream) {
    const MutexLock guard(m_Mutex);
    if (m_Stream.lock().get() == &stream) m_Stream.reset();
}

void CameraCore::LetGo() {
    m_Events.Stop();
    std::shared_ptr<OpenDevice> device;
    std::shared_ptr<HostClock> clock;
    const MutexLock guard(m_Mutex);
    device.swap(m_Device);
    clock.swap(m_Clock);
}

bool CameraCore::TryReopen() {
    const CameraInfo old = Info();
    const std::vector<CameraInfo> cameras = Cameras();
    const auto found = std::find_if(cameras.begin(), cameras.end(), [&](const CameraInfo& camera) {
        return camera.guid == old.guid && camera.serial == old.serial;
    });
    if (found == cameras.end()) return false;
    const std::shared_ptr<OpenDevice> device = MakeDevice(*found);
    m_Journal.Replay(device->Nodes());
    std::vector<Watcher> watchers;
    {
        const MutexLock guard(m_Mutex);
        if (m_IsClosed) return false;
        m_Info = *found;
        m_Device = device;
        watchers = m_Watchers;
    }
    for (const Watcher& watcher : watchers)
        Register(device->Nodes(), watcher);
    m_Events.Restart(device);
    m_RemovalCallbacks.Call(true);
    return true;
}

} // namespace Tavix::detail
