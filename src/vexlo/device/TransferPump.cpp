// The thread that runs the completions of a camera's transfers.
#include "vexlo/device/TransferPump.h"

#include "core/Threads.h"
#include "vexlo/Logging.h"
#include "vexlo/NoThrow.h"

#include <sched.h>

#include <algorithm>
#include <cstring>
#include <exception>

namespace vexlo {
namespace {

constexpr std::chrono::milliseconds kLongestTurn{1000};

unsigned int MillisecondsUntil(PumpClient::Clock::time_point time) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - PumpClient::Clock::now());
    return static_cast<unsigned int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, kLongestTurn.count()));
}

} // namespace

TransferPump::~TransferPump() {
    const MutexLock turnover(m_Turnover);
    StopThread();
}

VxStatus TransferPump::Attach(PumpClient& client, int priority) {
    const MutexLock turnover(m_Turnover);
    try {
        const MutexLock lock(m_Lock);
        m_Clients.reserve(m_Clients.size() + 1);
        StartThread();
        m_Clients.push_back({&client, priority});
        ApplyPriority();
    } catch (...) {
        const VxStatus status = CaughtStatus();
        Log(Tavix::kLogError, "No thread for the transfers: 0x%08X", status);
        return status;
    }
    m_Handle.WakeEvents();
    return VX_OK;
}

void TransferPump::Detach(PumpClient& client) {
    const MutexLock turnover(m_Turnover);
    MutexLock lock(m_Lock);
    const std::size_t index = IndexOf(client); // stays, for nobody else detaches or attaches
    if (index == m_Clients.size()) return;
    m_Clients[index].isLeaving = true;
    while (m_Clients[index].calls != 0)
        lock.Wait(m_Idle);
    m_Clients.erase(m_Clients.begin() + static_cast<std::ptrdiff_t>(index));
    if (!m_Clients.empty()) {
        ApplyPriority();
        return;
    }
    lock.Unlock();
    StopThread();
}

std::size_t TransferPump::IndexOf(const PumpClient& client) const {
    const auto isClient = [&](const Entry& entry) { return entry.client == &client; };
    return static_cast<std::size_t>(std::find_if(m_Clients.begin(), m_Clients.end(), isClient) - m_Clients.begin());
}

void TransferPump::StartThread() {
    if (m_Thread.joinable()) return;
    m_Stop = false;
    m_Thread = Tavix::StartThread([this] { Run(); });
}

void TransferPump::StopThread() {
    if (!m_Thread.joinable()) return;
    m_Stop = true;
    m_Handle.WakeEvents();
    m_Thread.join();
}

/// Calls each client with no lock held. Needs no memory.
template<class Call>
void TransferPump::CallAll(Call call) {
    MutexLock lock(m_Lock);
    for (std::size_t i = 0; i < m_Clients.size(); ++i) {
        PumpClient& client = *m_Clients[i].client;
        if (m_Clients[i].isLeaving) continue;
        ++m_Clients[i].calls;
        lock.Unlock();
        call(client);
        lock.Lock();
        i = IndexOf(client); // one before it may have gone
        --m_Clients[i].calls;
        m_Idle.notify_all();
    }
}

void TransferPump::CameraGone() {
    CallAll([](PumpClient& client) { client.CameraGone(); });
}

void TransferPump::Run() {
    while (!m_Stop) {
        auto next = PumpClient::Clock::now() + kLongestTurn;
        CallAll([&](PumpClient& client) { next = std::min(next, client.Service()); });
        m_Handle.HandleEvents(MillisecondsUntil(next));
    }
}

void TransferPump::ApplyPriority() {
    int priority = 0;
    for (const Entry& entry : m_Clients)
        priority = std::max(priority, entry.priority);
    const int error = Tavix::SetThreadPriority(m_Thread.native_handle(), SCHED_RR, priority);
    if (error != 0) Log(Tavix::kLogWarning, "Thread priority %d was refused: %s", priority, std::strerror(error));
}

} // namespace vexlo
