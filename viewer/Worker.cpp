#include "viewer/Worker.h"
#include "core/Threads.h"

#include <exception>
#include <utility>

#include <pthread.h>

namespace viewer {
namespace {

constexpr std::size_t kMostWaiting = 100;

} // namespace

Worker::Worker(const char* name) : m_Thread(Tavix::StartThread([this] { Run(); })) {
    pthread_setname_np(m_Thread.native_handle(), name);
}

Worker::~Worker() {
    Stop();
}

void Worker::Stop() {
    {
        const Tavix::MutexLock lock(m_Lock);
        m_Stop = true;
        m_Changed.notify_all();
    }
    if (m_Thread.joinable()) m_Thread.join();
}

bool Worker::Post(std::function<void()> task) {
    const Tavix::MutexLock lock(m_Lock);
    if (m_Stop || m_Tasks.size() >= kMostWaiting) return false;
    m_Tasks.push_back(std::move(task));
    m_Changed.notify_all();
    return true;
}

void Worker::Run() {
    Tavix::MutexLock lock(m_Lock);
    while (true) {
        while (!m_Stop && m_Tasks.empty())
            lock.Wait(m_Changed);
        if (m_Stop) return;
        const std::function<void()> task = std::move(m_Tasks.front());
        m_Tasks.pop_front();
        lock.Unlock();
        try {
            task();
        } catch (const std::exception&) { // tasks tell their failures themselves; this one could not even do that
        }
        lock.Lock();
    }
}

} // namespace viewer
