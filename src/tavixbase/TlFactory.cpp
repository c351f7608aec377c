#include "tavix/TlFactory.h"

#include "tavixbase/FactoryLog.h"
#include "tavixbase/TlRegistry.h"

#include "core/Export.h"

#include <exception>
#include <utility>

namespace Tavix {
namespace {

// A reference on a transport layer for the length of a scope.
class TlReference {
public:
    TlReference(TlRegistry& registry, ITransportLayer* pTl) : m_Registry(registry), m_pTl(pTl) {}
    ~TlReference() {
        if (m_pTl) m_Registry.Release(m_pTl);
    }
    TlReference(TlReference&& other) noexcept
        : m_Registry(other.m_Registry), m_pTl(std::exchange(other.m_pTl, nullptr)) {}
    TlReference(const TlReference&) = delete;
    TlReference& operator=(const TlReference&) = delete;
    TlReference& operator=(TlReference&&) = delete;

    explicit operator bool() const { return m_pTl != nullptr; }
    ITransportLayer* operator->() const { return m_pTl; }

private:
    TlRegistry& m_Registry;
    ITransportLayer* m_pTl; // null: holds nothing
};

void LogFailure(const CTlInfo& info) {
    const gcstring name = info.GetFullName();
    try {
        throw;
    } catch (const GenICam::GenericException& e) {
        LogTrace(FactoryLogCategory(), kLogError, "Transport layer '%s': %s", name.c_str(), e.GetDescription());
    } catch (const std::exception& e) {
        LogTrace(FactoryLogCategory(), kLogError, "Transport layer '%s': %s", name.c_str(), e.what());
    } catch (...) {
        LogTrace(FactoryLogCategory(), kLogError, "Transport layer '%s': unknown exception", name.c_str());
    }
}

} // namespace

struct TAVIX_HIDDEN CTlFactory::Impl {
    TlRegistry registry;

    // Lets `step` work with each transport layer and the info it is offered by, until it returns true. One that fails
    // is logged and does not keep the others from their turn; only when all fail does the first failure leave.
    template<class Step>
    void ForEachTl(Step step) {
        std::exception_ptr firstFailure;
        bool anyWorked = false;
        for (const CTlInfo& info : registry.Enumerate()) {
            try {
                const TlReference tl(registry, registry.Acquire(info));
                const bool isDone = tl && step(*tl.operator->(), info);
                anyWorked = true;
                if (isDone) return;
            } catch (...) {
                LogFailure(info);
                if (!firstFailure) firstFailure = std::current_exception();
            }
        }
        if (firstFailure && !anyWorked) std::rethrow_exception(firstFailure);
    }

    // Lets `collect` enumerate each transport layer's devices into an empty list.
    template<class Collect>
    int CollectDevices(DeviceInfoList& list, bool addToList, Collect collect) {
        if (!addToList) list.clear();
        int count = 0;
        ForEachTl([&](ITransportLayer& tl, const CTlInfo&) {
            DeviceInfoList devices;
            collect(tl, devices);
            for (const CDeviceInfo& device : devices)
                list.push_back(device);
            count += static_cast<int>(devices.size());
            return false;
        });
        return count;
    }

    // The transport layer that creates or probes the device of `info`; RuntimeException when there is none.
    TlReference TlFor(const CDeviceInfo& info, bool takeFirst) {
        CTlInfo wanted;
        if (info.IsDeviceClassAvailable()) wanted.SetDeviceClass(info.GetDeviceClass());
        if (info.IsDeviceFactoryAvailable()) wanted.SetFullName(info.GetDeviceFactory());
        if (wanted == CTlInfo()) wanted = SearchTlFor(info, takeFirst);
        TlReference tl(registry, registry.Acquire(wanted));
        if (tl) return tl;
        throw RUNTIME_EXCEPTION("No transport layer found for device class '%s', device factory '%s'.",
                                info.GetDeviceClass().c_str(), info.GetDeviceFactory().c_str());
    }

    // Asks all. A single one is taken without asking, because it answers on its own when the device is asked for.
    CTlInfo SearchTlFor(const CDeviceInfo& info, bool takeFirst) {
        const TlInfoList infos = registry.Enumerate();
        if (infos.empty()) throw RUNTIME_EXCEPTION("No transport layer found.");
        if (infos.size() == 1) return infos.front();
        DeviceInfoList filter;
        filter.push_back(info);
        int count = 0;
        CTlInfo first;
        ForEachTl([&](ITransportLayer& tl, const CTlInfo& tlInfo) {
            DeviceInfoList devices;
            const int matches = tl.EnumerateDevices(devices, filter);
            if (count == 0 && matches > 0) first = tlInfo;
            count += matches;
            return takeFirst && count > 0;
        });
        if (count == 0) throw RUNTIME_EXCEPTION("No device contains the provided device info properties.");
        if (count > 1 && !takeFirst) {
            throw RUNTIME_EXCEPTION(
                "Too many devices (%d) match the provided device info properties, don't know which device to use.",
                count);
        }
        return first;
    }
};

CTlFactory::CTlFactory() : m_Impl(std::make_unique<Impl>()) {}
CTlFactory::~CTlFactory() = default;

CTlFactory& CTlFactory::GetInstance() {
    // Never destroyed: an application's own statics may give devices and transport layers back while the process ends.
    static CTlFactory* const pInstance = new CTlFactory;
    return *pInstance;
}

int CTlFactory::EnumerateTls(TlInfoList& list) {
    list = m_Impl->registry.Enumerate();
    return static_cast<int>(list.size());
}

ITransportLayer* CTlFactory::CreateTl(const gcstring& name) {
    return m_Impl->registry.AcquireByName(name);
}

ITransportLayer* CTlFactory::CreateTl(const CTlInfo& info) {
    return m_Impl->registry.Acquire(info);
}

void CTlFactory::ReleaseTl(const ITransportLayer* pTl) {
    if (pTl) m_Impl->registry.Release(pTl);
}

int CTlFactory::EnumerateDevices(DeviceInfoList& list, bool addToList) {
    return m_Impl->CollectDevices(list, addToList,
                                  [](ITransportLayer& tl, DeviceInfoList& devices) { tl.EnumerateDevices(devices); });
}

int CTlFactory::EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList) {
    return m_Impl->CollectDevices(
        list, addToList, [&](ITransportLayer& tl, DeviceInfoList& devices) { tl.EnumerateDevices(devices, filter); });
}

ITavixDevice* CTlFactory::CreateDevice(const CDeviceInfo& info) {
    return CreateDevice(info, gcstring_vector());
}

ITavixDevice* CTlFactory::CreateDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings) {
    return m_Impl->TlFor(info, /*takeFirst=*/false)->CreateDevice(info, xmlStrings);
}

ITavixDevice* CTlFactory::CreateFirstDevice(const CDeviceInfo& info) {
    return CreateFirstDevice(info, gcstring_vector());
}

ITavixDevice* CTlFactory::CreateFirstDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings) {
    return m_Impl->TlFor(info, /*takeFirst=*/true)->CreateFirstDevice(info, xmlStrings);
}

ITavixDevice* CTlFactory::CreateDevice(const gcstring& fullName) {
    ITavixDevice* pDevice = nullptr;
    m_Impl->ForEachTl([&](ITransportLayer& tl, const CTlInfo&) {
        pDevice = tl.CreateDevice(fullName);
        return pDevice != nullptr;
    });
    return pDevice;
}

void CTlFactory::DestroyDevice(ITavixDevice* pDevice) {
    if (!pDevice) return;
    // The transport layers are asked rather than the device: they know it by its pointer, be it destroyed already.
    std::exception_ptr refusal;
    std::vector<TlReference> living;
    for (ITransportLayer* pTl : m_Impl->registry.AcquireLiving())
        living.emplace_back(m_Impl->registry, pTl);
    for (const TlReference& tl : living) {
        try {
            return tl->DestroyDevice(pDevice);
        } catch (const GenICam::LogicalErrorException&) {
            refusal = std::current_exception();
        }
    }
    if (refusal) std::rethrow_exception(refusal);
    throw LOGICAL_ERROR_EXCEPTION("Trying to destroy a device although no transport layer is in use.");
}

bool CTlFactory::IsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes,
                                    EDeviceAccessiblityInfo* pAccessInfo) {
    return m_Impl->TlFor(info, /*takeFirst=*/false)->IsDeviceAccessible(info, modes, pAccessInfo);
}

} // namespace Tavix
