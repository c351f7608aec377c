#include "tavixbase/TlRegistry.h"

#include "tavixbase/FactoryLog.h"
#include "tavixbase/PluginSearch.h"

#include "tavix/TransportLayer.h"

#include <algorithm>
#include <sys/stat.h>

namespace Tavix {
namespace {

constexpr const char* kFileName = "FileName";

// Changes whenever the file at that path does; empty when there is none.
std::string StampOf(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return {};
    return std::to_string(status.st_dev) + ' ' + std::to_string(status.st_ino) + ' ' + std::to_string(status.st_size) +
           ' ' + std::to_string(status.st_mtim.tv_sec) + ' ' + std::to_string(status.st_mtim.tv_nsec);
}

bool HasDeviceClass(const CTlInfo& info, const gcstring& deviceClass) {
    return info.IsDeviceClassAvailable() && info.GetDeviceClass() == deviceClass;
}

// The files that may hold a transport layer: those found, or the one that is named.
std::vector<std::string> CandidatesFor(const CTlInfo& wanted) {
    gcstring name;
    const bool isNamed = wanted.GetPropertyValue(kFileName, name);
    if (isNamed && name.find('/') != gcstring::npos) return {name.str()};
    std::vector<std::string> paths = plugin::FindPluginFiles(plugin::SearchFolders());
    if (!isNamed) return paths;
    const auto isOther = [&](const std::string& path) { return plugin::FileNameOf(path) != name.view(); };
    paths.erase(std::remove_if(paths.begin(), paths.end(), isOther), paths.end());
    if (paths.empty()) {
        throw RUNTIME_EXCEPTION("Transport layer library '%s': no such file in the folders of TAVIX_TL_PATH or beside "
                                "the SDK's own library",
                                name.c_str());
    }
    return paths;
}

std::string Join(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts)
        joined += (joined.empty() ? "" : "; ") + text;
    return joined;
}

} // namespace

TlInfoList TlRegistry::Enumerate() {
    ScopedLock guard(m_Lock);
    Failures failures;
    TlInfoList infos;
    for (const Offer& offer : CollectOffers(plugin::FindPluginFiles(plugin::SearchFolders()), failures)) {
        infos.push_back(offer.info);
    }
    return infos;
}

ITransportLayer* TlRegistry::Acquire(const CTlInfo& wanted) {
    ScopedLock guard(m_Lock);
    const auto fits = [&](const CTlInfo& info) { return info.IsSubset(wanted); };
    if (ITransportLayer* pLiving = AcquireLivingOne(fits)) return pLiving;

    CTlInfo properties(wanted);
    properties.RemoveProperty(kFileName); // decided by the choice of candidates
    return AcquireOffer(CandidatesFor(wanted), [&](const CTlInfo& info) { return info.IsSubset(properties); });
}

ITransportLayer* TlRegistry::AcquireByName(const gcstring& name) {
    ScopedLock guard(m_Lock);
    const auto fits = [&](const CTlInfo& info) {
        return HasDeviceClass(info, name) || (info.IsFullNameAvailable() && info.GetFullName() == name);
    };
    if (ITransportLayer* pLiving = AcquireLivingOne(fits)) return pLiving;
    return AcquireOffer(CandidatesFor(CTlInfo()), fits);
}

std::vector<ITransportLayer*> TlRegistry::AcquireLiving() {
    ScopedLock guard(m_Lock);
    std::vector<ITransportLayer*> living;
    for (Living& one : m_Living) {
        ++one.furtherReferences;
        living.push_back(one.tl);
    }
    return living;
}

void TlRegistry::Release(const ITransportLayer* pTl) {
    ITransportLayer* const pReleased = const_cast<ITransportLayer*>(pTl);
    ScopedLock guard(m_Lock);
    const auto one =
        std::find_if(m_Living.begin(), m_Living.end(), [&](const Living& living) { return living.tl == pTl; });
    if (one == m_Living.end()) {
        if (m_Made.count(pTl) == 0) {
            pReleased->Release();
        } else {
            LogTrace(FactoryLogCategory(), kLogError,
                     "A transport layer that has been destroyed already was released again");
        }
        return;
    }
    if (one->furtherReferences > 0) {
        --one->furtherReferences;
        return;
    }
    if (pReleased->Release() == 0) Destroy(one);
}

/// Leaves the lock meanwhile.
void TlRegistry::Destroy(LivingList::iterator one) {
    one->destroyer = std::this_thread::get_id();
    m_Dying.splice(m_Dying.end(), m_Living, one);
    m_Lock.unlock();
    try {
        one->library->Destroy(one->tl);
    } catch (const std::exception& e) {
        LogTrace(FactoryLogCategory(), kLogError, "%s", e.what());
    }
    m_Lock.lock();
    m_Dying.erase(one);
    m_Destroyed.notify_all();
}

/// Not for the thread that destroys: it would wait for itself.
bool TlRegistry::IsDestroying(const PluginLibrary& library) const {
    return std::any_of(m_Dying.begin(), m_Dying.end(), [&](const Living& dying) {
        return dying.library == &library && dying.destroyer != std::this_thread::get_id();
    });
}

ITransportLayer* TlRegistry::AcquireLivingOne(const Fits& fits) {
    const auto one =
        std::find_if(m_Living.begin(), m_Living.end(), [&](const Living& living) { return fits(living.info); });
    if (one == m_Living.end()) return nullptr;
    ++one->furtherReferences;
    return one->tl;
}

ITransportLayer* TlRegistry::AcquireOffer(const std::vector<std::string>& paths, const Fits& fits) {
    Failures failures;
    for (const Offer& offer : CollectOffers(paths, failures)) {
        if (fits(offer.info)) return Make(offer);
    }
    if (!failures.empty()) throw RUNTIME_EXCEPTION("%s", Join(failures).c_str());
    return nullptr;
}

ITransportLayer* TlRegistry::Make(const Offer& offer) {
    while (IsDestroying(*offer.library))
        m_Destroyed.wait(m_Lock);
    LivingList made; // before there is a transport layer that could be lost with it
    made.push_back({nullptr, offer.info, offer.library, 0, {}});
    ITransportLayer* const pTl = offer.library->Create(offer.info);
    const auto isIt = [&](const Living& living) { return living.tl == pTl; };
    const auto one = std::find_if(m_Living.begin(), m_Living.end(), isIt);
    if (one != m_Living.end()) { // a library hands out one object for as long as it lives
        ++one->furtherReferences;
        return pTl;
    }
    made.front().tl = pTl;
    try {
        m_Made.insert(pTl);
    } catch (...) {
        offer.library->Destroy(pTl);
        throw;
    }
    m_Living.splice(m_Living.end(), made);
    return pTl;
}

std::vector<TlRegistry::Offer> TlRegistry::CollectOffers(const std::vector<std::string>& paths, Failures& failures) {
    std::vector<Offer> offers;
    const auto isServed = [&](const CTlInfo& info) {
        return std::any_of(offers.begin(), offers.end(), [&](const Offer& offer) {
            return info.IsDeviceClassAvailable() && HasDeviceClass(offer.info, info.GetDeviceClass());
        });
    };
    std::set<std::string_view> usable; // names of files that were found and work
    for (const std::string& path : paths) {
        if (usable.count(plugin::FileNameOf(path)) != 0) continue;
        const PluginLibrary* const pLibrary = Load(path, failures);
        if (!pLibrary) continue;
        try {
            for (const CTlInfo& info : InfosOf(path)) {
                if (!isServed(info)) offers.push_back({info, pLibrary});
            }
            usable.insert(plugin::FileNameOf(path));
        } catch (const GenICam::GenericException& e) {
            LogTrace(FactoryLogCategory(), kLogError, "%s", e.GetDescription());
            failures.push_back(e.GetDescription());
        }
    }
    return offers;
}

const TlInfoList& TlRegistry::InfosOf(const std::string& path) {
    File& file = m_Files[path];
    if (!IsDestroying(*file.library)) file.infos = file.library->GetInfos();
    return file.infos;
}

const PluginLibrary* TlRegistry::Load(const std::string& path, Failures& failures) {
    File& file = m_Files[path];
    if (file.library) return file.library.get();
    const std::string stamp = StampOf(path);
    if (file.failure.empty() || file.stamp != stamp) {
        file.stamp = stamp;
        try {
            file.library = std::make_unique<PluginLibrary>(path);
            return file.library.get();
        } catch (const GenICam::GenericException& e) {
            file.failure = e.GetDescription();
            LogTrace(FactoryLogCategory(), kLogError, "%s", e.GetDescription());
        }
    }
    failures.push_back(file.failure);
    return nullptr;
}

} // namespace Tavix
