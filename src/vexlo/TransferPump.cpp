// The thread that runs the completions of a camera's transfers.
#include "vexlo/TransferPump.h"

#include "vexlo/Logging.h"

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <cstring>
#include <system_error>

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
    const VxStatus status = StartThread();
    if (status != VX_OK) return status;
    const MutexLock lock(m_Lock);
    m_Clients.push_back({&client, priority});
    ApplyPriority();
    m_Handle.WakeEvents();
    return VX_OK;
}

void TransferPump::Detach(PumpClient& client) {
    const MutexLock turnover(m_Turnover);
    MutexLock lock(m_Lock);
    const auto isClient = [&](const Entry& entry) { return entry.client == &client; };
    m_Clients.erase(std::remove_if(m_Clients.begin(), m_Clients.end(), isClient), m_Clients.end());
    while (std::find(m_Busy.begin(), m_Busy.end(), &client) != m_Busy.end())
        lock.Wait(m_Idle);
    if (!m_Clients.empty()) {
        ApplyPriority();
        return;
    }
    lock.Unlock();
    StopThread();
}

VxStatus TransferPump::StartThread() {
    if (m_Thread.joinable()) return VX_OK;
    m_Stop = false;
    try {
        m_Thread = std::thread([this] { Run(); });
        return VX_OK;
    } catch (const std::system_error& error) {
        Log(Tavix::kLogError, "No thread for the transfers: %s", error.what());
        return VX_E_NO_MEMORY;
    }
}

void TransferPump::StopThread() {
    if (!m_Thread.joinable()) return;
    m_Stop = true;
    m_Handle.WakeEvents();
    m_Thread.join();
}

void TransferPump::CameraGone() {
    MutexLock lock(m_Lock);
    const std::vector<Entry> clients = m_Clients;
    for (const Entry& entry : clients) {
        const auto isClient = [&](const Entry& other) { return other.client == entry.client; };
        if (std::none_of(m_Clients.begin(), m_Clients.end(), isClient)) continue;
        m_Busy.push_back(entry.client);
        lock.Unlock();
        entry.client->CameraGone();
        lock.Lock();
        m_Busy.erase(std::find(m_Busy.begin(), m_Busy.end(), entry.client));
        m_Idle.notify_all();
    }
}

void TransferPump::Run() {
    while (!m_Stop) {
        const auto next = ServiceAll();
        m_Handle.HandleEvents(MillisecondsUntil(next));
    }
}

PumpClient::Clock::time_point TransferPump::ServiceAll() {
    auto next = PumpClient::Clock::now() + kLongestTurn;
    for (std::size_t i = 0; CallClient(i, next); ++i) {
    }
    return next;
}

/// False when there is no client of that index.
bool TransferPump::CallClient(std::size_t index, PumpClient::Clock::time_point& next) {
    MutexLock lock(m_Lock);
    if (index >= m_Clients.size()) return false;
    PumpClient* client = m_Clients[index].client;
    m_Busy.push_back(client);
    lock.Unlock();
    next = std::min(next, client->Service());
    lock.Lock();
    m_Busy.erase(std::find(m_Busy.begin(), m_Busy.end(), client));
    m_Idle.notify_all();
    return true;
}

void TransferPump::ApplyPriority() {
    int priority = 0;
    for (const Entry& entry : m_Clients)
        priority = std::max(priority, entry.priority);
    sched_param parameters{};
    parameters.sched_priority = priority;
    const int policy = priority == 0 ? SCHED_OTHER : SCHED_RR;
    const int error = ::pthread_setschedparam(m_Thread.native_handle(), policy, &parameters);
    if (error != 0) Log(Tavix::kLogWarning, "Thread priority %d was refused: %s", priority, std::strerror(error));
}

} // namespace vexlo
