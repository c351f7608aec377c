#include "grabs/EventPrinter.h"

#include "Error.h"
#include "output/Json.h"
#include "output/Text.h"
#include "output/Values.h"

#include <cstdio>

#include <GenApi/GenApi.h>
#include <tavix/Device.h>
#include <tavix/EventGrabber.h>

namespace tool {
namespace {

constexpr std::size_t kEventIdOffset = 14; // in a message

unsigned int EventId(const Tavix::CameraEvent& event) {
    return event.message.at(kEventIdOffset) | event.message.at(kEventIdOffset + 1) << 8;
}

} // namespace

void EventPrinter::Start(Tavix::Camera& camera) {
    {
        const Tavix::MutexLock guard(m_Mutex);
        m_LastSign = std::chrono::steady_clock::now();
    }
    const auto take = [this](const Tavix::CameraEvent& event) { Take(event); };
    if (m_Options.names.empty()) camera.OnEvent({}, take);
    for (const std::string& name : m_Options.names)
        camera.OnEvent(name, take);
}

bool EventPrinter::HasEnded(std::chrono::milliseconds timeout) {
    if (m_Ended.Wait(static_cast<unsigned int>(timeout.count()))) return true;
    const Tavix::MutexLock guard(m_Mutex);
    const auto silence = std::chrono::steady_clock::now() - m_LastSign;
    if (m_Options.timeoutMs == 0 || silence < std::chrono::milliseconds(m_Options.timeoutMs)) return false;
    m_IsSilent = true;
    End();
    return true;
}

void EventPrinter::NoteDamage(const Tavix::Camera& camera) {
    Tavix::IEventGrabber* const events = camera.Device().GetEventGrabber();
    const GenApi::CIntegerPtr failed(events ? events->GetNodeMap()->GetNode("Statistic_Failed_Event_Count") : nullptr);
    if (!failed || !GenApi::IsReadable(failed->GetAccessMode())) return;
    const std::int64_t count = failed->GetValue();
    const Tavix::MutexLock guard(m_Mutex);
    m_Damaged = count;
}

std::string EventPrinter::SilenceText() const {
    if (m_Damaged > 0) {
        return "no event came whole for " + std::to_string(m_Options.timeoutMs) + " ms, and " +
               std::to_string(m_Damaged) + " failed; check cable and hub, `tavix doctor` helps";
    }
    return "it sent no event for " + std::to_string(m_Options.timeoutMs) + " ms; " +
           (m_Options.grab ? "perhaps it waits for a trigger: add --set TriggerMode=Off"
                           : "most events need a running acquisition: add --grab");
}

std::string EventPrinter::Failure() const {
    const Tavix::MutexLock guard(m_Mutex);
    return m_IsSilent ? SilenceText() : std::string();
}

void EventPrinter::Take(const Tavix::CameraEvent& event) {
    const Tavix::MutexLock guard(m_Mutex);
    m_LastSign = std::chrono::steady_clock::now();
    if (m_Ended.Wait(0)) return;
    Print(event);
    ++m_Count;
    if (IsEnough()) End();
}

void EventPrinter::Print(const Tavix::CameraEvent& event) const {
    const std::string name = event.name.empty() ? "(not described)" : event.name;
    if (m_Options.json) {
        PrintJsonLine({{"event", name}, {"id", EventId(event)}, {"features", ValuesJson(event.values)}});
        return;
    }
    char id[8];
    std::snprintf(id, sizeof id, "0x%04X", EventId(event));
    PrintLineNow(name + " " + id + ": " + ValuesText(event.values));
}

} // namespace tool
