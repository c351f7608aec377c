#pragma once
// Tells who wants to know that a camera is gone.

#include "usb/Backend.h"
#include "vexlo/Mutex.h"
#include "vexlo/VxCallback.h"

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <thread>

namespace vexlo {

/// Asked and told on the notifier's thread with no lock held.
class RemovalListener {
public:
    virtual ~RemovalListener() = default;
    /// Whether the bus can only have meant another camera, which was on the same port before.
    virtual bool IsCameraThere() = 0;
    /// Before the application's handlers are called.
    virtual void CameraGone() = 0;
};

/// Collects what buses and transfers report and delivers it on a thread of its own, with no lock held:
///
///   bus says "left"       -> kind 11 --+
///                                      +--> [notices] -> thread -> listener -> handlers of that kind
///   transfer says "gone"  -> kind 12 --+
///
/// Each kind is reported once while a camera is open; each registration is called at most once. Reporting only queues,
/// so it is allowed under any other lock of the library and on any thread of a bus. Thread-safe.
class RemovalNotifier : public std::enable_shared_from_this<RemovalNotifier> {
public:
    using Token = std::uint64_t;

    RemovalNotifier() = default;
    ~RemovalNotifier();
    RemovalNotifier(const RemovalNotifier&) = delete;
    RemovalNotifier& operator=(const RemovalNotifier&) = delete;

    /// Ends the thread after the handler that may be running. Nothing is delivered any more.
    void Stop() TAVIX_EXCLUDES(m_Lock);

    /// From now on removals of this camera are reported, until Unwatch.
    Token Watch(const usb::Backend* bus, const std::string& id, CVxDevice* device,
                std::weak_ptr<RemovalListener> listener) TAVIX_EXCLUDES(m_Lock);
    void Unwatch(Token token) TAVIX_EXCLUDES(m_Lock);

    void BusReportsRemoval(const usb::Backend* bus, const std::string& id) TAVIX_EXCLUDES(m_Lock);
    void TransferReportsRemoval(Token token) TAVIX_EXCLUDES(m_Lock);

    [[nodiscard]] VxStatus Register(const VxCallbackParams& params, unsigned long& handle) TAVIX_EXCLUDES(m_Lock);
    /// Waits for a running call of the handler, except on the notifier's own thread. A registration that somebody has
    /// ended already is not found, and nobody waits for it: its handler may be waiting for locks of the caller.
    [[nodiscard]] VxStatus Deregister(unsigned long handle) TAVIX_EXCLUDES(m_Lock);

private:
    struct Watched {
        const usb::Backend* bus = nullptr;
        std::string id;
        CVxDevice* device = nullptr;
        std::weak_ptr<RemovalListener> listener;
        bool removed = false;  ///< kind 11 was reported
        bool repeated = false; ///< and once more since
        bool lost = false;     ///< kind 12 was reported
    };
    struct Registration {
        VxCallbackParams params{};
        Token token = 0;
        bool delivered = false;
    };
    struct Notice {
        unsigned int kind = 0;
        Token token = 0;
    };

    void Post(Notice notice) TAVIX_REQUIRES(m_Lock);
    void StartThread() TAVIX_REQUIRES(m_Lock);
    void Run() TAVIX_EXCLUDES(m_Lock);
    void Deliver(const Notice& notice) TAVIX_REQUIRES(m_Lock);
    void Withdraw(const Notice& notice) TAVIX_REQUIRES(m_Lock);
    bool CallNext(const Notice& notice) TAVIX_REQUIRES(m_Lock);

    Mutex m_Lock;
    std::condition_variable m_Wake;     ///< notices, or the end
    std::condition_variable m_Returned; ///< a handler has returned
    std::map<Token, Watched> m_Watched TAVIX_GUARDED_BY(m_Lock);
    std::map<unsigned long, Registration> m_Registrations TAVIX_GUARDED_BY(m_Lock);
    std::deque<Notice> m_Notices TAVIX_GUARDED_BY(m_Lock);
    Token m_LastToken TAVIX_GUARDED_BY(m_Lock) = 0;
    unsigned long m_LastHandle TAVIX_GUARDED_BY(m_Lock) = 0;
    unsigned long m_Running TAVIX_GUARDED_BY(m_Lock) = 0; ///< registration whose handler runs now
    bool m_Stopped TAVIX_GUARDED_BY(m_Lock) = false;
    std::thread m_Thread TAVIX_GUARDED_BY(m_Lock);
    std::thread::id m_ThreadId TAVIX_GUARDED_BY(m_Lock);
};

} // namespace vexlo
