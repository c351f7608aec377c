#include "TavixUsb.h"

#include "Failure.h"
#include "Log.h"
#include "discovery/TavixUsbTL.h"

#include "vexlo/Vexlo.h"

namespace Tavix {

namespace {

constexpr char kVersionSuffix[] = " 04.00.00.0062";

CTavixUsbTL* g_pTransportLayer = nullptr; // owned; the factory serialises Create and Destroy

/// Keeps Init and Exit of the USB access library paired while a transport layer is being built.
class InitialisedVexlo {
public:
    InitialisedVexlo() = default;
    InitialisedVexlo(const InitialisedVexlo&) = delete;
    InitialisedVexlo& operator=(const InitialisedVexlo&) = delete;
    ~InitialisedVexlo() {
        if (m_Armed) vexlo::Exit();
    }
    void Release() { m_Armed = false; }

private:
    bool m_Armed = true;
};

void CheckVexlo(unsigned int status, SourcePlace place) {
    if (status == 0) return;
    Throw<GenICam::RuntimeException>(place, "Failed to initialize vexlo: %s", VxStatus2Msg(status).c_str());
}

} // namespace

CUsbTlInfo::CUsbTlInfo() {
    try {
        SetDeviceClass(kDeviceClass);
        SetFullName(gcstring("USB/") + kDeviceClass + kVersionSuffix);
        SetVendorName("Vandrel");
        SetFriendlyName("USB");
    } catch (const GenICam::GenericException& e) {
        LogTrace(LogCategoryTl(), kLogError, "%s: Exception occurred: %s", "CUsbTlInfo", e.GetDescription());
    }
}

const CUsbTlInfo& GetTLInfo() {
    static const CUsbTlInfo info;
    CheckVexlo(vexlo::IsLibraryLoadable(), Here());
    return info;
}

} // namespace Tavix

bool GetTLInfoList(Tavix::TlInfoList& list) {
    list.push_back(Tavix::GetTLInfo());
    return true;
}

Tavix::ITransportLayer* Create(const Tavix::CTlInfo& info) {
    using namespace Tavix;
    if (info.GetDeviceClass() != kDeviceClass) return nullptr;
    if (g_pTransportLayer) return g_pTransportLayer;
    CheckVexlo(vexlo::Init(), Here());
    InitialisedVexlo initialised;
    g_pTransportLayer = new CTavixUsbTL(info);
    initialised.Release();
    return g_pTransportLayer;
}

void Destroy(Tavix::ITransportLayer* tl) {
    using namespace Tavix;
    if (!tl || tl != g_pTransportLayer) return;
    g_pTransportLayer = nullptr;
    delete static_cast<CTavixUsbTL*>(tl);
    vexlo::Exit();
}
