// Failures of the system itself.
#include "support/usbfs/system/CallFaults.h"

#include <cstdio>
#include <cstring>
#include <utility>

namespace usbfs {
namespace {

const char* NameOf(Call call) {
    constexpr const char* kNames[] = {"open node", "open attribute", "capabilities", "claim", "release",
                                      "driver",    "configuration",  "setting",      "halt",  "reset",
                                      "submit",    "reap",           "discard",      "start", "end"};
    return kNames[static_cast<std::size_t>(call)];
}

} // namespace

std::string ToText(const CallFault& fault) {
    char text[128];
    std::snprintf(text, sizeof text, "%s %02x, call %u: %s%s", NameOf(fault.site.call), fault.site.endpoint,
                  fault.index, ::strerror(fault.error),
                  fault.times == CallFault::kAlways ? ", and all that follow" : "");
    return text;
}

void CallFaults::Count() {
    Arm({});
}

void CallFaults::Arm(CallFault fault) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Counts.clear();
    m_Fault = std::move(fault);
    m_Fired = 0;
}

unsigned int CallFaults::Disarm() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Fault = {};
    return std::exchange(m_Fired, 0u);
}

CallFaults::Counts CallFaults::GetCounts() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Counts;
}

bool CallFaults::IsHit(const CallSite& site, unsigned int index) const {
    return m_Fault.error != 0 && m_Fault.site == site && index >= m_Fault.index &&
           index - m_Fault.index < m_Fault.times;
}

int CallFaults::Next(const CallSite& site) {
    std::function<void()> before;
    int error = 0;
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        if (!IsHit(site, m_Counts[site]++)) return 0;
        ++m_Fired;
        before = m_Fault.before;
        error = m_Fault.error;
    }
    if (before) before();
    return error;
}

} // namespace usbfs
