#pragma once
// Tells who wants to know that a camera is gone.

#include "usb/Backend.h"
#include "vexlo/Mutex.h"
#include "vexlo/VxCallback.h"

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
/// Each kind is reported once while a camera is open; each registration is called at most once. Reporting only marks
/// (and needs no memory), so it is allowed under any other lock of the library and on any thread of a bus. Thread-safe.
class RemovalNotifier : public std::enable_shared_from_this<RemovalNotifier> {
public:
    using Token = std::uint64_t;

    RemovalNotifier() = default;
    ~RemovalNotifier();
    RemovalNotifier(const RemovalNotifier&) = delete;
    RemovalNotifier& operator=(const RemovalNotifier&) = delete;

    /// Ends the thread. Nothing is delivered any more. A handler that runs now is not waited for: it may be waiting for
    /// something that the caller holds. The thread ends with it.
    void Stop() TAVIX_EXCLUDES(m_Lock);

    /// From now on removals of this camera are reported, until Unwatch.
    Token Watch(const usb::Backend* bus, const std::string& id, CVxDevice* device,
                std::weak_ptr<RemovalListener> listener) TAVIX_EXCLUDES(m_Lock);
    /// The listener is neither asked nor told, nor is a share of it held, once this has returned, except when called on
    /// the notifier's own thread.
    void Unwatch(Token token) TAVIX_EXCLUDES(m_Lock);

    void BusReportsRemoval(const usb::Backend* bus, const std::string& id) TAVIX_EXCLUDES(m_Lock);
    void TransferReportsRemoval(Token token) TAVIX_EXCLUDES(m_Lock);

    [[nodiscard]] VxStatus Register(const VxCallbackParams& params, unsigned long& handle) TAVIX_EXCLUDES(m_Lock);
    /// Waits for a running call of the handler, except on the notifier's own thread. A registration that somebody has
    /// ended already is not found, and nobody waits for it: its handler may be waiting for locks of the caller.
    [[nodiscard]] VxStatus Deregister(unsigned long handle) TAVIX_EXCLUDES(m_Lock);

private:
    /// What is known of one kind of removal.
    struct Report {
        bool isMade = false;       ///< a second one is none
        std::uint64_t pending = 0; ///< its turn among those that are still to be delivered; 0 when it is not
    };
    struct Watched {
        const usb::Backend* bus = nullptr;
        std::string id;
        CVxDevice* device = nullptr;
        std::weak_ptr<RemovalListener> listener;
        Report removed;              ///< kind 11
        bool isRemovedAgain = false; ///< once more since it was reported
        Report lost;                 ///< kind 12

        Report& Of(unsigned int kind) { return kind == VxCallback_DeviceRemoved ? removed : lost; }
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

    void Post(Report& report) TAVIX_REQUIRES(m_Lock);
    void StartThread() TAVIX_REQUIRES(m_Lock);
    void Run() TAVIX_EXCLUDES(m_Lock);
    bool TakeNext(Notice& notice) TAVIX_REQUIRES(m_Lock);
    void Deliver(const Notice& notice) TAVIX_REQUIRES(m_Lock);
    bool IsMistaken(const Notice& notice) TAVIX_REQUIRES(m_Lock);
    void Withdraw(const Notice& notice) TAVIX_REQUIRES(m_Lock);
    bool CallNext(const Notice& notice) TAVIX_REQUIRES(m_Lock);

    Mutex m_Lock;
    std::condition_variable m_Wake;     ///< notices, or the end
    std::condition_variable m_Returned; ///< a handler, or a listener, has returned
    std::map<Token, Watched> m_Watched TAVIX_GUARDED_BY(m_Lock);
    std::map<unsigned long, Registration> m_Registrations TAVIX_GUARDED_BY(m_Lock);
    std::uint64_t m_LastTurn TAVIX_GUARDED_BY(m_Lock) = 0;
    Token m_LastToken TAVIX_GUARDED_BY(m_Lock) = 0;
    unsigned long m_LastHandle TAVIX_GUARDED_BY(m_Lock) = 0;
    unsigned long m_Running TAVIX_GUARDED_BY(m_Lock) = 0; ///< registration whose handler runs now
    Token m_Told TAVIX_GUARDED_BY(m_Lock) = 0;            ///< whose listener is asked or told now
    bool m_Stopped TAVIX_GUARDED_BY(m_Lock) = false;
    std::thread m_Thread TAVIX_GUARDED_BY(m_Lock);
    std::thread::id m_ThreadId TAVIX_GUARDED_BY(m_Lock);
};

} // namespace vexlo
