#pragma once
// What every module of the producer has: a handle, registers and events.

#include "core/Mutex.h"
#include "gentl/Branch.h"
#include "gentl/event/EventQueue.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace gentl {

/// Registers that a consumer reads and writes. Thread-safe.
class Port {
public:
    virtual ~Port() = default;
    /// `size` becomes what was read. Throws Failure.
    virtual void Read(std::uint64_t address, void* buffer, size_t& size) = 0;
    virtual void Write(std::uint64_t address, const void* buffer, size_t& size) = 0;
    /// Several at once, in order; `done` counts those that succeeded, also when it throws.
    virtual void ReadStacked(PORT_REGISTER_STACK_ENTRY* entries, size_t count, size_t& done);
    virtual void WriteStacked(PORT_REGISTER_STACK_ENTRY* entries, size_t count, size_t& done);

    /// What is known of one description.
    struct Url {
        std::string text;
        std::string fileName;
        std::uint64_t address = 0;
        std::uint64_t size = 0;
        int32_t schemaMajor = 1, schemaMinor = 1;
        int32_t fileMajor = 1, fileMinor = 0, fileSubMinor = 0;
        std::vector<std::uint8_t> sha1; ///< empty when unknown
    };
    virtual std::vector<Url> Urls() = 0;

    struct Identity {
        std::string id, vendor, model;
        const char* module = "";
        bool isReadable = true;
        bool isWritable = true;
        bool isAvailable = true;
    };
    virtual Identity Identify() = 0;
    /// Apart from the rest, since a camera has to be asked for it.
    virtual std::string Version() = 0;
};

/// Thread-safe.
class Module : public Branch {
public:
    using Branch::Branch;
    static constexpr Kinds kKinds{Kind::System, Kind::Interface, Kind::Device, Kind::Stream, Kind::RemotePort};

    /// Null when the module has no registers.
    virtual gentl::Port* GetPort() { return nullptr; }

    /// An event that is not open yet, for NOT_IMPLEMENTED when the module never has such ones.
    virtual std::shared_ptr<EventQueue> MakeEvent(EVENT_TYPE type);
    /// RESOURCE_IN_USE while it is registered, or while that is begun or ended. INVALID_HANDLE when the module was
    /// closed meanwhile.
    void RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* handle) TAVIX_EXCLUDES(TreeMutex());
    void UnregisterEvent(EVENT_TYPE type) TAVIX_EXCLUDES(TreeMutex());

    /// The event of that type, also while it is being registered or unregistered; null when there is none.
    std::shared_ptr<EventQueue> Event(EVENT_TYPE type);
    /// Tells of a change of one of the module's features, where that is wanted.
    void Invalidate(const char* feature) noexcept;
    /// Tells of an event of the module, where that is wanted.
    void Tell(std::uint64_t event) noexcept;

protected:
    // Of its events; heirs do the same for what else is below them.
    void DoLeave() noexcept override TAVIX_REQUIRES(TreeMutex());
    void DoEnd() noexcept override TAVIX_EXCLUDES(TreeMutex());

    /// Ends all that `first`, called with TreeMutex() held, finds one after the other; each of them has left, and is
    /// found no more when it has ended.
    template<class First>
    static void EndAll(First first) noexcept TAVIX_EXCLUDES(TreeMutex()) {
        for (;;) {
            Tavix::MutexLock tree(TreeMutex());
            const auto next = first();
            tree.Unlock();
            if (!next) return;
            next->End();
        }
    }

private:
    void Forget(EVENT_TYPE type, const EventQueue& event) noexcept;

    Tavix::Mutex m_EventMutex;
    std::map<EVENT_TYPE, std::shared_ptr<EventQueue>> m_Events TAVIX_GUARDED_BY(m_EventMutex);
};

} // namespace gentl
