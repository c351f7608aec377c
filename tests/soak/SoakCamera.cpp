#include "SoakCamera.h"

#include "integration/support/VirtualBus.h"

#include <cstdio>
#include <stdexcept>
#include <string>

namespace soak {

using integration::ErrorOf;
using integration::Execute;
using integration::Integer;
using integration::Set;

Counts& Counts::operator+=(const Counts& other) {
    for (auto field :
         {&Counts::images, &Counts::failed, &Counts::lost, &Counts::badChecksums, &Counts::badFrameIds, &Counts::events,
          &Counts::lostEvents, &Counts::writes, &Counts::badReads, &Counts::totalBuffers, &Counts::failedBuffers,
          &Counts::missedFrames, &Counts::resyncs, &Counts::totalEvents, &Counts::failedEvents})
        this->*field += other.*field;
    return *this;
}

bool Counts::AddUp(std::uint64_t expectedImages) const {
    const bool nothingLost = failed + lost + lostEvents + failedBuffers + missedFrames + resyncs + failedEvents == 0;
    const bool nothingWrong = badChecksums + badFrameIds + badReads == 0;
    return nothingLost && nothingWrong && writes > 0 && images == expectedImages && totalBuffers == images &&
           events == 2 * images && totalEvents == events;
}

SoakCamera::SoakCamera(std::shared_ptr<Tavix::ITavixDevice> device, const Settings& settings, bool ownChunkMap)
    : m_Device(std::move(device)), m_Stream(*m_Device->GetStreamGrabber(0)) {
    Set(&Features(), "Width", std::to_string(settings.width).c_str());
    Set(&Features(), "Height", std::to_string(settings.height).c_str());
    Set(&Features(), "AcquisitionFrameRateEnable", settings.frameRate ? "1" : "0");
    if (settings.frameRate) Set(&Features(), "AcquisitionFrameRate", std::to_string(settings.frameRate).c_str());
    Set(&Features(), "AcquisitionMode", "MultiFrame");
    Set(&Features(), "AcquisitionMultiFrameCount", std::to_string(settings.frames).c_str());
    EnableChunks();
    if (ownChunkMap) m_Parser = m_OwnParser = m_Device->CreateSelfReliantChunkParser();
    if (!m_Parser) m_Parser = m_Device->CreateChunkParser();
    GenApi::INodeMap& chunks = m_OwnParser ? *m_OwnParser->GetChunkDataNodeMap() : Features();
    m_ChunkFrameId = dynamic_cast<GenApi::IInteger*>(chunks.GetNode("ChunkFrameID"));
    if (!m_ChunkFrameId) throw std::runtime_error("the camera has no ChunkFrameID");
    OpenEvents();
    OpenStream(settings);
}

void SoakCamera::EnableChunks() {
    Set(&Features(), "ChunkModeActive", "1");
    const GenApi::CEnumerationPtr selector(Features().GetNode("ChunkSelector"));
    const GenApi::CBooleanPtr enable(Features().GetNode("ChunkEnable"));
    GenApi::StringList_t names;
    selector->GetSymbolics(names);
    for (const auto& name : names) {
        selector->FromString(name);
        if (GenApi::IsWritable(enable->GetAccessMode())) enable->SetValue(true);
    }
}

void SoakCamera::OpenEvents() {
    m_Events = m_Device->GetEventGrabber();
    Set(m_Events->GetNodeMap(), "NumBuffer", "256"); // room for a thread that is late
    m_Events->Open();
    m_Any.Add(m_Events->GetWaitObject());
    m_Adapter = m_Device->CreateEventAdapter();
    for (const std::string event : {"FrameStart", "ExposureEnd"}) {
        Set(&Features(), "EventSelector", event.c_str());
        Set(&Features(), "EventNotification", "On");
        auto onFrame = [this, next = std::int64_t(0)](GenApi::INode* node) mutable {
            const std::int64_t frame = GenApi::CIntegerPtr(node)->GetValue();
            m_Counts.lostEvents += frame == next ? 0 : 1;
            next = frame + 1;
            ++m_Counts.events;
        };
        m_Callbacks.push_back(GenApi::Register(Features().GetNode(("Event" + event + "FrameID").c_str()), onFrame));
    }
}

void SoakCamera::OpenStream(const Settings& settings) {
    const auto size = static_cast<std::size_t>(Integer(&Features(), "PayloadSize"));
    m_Stream.Open();
    m_Any.Add(m_Stream.GetWaitObject());
    GenApi::CIntegerPtr(m_Stream.GetNodeMap()->GetNode("MaxNumBuffer"))->SetValue(settings.buffers);
    GenApi::CIntegerPtr(m_Stream.GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(static_cast<std::int64_t>(size));
    m_Stream.PrepareGrab();
    m_Memory.resize(settings.buffers, std::vector<std::uint8_t>(size));
    for (auto& memory : m_Memory) {
        m_Handles.push_back(m_Stream.RegisterBuffer(memory.data(), memory.size()));
        m_Stream.QueueBuffer(m_Handles.back());
    }
}

SoakCamera::~SoakCamera() {
    const auto attempt = [](auto step) {
        const std::string error = ErrorOf(step);
        if (!error.empty()) std::fprintf(stderr, "while finishing: %s\n", error.c_str());
    };
    attempt([&] { m_Stream.CancelGrab(); });
    attempt([&] {
        for (Tavix::GrabResult result; m_Stream.RetrieveResult(result);) {
        }
    });
    attempt([&] { m_Stream.FinishGrab(); });
    for (auto handle : m_Handles)
        attempt([&] { m_Stream.DeregisterBuffer(handle); });
    attempt([&] { m_Stream.Close(); });
    for (auto callback : m_Callbacks)
        GenApi::Deregister(callback);
    attempt([&] { m_Events->Close(); });
    attempt([&] { m_Device->DestroyEventAdapter(m_Adapter); });
    if (m_OwnParser) {
        m_OwnParser->Destroy();
    } else {
        attempt([&] { m_Device->DestroyChunkParser(m_Parser); });
    }
    attempt([&] { m_Device->Close(); });
}

void SoakCamera::Start() {
    Execute(&Features(), "AcquisitionStart");
}

bool SoakCamera::Take(unsigned int timeoutMs) {
    if (!m_Any.WaitForAny(timeoutMs)) return false;
    TakeImages();
    TakeEvents();
    return true;
}

void SoakCamera::TakeImages() {
    for (Tavix::GrabResult image; m_Stream.RetrieveResult(image);) {
        if (image.Succeeded()) {
            CheckImage(image);
        } else {
            ++m_Counts.failed;
        }
        m_Stream.QueueBuffer(image.Handle());
    }
    m_Images = m_Counts.images;
}

void SoakCamera::CheckImage(const Tavix::GrabResult& image) {
    ++m_Counts.images;
    m_Counts.lost += image.GetBlockID() - m_NextBlock;
    m_NextBlock = image.GetBlockID() + 1;
    m_Parser->AttachBuffer(image.Buffer(), static_cast<std::int64_t>(image.GetPayloadSize64()));
    if (!m_Parser->HasCRC() || !m_Parser->CheckCRC()) ++m_Counts.badChecksums;
    if (m_ChunkFrameId->GetValue() != static_cast<std::int64_t>(image.GetBlockID())) ++m_Counts.badFrameIds;
    m_Parser->DetachBuffer();
}

void SoakCamera::TakeEvents() {
    for (Tavix::EventResult event; m_Events->RetrieveEvent(event);)
        m_Adapter->DeliverMessage(event.Buffer(), Tavix::EventResult::kBufferSize);
}

void SoakCamera::Write() {
    const GenApi::CFloatPtr exposure(Features().GetNode("ExposureTime"));
    const double wanted = 1000.0 + static_cast<double>(m_Writes++ % 1000);
    exposure->SetValue(wanted);
    if (exposure->GetValue(/*Verify=*/false, /*IgnoreCache=*/true) != wanted) ++m_BadReads;
}

void SoakCamera::Finish() {
    Execute(&Features(), "AcquisitionStop");
    while (Take(1000)) {
    }
    const auto count = [](GenApi::INodeMap* map, const char* name) {
        return static_cast<std::uint64_t>(Integer(map, name));
    };
    GenApi::INodeMap* const stream = m_Stream.GetNodeMap();
    m_Counts.totalBuffers = count(stream, "Statistic_Total_Buffer_Count");
    m_Counts.failedBuffers = count(stream, "Statistic_Failed_Buffer_Count");
    m_Counts.missedFrames = count(stream, "Statistic_Missed_Frame_Count");
    m_Counts.resyncs = count(stream, "Statistic_Resynchronization_Count");
    m_Counts.totalEvents = count(m_Events->GetNodeMap(), "Statistic_Total_Event_Count");
    m_Counts.failedEvents = count(m_Events->GetNodeMap(), "Statistic_Failed_Event_Count");
}

Counts SoakCamera::Result() const {
    Counts counts = m_Counts;
    counts.writes = m_Writes;
    counts.badReads = m_BadReads;
    return counts;
}

} // namespace soak
