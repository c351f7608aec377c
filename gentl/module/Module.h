#pragma once
// What every module of the producer has: a handle, registers and events.

#include "core/Mutex.h"
#include "gentl/Handles.h"
#include "gentl/TreeMutex.h"
#include "gentl/event/EventQueue.h"

#include <map>
#include <memory>
#include <mutex>
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
class Module : public Object {
public:
    using Object::Object;
    static constexpr Kinds kKinds{Kind::System, Kind::Interface, Kind::Device, Kind::Stream, Kind::RemotePort};

    /// Null when the module has no registers.
    virtual gentl::Port* GetPort() { return nullptr; }

    /// Ends what is below it and its events; its handle is void afterwards. Closing twice is harmless.
    virtual void Close() noexcept TAVIX_REQUIRES(TreeMutex());
    /// The event that was registered, for NOT_IMPLEMENTED when the module never has such ones.
    virtual std::shared_ptr<EventQueue> MakeEvent(EVENT_TYPE type) TAVIX_REQUIRES(TreeMutex());
    void RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* handle) TAVIX_REQUIRES(TreeMutex());
    void UnregisterEvent(EVENT_TYPE type) TAVIX_REQUIRES(TreeMutex());
    /// The last thing before an event goes: whoever feeds it stops.
    virtual void ForgetEvent(EVENT_TYPE) noexcept TAVIX_REQUIRES(TreeMutex()) {}

    /// The registered event of that type, null when nobody registered it.
    std::shared_ptr<EventQueue> Event(EVENT_TYPE type);
    /// Tells of a change of one of the module's features, where that is wanted.
    void Invalidate(const char* feature) noexcept;
    /// Tells of an event of the module, where that is wanted.
    void Tell(std::uint64_t event) noexcept;

private:
    Tavix::Mutex m_EventMutex;
    std::map<EVENT_TYPE, std::shared_ptr<EventQueue>> m_Events TAVIX_GUARDED_BY(m_EventMutex);
};

/// The module, and all that is below it, is closed when the guard dies, unless it was released: for openings that fail.
class CloseGuard {
public:
    explicit CloseGuard(std::shared_ptr<Module> module) : m_Module(std::move(module)) {}
    CloseGuard(const CloseGuard&) = delete;
    CloseGuard& operator=(const CloseGuard&) = delete;
    ~CloseGuard() TAVIX_REQUIRES(TreeMutex()) {
        if (m_Module) m_Module->Close();
    }
    void Release() { m_Module.reset(); }

private:
    std::shared_ptr<Module> m_Module;
};

} // namespace gentl
