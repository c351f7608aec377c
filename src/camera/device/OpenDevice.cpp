#include "camera/device/OpenDevice.h"

#include "camera/Failure.h"
#include "core/Mutex.h"

#include <tavix/DevicePresence.h>
#include <tavix/TlFactory.h>

#include <algorithm>
#include <set>
#include <vector>

namespace Tavix::detail {
namespace {

constexpr unsigned int kNoticeTimeoutMs = 500;

/// Their full names; a camera may be closed on any thread, also when the program ends.
class OpenHere {
public:
    static OpenHere& Get() {
        static auto& names = *new OpenHere;
        return names;
    }
    void Add(const std::string& name) {
        const MutexLock guard(m_Mutex);
        m_Names.insert(name);
    }
    void Remove(const std::string& name) {
        const MutexLock guard(m_Mutex);
        const auto found = m_Names.find(name);
        if (found != m_Names.end()) m_Names.erase(found);
    }
    bool Has(const std::string& name) const {
        const MutexLock guard(m_Mutex);
        return m_Names.count(name) != 0;
    }

private:
    mutable Mutex m_Mutex;
    std::multiset<std::string> m_Names TAVIX_GUARDED_BY(m_Mutex);
};

bool IsListed(const CameraInfo& info) {
    const std::vector<CameraInfo> cameras = Cameras();
    return std::any_of(cameras.begin(), cameras.end(), [&](const CameraInfo& each) { return each.path == info.path; });
}

[[noreturn]] void ThrowCannotOpen(const CameraInfo& info, const std::exception& failure) {
    if (OpenHere::Get().Has(info.path))
        throw AccessError("cannot open " + info.friendlyName +
                          ": this program has it open already; close it there, or use that one");
    const std::string text = "cannot open " + info.friendlyName + ": " + Reason(failure);
    const auto* known = dynamic_cast<const PresenceException*>(&failure);
    const DevicePresence presence = known ? known->Presence() : DevicePresence::There;
    if (presence == DevicePresence::Gone || !IsListed(info)) throw Removed(text + "; plug it in again");
    // What is said of a silent camera is advice enough, and to ask that once more would cost seconds.
    switch (presence == DevicePresence::Silent ? Accessibility::Unknown : info.Access()) {
    case Accessibility::InUse:
        throw AccessError(text + "; end the program that uses it and try again");
    case Accessibility::NotReachable:
        throw AccessError(text + "; plug it in again");
    default:
        throw AccessError(text);
    }
}

} // namespace

bool Removal::IsLikely() const {
    return m_Bell.Wait(kNoticeTimeoutMs);
}

void Removal::Happen() {
    if (m_HasHappened.exchange(true)) return;
    m_Bell.Signal();
    m_Listener();
}

OpenDevice::OpenDevice(const CameraInfo& info, std::function<void()> onRemoval)
    : m_Name(info.friendlyName), m_Path(info.path), m_Removal(std::make_shared<Removal>(std::move(onRemoval))) {
    CTlFactory& factory = CTlFactory::GetInstance();
    try {
        m_Device = factory.CreateDevice(info.device);
        m_Presence = dynamic_cast<const IDevicePresence*>(m_Device);
        m_Device->Open();
        auto callback = MakeCallback<ITavixDevice*>([removal = m_Removal](ITavixDevice*) { removal->Happen(); });
        m_RemovalCallback = m_Device->RegisterRemovalCallback(callback);
    } catch (const std::exception& e) {
        if (m_Device) Attempt("Giving a camera back", [&] { factory.DestroyDevice(m_Device); });
        ThrowCannotOpen(info, e);
    }
    OpenHere::Get().Add(m_Path);
}

OpenDevice::~OpenDevice() {
    Attempt("Forgetting a camera", [&] { OpenHere::Get().Remove(m_Path); });
    Attempt("Deregistering from a camera", [&] { m_Device->DeregisterRemovalCallback(m_RemovalCallback); });
    Attempt("Closing a camera", [&] {
        if (m_Device->IsOpen()) m_Device->Close();
    });
    Attempt("Giving a camera back", [&] { CTlFactory::GetInstance().DestroyDevice(m_Device); });
}

bool OpenDevice::HasGone() const {
    return m_Removal->HasHappened() || (m_Presence && m_Presence->Presence() == DevicePresence::Gone);
}

bool OpenDevice::IsByRemoval(unsigned int status) const {
    return m_Removal->HasHappened() || (m_Presence && m_Presence->PresenceBy(status) == DevicePresence::Gone);
}

GenApi::INodeMap& OpenDevice::Nodes() const {
    return *m_Device->GetNodeMap();
}

} // namespace Tavix::detail
