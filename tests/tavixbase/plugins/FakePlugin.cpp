// A transport-layer library without a bus. FAKE_DEVICE_CLASS is its device class; without FAKE_HAS_DESTROY it lacks
// that entry function.

#include "FakePluginControl.h"

#include "tavixbase/support/FakeTransportLayer.h"

#include "tavix/internal/PluginEntry.h"

#include <stdexcept>

namespace Tavix {
namespace {

FakePluginControl g_Control;

void Fail(FakeFailure failure) {
    if (failure == FakeFailure::GenICam) throw RUNTIME_EXCEPTION("the bus is closed");
    if (failure == FakeFailure::Standard) throw std::runtime_error("the memory is full");
    if (failure == FakeFailure::Text) throw "a text";
}

// Sees whether entry functions overlap, which the factory promises they never do.
struct EntryGuard {
    EntryGuard() {
        if (g_Control.entriesRunning++ > 0) ++g_Control.overlaps;
    }
    ~EntryGuard() { --g_Control.entriesRunning; }
};

CTlInfo OwnInfo() {
    return CTlInfo().SetDeviceClass(FAKE_DEVICE_CLASS).SetFullName("Fake/" FAKE_DEVICE_CLASS).SetFriendlyName("Fake");
}

// Many threads use it at once, so nothing in it changes but what the control record says. Thread-safe.
class PluginTransportLayer final : public FakeTransportLayer {
public:
    PluginTransportLayer() : FakeTransportLayer(FAKE_DEVICE_CLASS) {
        makeDevice = [](const CDeviceInfo& info) { return new FakeDevice(info, std::make_shared<DeviceDiary>()); };
    }
    CTlInfo GetTlInfo() const override { return OwnInfo(); }
    int InternalEnumerateDevices(DeviceInfoList& list) override {
        ++g_Control.discoveries;
        Fail(g_Control.failsInDiscovery);
        for (int i = 1; i <= g_Control.attachedDevices; ++i) {
            CDeviceInfo info = Discovered(FAKE_DEVICE_CLASS, (FAKE_DEVICE_CLASS "-" + std::to_string(i)).c_str());
            info.SetDeviceFactory(OwnInfo().GetFullName()).ClearUserProvided();
            list.push_back(info);
        }
        return static_cast<int>(list.size());
    }
    bool InternalIsDeviceAccessible(const CDeviceInfo&, AccessModeSet, EDeviceAccessiblityInfo* pAccessInfo) override {
        if (pAccessInfo) *pAccessInfo = Accessibility_Ok;
        return true;
    }
};

PluginTransportLayer* g_pLiving = nullptr;

} // namespace
} // namespace Tavix

extern "C" {

Tavix::FakePluginControl* GetFakePluginControl() {
    return &Tavix::g_Control;
}

bool GetTLInfoList(Tavix::TlInfoList& list) {
    const Tavix::EntryGuard guard;
    Tavix::Fail(Tavix::g_Control.failsInGetTLInfoList);
    if (Tavix::g_Control.offersNothing) return false;
    list.push_back(Tavix::OwnInfo());
    return true;
}

Tavix::ITransportLayer* Create(const Tavix::CTlInfo& info) {
    const Tavix::EntryGuard guard;
    Tavix::Fail(Tavix::g_Control.failsInCreate);
    if (Tavix::g_Control.createsNull || info.GetDeviceClass() != FAKE_DEVICE_CLASS) return nullptr;
    if (!Tavix::g_pLiving) {
        Tavix::g_pLiving = new Tavix::PluginTransportLayer;
        ++Tavix::g_Control.creations;
    }
    return Tavix::g_pLiving;
}

#ifdef FAKE_HAS_DESTROY
void Destroy(Tavix::ITransportLayer* pTl) {
    const Tavix::EntryGuard guard;
    if (pTl != Tavix::g_pLiving) return;
    Tavix::g_Control.onDestroy();
    delete Tavix::g_pLiving;
    Tavix::g_pLiving = nullptr;
    ++Tavix::g_Control.destructions;
    Tavix::Fail(Tavix::g_Control.failsInDestroy);
}
#endif
}
