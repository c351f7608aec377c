// An application that opens one camera again and again and streams from it.
#include "Application.h"

#include "integration/support/VirtualBus.h"

#include <GenApi/GenApi.h>

#include <chrono>

namespace mischief {
namespace {

constexpr unsigned int kTimeoutMs = 20;
constexpr unsigned int kLongTimeoutMs = 10000;
constexpr unsigned int kGoodFrames = 20;
constexpr std::chrono::seconds kOpeningLimit(60);

const char* const kWidths[] = {"64", "128", "640", "1280"};
const char* const kTransferSizes[] = {"65536", "262144", "1048576"};

} // namespace

/// One grab with its buffers.
struct Application::Stream {
    Stream(Tavix::IStreamGrabber& wanted, Ledger& ledger, const std::string& camera)
        : grabber(wanted), books(ledger, camera) {}

    Tavix::IStreamGrabber& grabber;
    BufferBooks books;
    std::vector<std::vector<unsigned char>> memory;
    std::vector<Tavix::StreamBufferHandle> handles;
    std::uint64_t good = 0;
    std::uint64_t failed = 0;
};

/// False when the call threw, which is no fault of the library while the camera is disturbed.
template<class Call>
bool Application::Try(const char* doing, Call call) {
    m_Pulse.Beat(doing);
    try {
        call();
        return true;
    } catch (const GenICam::GenericException& error) {
        ++m_Ledger.exceptions;
        if (!m_Disturbed) m_Ledger.Complain(m_Serial, std::string(doing) + ": " + error.GetDescription());
        return false;
    }
}

std::shared_ptr<Tavix::ITavixDevice> Application::Find() {
    Tavix::DeviceInfoList list;
    m_Layer.EnumerateDevices(list);
    Tavix::ITransportLayer* layer = &m_Layer;
    for (const Tavix::CDeviceInfo& info : list)
        if (info.GetSerialNumber() == m_Serial.c_str())
            return {m_Layer.CreateDevice(info), [layer](Tavix::ITavixDevice* each) { layer->DestroyDevice(each); }};
    return nullptr;
}

void Application::RunUntil(const std::atomic<bool>& stop) {
    while (!stop)
        Round();
}

void Application::Round() {
    std::shared_ptr<Tavix::ITavixDevice> device;
    Try("finding the camera", [&] { device = Find(); });
    if (device == nullptr) return;
    std::atomic<int> removals{0};
    auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>([&](Tavix::ITavixDevice*) { ++removals; });
    if (Try("opening", [&] { device->Open(); })) {
        Try("registering for removal", [&] { device->RegisterRemovalCallback(callback); });
        UseOpen(*device);
    }
    Try("closing", [&] { device->Close(); });
    if (removals > 1) m_Ledger.Complain(m_Serial, "removal was told more than once");
    m_Ledger.removals += static_cast<unsigned int>(removals.load());
    m_Pulse.Beat("destroying the device");
    device.reset();
    ++m_Ledger.rounds;
}

void Application::UseOpen(Tavix::ITavixDevice& device) {
    Tavix::IEventGrabber* events = Roll(2) == 0 ? device.GetEventGrabber() : nullptr;
    if (events != nullptr && !Try("opening events", [&] { events->Open(); })) events = nullptr;
    Stream stream(*device.GetStreamGrabber(0), m_Ledger, m_Serial);
    if (Try("opening the stream", [&] { stream.grabber.Open(); })) {
        for (unsigned int grab = 1 + Roll(2); grab != 0; --grab) {
            Prepare(device, stream);
            Consume(stream, Roll(40));
            TakeEvents(events);
            Finish(device, stream);
        }
        Try("closing the stream", [&] { stream.grabber.Close(); });
    }
    if (events != nullptr) Try("closing events", [&] { events->Close(); });
}

void Application::Prepare(Tavix::ITavixDevice& device, Stream& stream) {
    stream.good = stream.failed = 0;
    const unsigned int buffers = 1 + Roll(8);
    std::size_t size = 0;
    const bool ready = Try("preparing", [&] {
        integration::Set(device.GetNodeMap(), "Width", kWidths[Roll(4)]);
        integration::Set(stream.grabber.GetNodeMap(), "MaxTransferSize", kTransferSizes[Roll(3)]);
        size = static_cast<std::size_t>(integration::Integer(device.GetNodeMap(), "PayloadSize"));
        integration::Set(stream.grabber.GetNodeMap(), "MaxNumBuffer", std::to_string(buffers).c_str());
        integration::Set(stream.grabber.GetNodeMap(), "MaxBufferSize", std::to_string(size).c_str());
        stream.grabber.PrepareGrab();
    });
    if (!ready) return;
    stream.memory.assign(buffers, std::vector<unsigned char>(size));
    for (auto& memory : stream.memory) {
        const bool queued = Try("queueing", [&] {
            stream.handles.push_back(stream.grabber.RegisterBuffer(memory.data(), memory.size()));
            stream.grabber.QueueBuffer(stream.handles.back(), &memory);
        });
        if (queued) stream.books.Queued(&memory);
    }
    Try("starting", [&] { integration::Execute(device.GetNodeMap(), "AcquisitionStart"); });
}

void Application::Consume(Stream& stream, unsigned int frames) {
    for (unsigned int i = 0; i < frames; ++i) {
        m_Pulse.Beat("waiting for a frame");
        (void)stream.grabber.GetWaitObject().Wait(kTimeoutMs);
        while (TakeResult(stream, /*requeue=*/Roll(20) != 0)) {
        }
    }
}

bool Application::TakeResult(Stream& stream, bool requeue) {
    Tavix::GrabResult result;
    bool any = false;
    Try("retrieving", [&] { any = stream.grabber.RetrieveResult(result); });
    if (!any) return false;
    stream.books.Returned(result.Context());
    if (result.Succeeded())
        ++m_Ledger.good, ++stream.good;
    else if (result.Status() == Tavix::Canceled)
        ++m_Ledger.cancelled;
    else
        ++m_Ledger.failed, ++stream.failed;
    if (requeue && Try("queueing again", [&] { stream.grabber.QueueBuffer(result.Handle(), result.Context()); }))
        stream.books.Queued(result.Context());
    return true;
}

void Application::TakeEvents(Tavix::IEventGrabber* events) {
    if (events == nullptr) return;
    Tavix::EventResult event;
    bool more = true;
    while (more && Try("retrieving events", [&] { more = events->RetrieveEvent(event); }))
        if (more) ++m_Ledger.events;
}

void Application::Finish(Tavix::ITavixDevice& device, Stream& stream) {
    if (Roll(2) == 0) Try("stopping", [&] { integration::Execute(device.GetNodeMap(), "AcquisitionStop"); });
    Try("cancelling", [&] { stream.grabber.CancelGrab(); });
    // What is still under way comes back in a moment.
    while (stream.books.Outside() != 0) {
        if (TakeResult(stream, /*requeue=*/false)) continue;
        m_Pulse.Beat("waiting for cancelled buffers");
        if (!stream.grabber.GetWaitObject().Wait(kLongTimeoutMs)) break;
    }
    stream.books.Close();
    CompareCounters(stream);
    Try("finishing", [&] { stream.grabber.FinishGrab(); });
    for (auto handle : stream.handles)
        Try("deregistering", [&] { stream.grabber.DeregisterBuffer(handle); });
    stream.handles.clear();
}

/// The stream's own counters tell what came back.
void Application::CompareCounters(Stream& stream) {
    if (stream.handles.empty()) return;
    Try("reading the counters", [&] {
        GenApi::INodeMap* map = stream.grabber.GetNodeMap();
        map->InvalidateNodes();
        const auto total = static_cast<std::uint64_t>(integration::Integer(map, "Statistic_Total_Buffer_Count"));
        const auto failed = static_cast<std::uint64_t>(integration::Integer(map, "Statistic_Failed_Buffer_Count"));
        if (total == stream.good + stream.failed && failed == stream.failed) return;
        m_Ledger.Complain(m_Serial, "counters say " + std::to_string(total) + " buffers, " + std::to_string(failed) +
                                        " failed; there were " + std::to_string(stream.good) + " good and " +
                                        std::to_string(stream.failed) + " failed");
    });
}

void Application::ProveThatAllIsWell() {
    std::shared_ptr<Tavix::ITavixDevice> device;
    // The bus may still list what has left, and be busy with plugging it in.
    const auto isOpen = [&] {
        return Try("finding the camera", [&] { device = Find(); }) && device != nullptr &&
               Try("opening", [&] { device->Open(); });
    };
    for (const auto end = std::chrono::steady_clock::now() + kOpeningLimit;
         !isOpen() && std::chrono::steady_clock::now() < end;)
        Tavix::WaitObject::Sleep(kTimeoutMs);
    if (device == nullptr || !device->IsOpen())
        return m_Ledger.Complain(m_Serial, "the camera cannot be opened any more");
    m_Disturbed = false;
    Stream stream(*device->GetStreamGrabber(0), m_Ledger, m_Serial);
    if (!Try("opening the stream", [&] { stream.grabber.Open(); })) return;
    Prepare(*device, stream);
    while (stream.good < kGoodFrames && stream.failed == 0) {
        m_Pulse.Beat("waiting for a good frame");
        if (!stream.grabber.GetWaitObject().Wait(kLongTimeoutMs)) break;
        while (TakeResult(stream, /*requeue=*/true)) {
        }
    }
    if (stream.good < kGoodFrames || stream.failed != 0)
        m_Ledger.Complain(m_Serial, "only " + std::to_string(stream.good) + " good frames at the end, and " +
                                        std::to_string(stream.failed) + " failed");
    Finish(*device, stream);
    Try("closing the stream", [&] { stream.grabber.Close(); });
    Try("closing", [&] { device->Close(); });
}

} // namespace mischief
