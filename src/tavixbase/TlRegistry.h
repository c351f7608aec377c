#pragma once
// The transport layers of the process: what the libraries offer and what lives.

#include "PluginLibrary.h"

#include "core/Lock.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Tavix {

/// Loads libraries and counts references. Its lock is held while entry functions of libraries run, which serialises
/// them; it is not held while a transport layer works. Thread-safe.
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
    /// was made here and has been destroyed is left alone, with a log line.
    void Release(const ITransportLayer* pTl);

private:
    // A file that was found. It is looked at again only when it has changed.
    struct File {
        std::string stamp;
        std::unique_ptr<PluginLibrary> library; // null after a failure
        std::string failure;
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
    };
    using Failures = std::vector<std::string>;
    using Fits = std::function<bool(const CTlInfo& info)>;

    const PluginLibrary* Load(const std::string& path, Failures& failures) TAVIX_REQUIRES(m_Lock);
    std::vector<Offer> CollectOffers(const std::vector<std::string>& paths, Failures& failures) TAVIX_REQUIRES(m_Lock);
    ITransportLayer* AcquireLivingOne(const Fits& fits) TAVIX_REQUIRES(m_Lock);
    ITransportLayer* AcquireOffer(const std::vector<std::string>& paths, const Fits& fits) TAVIX_REQUIRES(m_Lock);
    ITransportLayer* Make(const Offer& offer) TAVIX_REQUIRES(m_Lock);

    RecursiveLock m_Lock;
    std::map<std::string, File> m_Files TAVIX_GUARDED_BY(m_Lock); // by path
    std::vector<Living> m_Living TAVIX_GUARDED_BY(m_Lock);
    std::set<const ITransportLayer*> m_Destroyed TAVIX_GUARDED_BY(m_Lock); // by address, which another may get
};

} // namespace Tavix
