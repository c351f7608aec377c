#pragma once
// The transport layers of the process: what the libraries offer and what lives.

#include "tavixbase/PluginLibrary.h"

#include "core/Lock.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace Tavix {

/// Loads libraries and counts references. Its lock is held while libraries are asked what they offer and make transport
/// layers, which serialises these entry functions. It is held neither while a transport layer works nor while one is
/// destroyed, because that may end threads which come back to the factory. Meanwhile its library is asked nothing: what
/// it offers is known, and who wants it to make another one waits. Thread-safe.
///
/// A transport layer counts its own references: one for its maker, one for each device. Its interface can only give
/// references back, so the ones that are added by asking for it again are counted here and used up first. It is
/// destroyed when both counts have reached zero.
class TlRegistry {
public:
    TlRegistry() = default;
    TlRegistry(const TlRegistry&) = delete;
    TlRegistry& operator=(const TlRegistry&) = delete;

    /// What all libraries offer. Of several transport layers for one device class the first is taken. Libraries that
    /// fail are logged and left out.
    TlInfoList Enumerate();

    /// The first transport layer whose info has all properties of `wanted`, with one more reference. The property
    /// "FileName" may be a path or a bare name. Null when there is none; RuntimeException when there is none but a
    /// library that might offer it fails, or when it fails itself.
    ITransportLayer* Acquire(const CTlInfo& wanted);
    /// The same for a device class or full name.
    ITransportLayer* AcquireByName(const gcstring& name);

    /// All that live, each with one more reference.
    std::vector<ITransportLayer*> AcquireLiving();

    /// Gives one reference back. Of a transport layer that was not made here only its own count is lowered. One that
    /// was made here and has been destroyed is left alone, with a log line. Throws nothing and needs no memory.
    void Release(const ITransportLayer* pTl);

private:
    // A file that was found. It is looked at again only when it has changed.
    struct File {
        std::string stamp;
        std::unique_ptr<PluginLibrary> library; // null after a failure
        std::string failure;
        TlInfoList infos; // as the library told them last
    };
    struct Offer {
        CTlInfo info;
        const PluginLibrary* library; // borrowed; lives as long as the registry
    };
    struct Living {
        ITransportLayer* tl; // owned
        CTlInfo info;
        const PluginLibrary* library;    // borrowed
        std::uint64_t furtherReferences; // on top of those that it counts itself
        std::thread::id destroyer;       // once it is in m_Dying
    };
    using LivingList = std::list<Living>;
    using Failures = std::vector<std::string>;
    using Fits = std::function<bool(const CTlInfo& info)>;

    const PluginLibrary* Load(const std::string& path, Failures& failures) TAVIX_REQUIRES(m_Lock);
    const TlInfoList& InfosOf(const std::string& path) TAVIX_REQUIRES(m_Lock);
    bool IsDestroying(const PluginLibrary& library) const TAVIX_REQUIRES(m_Lock);
    void Destroy(LivingList::iterator one) TAVIX_REQUIRES(m_Lock);
    std::vector<Offer> CollectOffers(const std::vector<std::string>& paths, Failures& failures) TAVIX_REQUIRES(m_Lock);
    ITransportLayer* AcquireLivingOne(const Fits& fits) TAVIX_REQUIRES(m_Lock);
    ITransportLayer* AcquireOffer(const std::vector<std::string>& paths, const Fits& fits) TAVIX_REQUIRES(m_Lock);
    ITransportLayer* Make(const Offer& offer) TAVIX_REQUIRES(m_Lock);

    RecursiveLock m_Lock;
    std::map<std::string, File> m_Files TAVIX_GUARDED_BY(m_Lock); // by path
    LivingList m_Living TAVIX_GUARDED_BY(m_Lock);
    LivingList m_Dying TAVIX_GUARDED_BY(m_Lock);                      // their libraries destroy them at this moment
    std::set<const ITransportLayer*> m_Made TAVIX_GUARDED_BY(m_Lock); // all ever, by address, which another may get
    std::condition_variable_any m_Destroyed;                          // m_Dying has lost one
};

} // namespace Tavix
