#include "camera/event/EventPump.h"

#include "camera/CameraLog.h"
#include "camera/Failure.h"
#include "camera/feature/FeatureSource.h"
#include "camera/image/ChunkReader.h"
#include "core/Threads.h"

#include <tavix/Device.h>
#include <tavix/camera/Error.h>

#include <GenApi/GenApi.h>
#include <GenApi/NodeCallback.h>
#include <GenApi/Synch/Lock.h>

#include <algorithm>

namespace Tavix::detail {
namespace {

/// Sets the notification of an event and leaves the selector as it was. Returns what the notification was.
std::string Notify(GenApi::INodeMap& nodes, const std::string& event, const std::string& notification) {
    const GenApi::AutoLock lock(nodes.GetLock());
    const GenApi::CEnumerationPtr selector(nodes.GetNode("EventSelector"));
    const GenApi::CEnumerationPtr value(nodes.GetNode("EventNotification"));
    const GenICam::gcstring before = selector->ToString();
    selector->FromString(event.c_str());
    const std::string former = Text(value->ToString());
    value->FromString(notification.c_str());
    selector->FromString(before);
    return former;
}

} // namespace

EventPump::EventPump(std::shared_ptr<OpenDevice> device, std::function<void(const CameraEvent&)> listener)
    : m_Device(std::move(device)), m_Listener(std::move(listener)) {
    m_Grabber = m_Device->Device().GetEventGrabber();
    const GenApi::CEnumerationPtr selector(m_Device->Nodes().GetNode("EventSelector"));
    const GenApi::CEnumerationPtr notification(m_Device->Nodes().GetNode("EventNotification"));
    if (!m_Grabber || !selector || !notification) throw Error(m_Device->Name() + " has no events");
    GenApi::StringList_t names;
    selector->GetSymbolics(names);
    for (const auto& name : names)
        m_EventNames.push_back(Text(name));
    try {
        m_Grabber->Open();
        m_Adapter = m_Device->Device().CreateEventAdapter();
        RegisterCallbacks(); // after the adapter, whose making touches the nodes of all events
    } catch (...) {
        Retreat();
        throw;
    }
}

std::shared_ptr<EventPump> EventPump::Start(std::shared_ptr<OpenDevice> device,
                                            std::function<void(const CameraEvent&)> listener) {
    const std::shared_ptr<EventPump> pump(new EventPump(std::move(device), std::move(listener)));
    try {
        pump->m_Thread = StartThread([pump] { pump->Run(); });
    } catch (...) {
        pump->Retreat();
        throw;
    }
    return pump;
}

// On its own thread at the end of that where nobody joins it, since one of its callbacks destroyed the camera.
EventPump::~EventPump() {
    if (m_Thread.joinable()) m_Thread.detach();
}

void EventPump::Retreat() noexcept {
    for (const Notification& one : m_SwitchedOn)
        Attempt("Switching an event off", [&] { Notify(m_Device->Nodes(), one.event, one.before); });
    for (const std::intptr_t callback : m_Callbacks)
        Attempt("Deregistering an event", [&] { GenApi::Deregister(callback); });
    if (m_Adapter) Attempt("Destroying an event adapter", [&] { m_Device->Device().DestroyEventAdapter(m_Adapter); });
    Attempt("Closing an event grabber", [&] {
        if (m_Grabber->IsOpen()) m_Grabber->Close();
    });
}

void EventPump::RequireEvent(const std::string& event) const {
    if (std::find(m_EventNames.begin(), m_EventNames.end(), event) != m_EventNames.end()) return;
    std::string text = m_Device->Name() + " has no event '" + event + "'; it has ";
    for (std::size_t i = 0; i < m_EventNames.size(); ++i)
        text += (i > 0 ? ", " : "") + m_EventNames[i];
    throw NotFound(text, event, NearestNames(event, m_EventNames));
}

void EventPump::SwitchOn(const std::string& event) {
    if (event.empty()) {
        for (const std::string& each : m_EventNames)
            SwitchOn(each);
        return;
    }
    RequireEvent(event);
    const auto isThis = [&](const Notification& one) { return one.event == event; };
    if (std::any_of(m_SwitchedOn.begin(), m_SwitchedOn.end(), isThis)) return;
    m_SwitchedOn.push_back({event, Notify(m_Device->Nodes(), event, "On")});
}

/// All that is named like a part of an event and cannot be set: the identifier, the time, and whatever else it tells.
void EventPump::RegisterCallbacks() {
    GenApi::NodeList_t nodes;
    m_Device->Nodes().GetNodes(nodes);
    for (GenApi::INode* node : nodes) {
        if (!node->IsFeature() || EventOf(Text(node->GetName())).empty() || !dynamic_cast<GenApi::IValue*>(node))
            continue;
        if (node->GetPrincipalInterfaceType() == GenApi::intfICategory) continue;
        if (GenApi::IsWritable(node->GetAccessMode())) continue;
        m_Callbacks.push_back(GenApi::Register(node, [this](GenApi::INode* told) { Collect(*told); }));
    }
}

/// The event that a feature belongs to; of several whose names it begins with, the longest.
std::string EventPump::EventOf(const std::string& feature) const {
    std::string event;
    for (const std::string& name : m_EventNames) {
        if (feature.rfind("Event" + name, 0) == 0 && name.size() > event.size()) event = name;
    }
    return event;
}

/// Runs under the node map's lock, in the order of the message's events.
void EventPump::Collect(GenApi::INode& node) {
    if (m_Delivering.load() != std::this_thread::get_id()) return; // the map was only invalidated
    const std::string feature = Text(node.GetName()), event = EventOf(feature);
    const bool isNew = m_Events.empty() || m_Events.back().name != event || m_Events.back().values.count(feature) > 0;
    if (isNew) {
        m_Events.emplace_back();
        m_Events.back().name = event;
        m_Events.back().arrival = std::chrono::steady_clock::now();
    }
    Attempt("Reading an event", [&] { m_Events.back().values.emplace(feature, ReadNode(node)); });
}

void EventPump::Run() noexcept {
    Attempt("Receiving events", [this] {
        WaitObjects events;
        events.Add(m_Stop);
        events.Add(m_Grabber->GetWaitObject());
        for (unsigned int which = 0; events.WaitForAny(WaitObject::waitForever, &which) && which != 0;)
            Drain();
    });
    m_Stop.Wait(WaitObject::waitForever); // those who ask it for more need the device, even if the channel has failed
    Retreat();
    m_Device.reset();
}

void EventPump::Drain() {
    EventResult message;
    while (m_Grabber->RetrieveEvent(message)) {
        if (message.Succeeded()) {
            Attempt("Delivering an event", [&] { Deliver(message); });
        } else {
            LogTrace(LogCategoryCamera(), kLogWarning, "An event of '%s' failed: %s", m_Device->Name().c_str(),
                     message.ErrorDescription().c_str());
            if (m_Device->GetRemoval().HasHappened()) return;
        }
        if (m_Stop.Wait(0)) return;
    }
}

void EventPump::Deliver(const EventResult& message) {
    m_Events.clear();
    m_Delivering = std::this_thread::get_id();
    Attempt("Reading an event message", [&] { m_Adapter->DeliverMessage(message.Buffer(), EventResult::kBufferSize); });
    m_Delivering = std::thread::id();
    if (m_Events.empty()) m_Events.emplace_back(); // the description does not know it
    for (CameraEvent& event : m_Events) {
        event.message.assign(message.Buffer(), message.Buffer() + EventResult::kBufferSize);
        if (event.name.empty()) event.arrival = std::chrono::steady_clock::now();
        const SignalsAsStarted guard;
        m_Listener(event);
        if (m_Stop.Wait(0)) return;
    }
}

} // namespace Tavix::detail
