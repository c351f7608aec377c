#pragma once
// The thread that runs the completions of a camera's transfers.

#include "usb/Backend.h"
#include "vexlo/Mutex.h"
#include "vexlo/Status.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace vexlo {

/// What the pump serves. No operation throws.
class PumpClient {
public:
    using Clock = std::chrono::steady_clock;

    virtual ~PumpClient() = default;
    /// Between two rounds of completions, on the pump's thread with no lock held; may do synchronous transfers. Returns
    /// when it wants to be called next at the latest.
    virtual Clock::time_point Service() = 0;
    /// The bus says that the camera is gone. On any thread, no lock held.
    virtual void CameraGone() = 0;
};

/// One thread a camera, while there are clients. Thread-safe.
class TransferPump {
public:
    /// The handle must outlive the pump.
    explicit TransferPump(usb::Handle& handle) : m_Handle(handle) {}
    ~TransferPump();
    TransferPump(const TransferPump&) = delete;
    TransferPump& operator=(const TransferPump&) = delete;

    /// Serves the client from now on, with a thread of at least its priority (0 ordinary, 1..99 real-time). A
    /// priority that the system refuses is a warning in the log. VX_E_NO_MEMORY when neither thread nor
    /// memory can be had.
    [[nodiscard]] VxStatus Attach(PumpClient& client, int priority) TAVIX_EXCLUDES(m_Turnover, m_Lock);
    /// The client is not called any more after this. All its transfers must have completed. Not from the client's
    /// calls.
    void Detach(PumpClient& client) TAVIX_EXCLUDES(m_Turnover, m_Lock);
    /// Makes the thread call Service soon.
    void Wake() { m_Handle.WakeEvents(); }

    void CameraGone() TAVIX_EXCLUDES(m_Lock);

private:
    struct Entry {
        PumpClient* client = nullptr;
        int priority = 0;
        unsigned int calls = 0; ///< of the client that run now
        bool isLeaving = false; ///< none begins any more
    };

    void Run() TAVIX_EXCLUDES(m_Lock);
    template<class Call>
    void CallAll(Call call) TAVIX_EXCLUDES(m_Lock);
    std::size_t IndexOf(const PumpClient& client) const TAVIX_REQUIRES(m_Lock);
    void ApplyPriority() TAVIX_REQUIRES(m_Turnover, m_Lock);
    void StartThread() TAVIX_REQUIRES(m_Turnover);
    void StopThread() TAVIX_REQUIRES(m_Turnover);

    usb::Handle& m_Handle; // constant after construction
    Mutex m_Turnover;      ///< attaching and detaching; taken before m_Lock
    std::thread m_Thread TAVIX_GUARDED_BY(m_Turnover);

    Mutex m_Lock;
    std::condition_variable m_Idle; ///< a call of a client has ended
    std::vector<Entry> m_Clients TAVIX_GUARDED_BY(m_Lock);
    std::atomic<bool> m_Stop{false}; // set before the wake-up that makes the thread look at it
};

} // namespace vexlo
