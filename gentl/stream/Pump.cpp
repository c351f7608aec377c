#include "gentl/stream/Pump.h"
#include "core/Threads.h"

namespace gentl {

void Pump::Start() {
    m_Ends = false;
    m_Thread = Tavix::StartThread([this] { Run(); });
}

void Pump::Stop() noexcept {
    if (!IsRunning()) return;
    m_Ends = true;
    m_Bell.Signal();
    m_Thread.join();
}

void Pump::Run() noexcept {
    while (!m_Ends) {
        (void)m_Bell.Wait(Tavix::WaitObject::waitForever);
        m_Work();
    }
}

} // namespace gentl
