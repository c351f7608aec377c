#include "grabs/EventListener.h"

#include "Error.h"
#include "output/Json.h"
#include "output/Text.h"

#include <algorithm>
#include <cstdio>

#include <GenApi/GenApi.h>
#include <GenApi/NodeCallback.h>

namespace tool {
namespace {

constexpr std::size_t kEventIdOffset = 14; // in a message
constexpr unsigned int kForever = Tavix::WaitObject::waitForever;

/// The name that the camera's description gives an event is that of the shortest of its features.
std::string EventName(const std::vector<NamedValue>& values) {
    std::string name;
    for (const NamedValue& value : values) {
        if (name.empty() || value.name.size() < name.size()) name = value.name;
    }
    return name.rfind("Event", 0) == 0 ? name.substr(5) : name;
}

unsigned int EventId(const Tavix::EventResult& event) {
    return event.Buffer()[kEventIdOffset] | event.Buffer()[kEventIdOffset + 1] << 8;
}

std::string Joined(const GenApi::StringList_t& names) {
    std::string text;
    for (const auto& name : names)
        text += (text.empty() ? "" : ", ") + Text(name);
    return text;
}

} // namespace

EventListener::~EventListener() {
    m_Stop.Signal();
    if (m_Thread.joinable()) m_Thread.join();
}

void EventListener::Start(Camera& camera) {
    m_Grabber = camera.Device().GetEventGrabber();
    if (!m_Grabber) throw Error(camera.Name() + " has no event channel");
    try {
        m_Grabber->Open();
        m_Adapter = camera.Device().CreateEventAdapter();
        RegisterCallbacks(camera.Features()); // after the adapter, whose making touches the nodes of all events
        SwitchOn(camera.Features());
        m_Thread = std::thread([this] { Run(); });
    } catch (...) {
        Stop(camera);
        throw;
    }
}

void EventListener::SwitchOn(GenApi::INodeMap& features) {
    GenApi::CEnumerationPtr selector(features.GetNode("EventSelector"));
    GenApi::CEnumerationPtr notification(features.GetNode("EventNotification"));
    if (!selector || !notification) throw Error("this camera's description tells of no events");
    GenApi::StringList_t names;
    selector->GetSymbolics(names);
    std::vector<std::string> wanted = m_Options.names;
    if (wanted.empty()) std::transform(names.begin(), names.end(), std::back_inserter(wanted), Text);
    for (const std::string& name : wanted) {
        if (std::find(names.begin(), names.end(), name.c_str()) == names.end()) {
            throw Error("this camera has no event '" + name + "'; it has " + Joined(names));
        }
        selector->FromString(name.c_str());
        const std::string before = Text(notification->ToString());
        notification->FromString("On");
        m_Notifications.push_back({name, before});
    }
}

/// All that is named like a part of an event and cannot be set: the identifier, the time, and whatever else it tells.
void EventListener::RegisterCallbacks(GenApi::INodeMap& features) {
    GenApi::NodeList_t nodes;
    features.GetNodes(nodes);
    for (GenApi::INode* node : nodes) {
        const bool isNamed = node->IsFeature() && Text(node->GetName()).rfind("Event", 0) == 0;
        auto* value = dynamic_cast<GenApi::IValue*>(node);
        if (!isNamed || !value || dynamic_cast<GenApi::ICategory*>(node)) continue;
        if (GenApi::IsWritable(value->GetAccessMode())) continue;
        m_Callbacks.push_back(
            GenApi::Register(node, [this](GenApi::INode* told) { m_Values.push_back(ReadValue(*told)); }));
    }
}

void EventListener::Stop(Camera& camera) {
    m_Stop.Signal();
    if (m_Thread.joinable()) m_Thread.join();
    for (const auto& callback : m_Callbacks)
        GenApi::Deregister(callback);
    m_Callbacks.clear();
    try {
        if (m_Adapter) camera.Device().DestroyEventAdapter(m_Adapter);
        m_Adapter = nullptr;
        if (m_Grabber && m_Grabber->IsOpen()) m_Grabber->Close();
        m_Grabber = nullptr;
        GenApi::CEnumerationPtr selector(camera.Features().GetNode("EventSelector"));
        GenApi::CEnumerationPtr notification(camera.Features().GetNode("EventNotification"));
        for (const Notification& one : m_Notifications) {
            selector->FromString(one.event.c_str());
            notification->FromString(one.before.c_str());
        }
    } catch (...) {
        if (m_Failure.empty()) m_Failure = CaughtReason();
    }
    m_Notifications.clear();
}

void EventListener::Run() {
    try {
        Loop();
    } catch (...) {
        m_Failure = CaughtReason();
    }
    m_HasEnded = true;
    m_Ended.Signal();
}

bool EventListener::IsEnough() const {
    return m_Options.count > 0 && m_Count >= m_Options.count;
}

void EventListener::Loop() {
    Tavix::WaitObjects waits;
    waits.Add(m_Stop);
    waits.Add(m_Grabber->GetWaitObject());
    const unsigned int patience = m_Options.timeoutMs > 0 ? m_Options.timeoutMs : kForever;
    for (unsigned int which = 0; !IsEnough();) {
        if (!waits.WaitForAny(patience, &which)) {
            throw Error("it sent no event for " + std::to_string(patience) + " ms; " +
                        (m_Options.grab ? "perhaps it waits for a trigger: add --set TriggerMode=Off"
                                        : "most events need a running acquisition: add --grab"));
        }
        if (which == 0) return;
        Tavix::EventResult event;
        while (!IsEnough() && m_Grabber->RetrieveEvent(event))
            Deliver(event);
    }
}

void EventListener::Deliver(const Tavix::EventResult& event) {
    if (!event.Succeeded()) throw Error(Text(event.ErrorDescription()));
    m_Values.clear();
    m_Adapter->DeliverMessage(event.Buffer(), Tavix::EventResult::kBufferSize);
    Print(event);
    ++m_Count;
}

void EventListener::Print(const Tavix::EventResult& event) const {
    const std::string name = m_Values.empty() ? "(not described)" : EventName(m_Values);
    if (m_Options.json) {
        PrintJsonLine({{"event", name}, {"id", EventId(event)}, {"features", ValuesJson(m_Values)}});
        return;
    }
    char id[8];
    std::snprintf(id, sizeof id, "0x%04X", EventId(event));
    PrintLineNow(name + " " + id + ": " + ValuesText(m_Values));
}

} // namespace tool
