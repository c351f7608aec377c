#include "grabs/GrabSession.h"

#include "Error.h"
#include "doctor/Examination.h"
#include "features/Features.h"
#include "grabs/ImageSize.h"
#include "output/Text.h"

#include <algorithm>

#include <GenApi/GenApi.h>

namespace tool {
namespace {

constexpr unsigned int kRemovalPatienceMs = 500; // how long a notice of removal may lag behind the failures it causes
constexpr std::uint64_t kUnknown = ~std::uint64_t(0);

void SetInteger(GenApi::INodeMap& map, const char* name, std::int64_t value) {
    GenApi::CIntegerPtr node(map.GetNode(name));
    if (node.IsValid()) node->SetValue(value);
}

void Execute(GenApi::INodeMap& map, const char* name) {
    GenApi::CCommandPtr command(map.GetNode(name));
    if (!command.IsValid()) throw Error(std::string("it has no feature ") + name + ", so it cannot be grabbed from");
    command->Execute();
}

/// Empty when the camera does not tell.
std::string PixelFormatName(GenApi::INodeMap& map) {
    GenApi::CEnumerationPtr format(map.GetNode("PixelFormat"));
    return format && GenApi::IsReadable(format->GetAccessMode()) ? Printable(Text(format->ToString())) : std::string();
}

} // namespace

GrabSession::GrabSession(const Tavix::CDeviceInfo& info, const GrabOptions& options, FrameObserver* observer)
    : m_Info(info), m_Options(options), m_Name(Printable(Text(info.GetFriendlyName()))), m_Observer(observer),
      m_Alarm(std::make_shared<Alarm>()) {}

/// Shows the session its camera while that is open.
class GrabSession::Shown {
public:
    Shown(GrabSession& session, Camera& camera) : m_Session(session) { Show(&camera); }
    ~Shown() { Show(nullptr); }
    Shown(const Shown&) = delete;
    Shown& operator=(const Shown&) = delete;

private:
    void Show(Camera* camera) {
        const std::lock_guard<std::mutex> lock(m_Session.m_CameraLock);
        m_Session.m_Camera = camera;
    }

    GrabSession& m_Session;
};

void GrabSession::Stop() {
    m_Alarm->Ring(m_Alarm->isStopped);
}

void GrabSession::StopCamera() {
    const std::lock_guard<std::mutex> lock(m_CameraLock);
    if (!m_Camera) return;
    try {
        Execute(m_Camera->Features(), "AcquisitionStop");
    } catch (const std::exception&) {
        return; // it was tried; the end of the program takes the bus from the camera in any case
    }
}

void GrabSession::Run() {
    {
        Camera camera(m_Info);
        const Shown shown(*this, camera);
        Grab(camera);
    }
    m_Slots.clear(); // only now: whatever failed above, a closed camera writes to no buffer
    ThrowFailure();
}

void GrabSession::Grab(Camera& camera) {
    m_Writer = std::make_unique<ImageWriter>(ImageNames(m_ImagePrefix, m_Options.overwrite), m_Options.format);
    Attempt([&] {
        Prepare(camera);
        Loop(camera);
    });
    if (m_Alarm->isStopped) m_Writer->Abandon();
    Attempt([&] { m_Writer->Finish(); }); // it holds buffers: they come back before the grab is finished
    m_Figures.images = m_Writer->Written();
    m_Figures.unconverted = m_Writer->Unconverted();
    m_Writer.reset();
    // What fails may fail because the camera has gone, and the notice of that is a better text.
    if (!m_Failure.empty() && !m_Alarm->isStopped) AwaitRemovalNotice();
    if (m_Observer) Attempt([&] { m_Observer->OnEnd(camera); });
    Finish(camera);
}

/// The bell may still ring for something else, a buffer that could not be queued, for instance.
void GrabSession::AwaitRemovalNotice() {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(kRemovalPatienceMs);
    for (auto now = Clock::now(); !m_Alarm->isUnplugged && now < end; now = Clock::now()) {
        m_Alarm->bell.Reset();
        if (m_Alarm->isUnplugged) return; // it came before the bell was silenced
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - now).count() + 1;
        (void)m_Alarm->bell.Wait(static_cast<unsigned int>(left));
    }
}

template<class Step>
void GrabSession::Attempt(Step step) {
    try {
        step();
    } catch (...) {
        if (m_Failure.empty()) m_Failure = CaughtReason();
    }
}

void GrabSession::ThrowFailure() const {
    if (m_Alarm->isUnplugged) {
        throw Error(m_Name + " was unplugged during the grab, after " + std::to_string(m_Figures.good) +
                    " good frames; plug it in again");
    }
    if (!m_Failure.empty()) throw Error(m_Name + ": " + m_Failure);
}

void GrabSession::Prepare(Camera& camera) {
    const std::shared_ptr<Alarm> alarm = m_Alarm;
    auto onRemoval =
        Tavix::MakeCallback<Tavix::ITavixDevice*>([alarm](Tavix::ITavixDevice*) { alarm->Ring(alarm->isUnplugged); });
    m_RemovalCallback = camera.Device().RegisterRemovalCallback(onRemoval);
    if (m_Options.checkChunks) EnableAllChunks(camera.Features());
    for (const std::string& setting : m_Options.settings)
        ApplySetting(camera.Features(), setting);

    m_PixelFormat = PixelFormatName(camera.Features());
    const std::uint64_t size = ImageSize(camera.Features());
    RequireMemory(size, m_Options.buffers, m_Options.memoryMegabytes);
    m_Grabber = camera.Device().GetStreamGrabber(0);
    m_Grabber->Open();
    SetInteger(*m_Grabber->GetNodeMap(), "MaxNumBuffer", m_Options.buffers);
    SetInteger(*m_Grabber->GetNodeMap(), "MaxBufferSize", static_cast<std::int64_t>(size));
    if (m_Options.transferSize > 0)
        SetInteger(*m_Grabber->GetNodeMap(), "MaxTransferSize", static_cast<std::int64_t>(m_Options.transferSize));
    m_Grabber->PrepareGrab();
    QueueBuffers(static_cast<std::size_t>(size));
    if (m_Options.checkChunks) m_Parser = camera.Device().CreateChunkParser();
    if (m_Observer) m_Observer->OnReady(camera);
}

void GrabSession::QueueBuffers(std::size_t size) {
    for (unsigned int i = 0; i < m_Options.buffers && !m_Alarm->isStopped; ++i) { // thousands take a while
        auto slot = std::make_unique<Slot>();
        slot->memory.reset(new std::uint8_t[size]);
        slot->size = size;
        slot->handle = m_Grabber->RegisterBuffer(slot->memory.get(), size);
        m_Slots.push_back(std::move(slot));
        m_Grabber->QueueBuffer(m_Slots.back()->handle, m_Slots.back().get());
    }
}

bool GrabSession::WantsMore() const {
    if (m_Alarm->isStopped || m_Alarm->isUnplugged || m_Alarm->isBroken || m_Writer->HasFailed()) return false;
    return m_Figures.good + m_Figures.failed < m_Options.frames;
}

void GrabSession::Loop(Camera& camera) {
    Execute(camera.Features(), "AcquisitionStart");
    Tavix::WaitObjects events;
    events.Add(m_Grabber->GetWaitObject());
    events.Add(m_Alarm->bell);
    while (WantsMore()) {
        if (!events.WaitForAny(m_Options.timeoutMs)) throw Error(SilenceText(camera));
        Tavix::GrabResult result;
        while (WantsMore() && m_Grabber->RetrieveResult(result))
            Handle(result);
    }
    m_Figures.seconds = std::chrono::duration<double>(m_Last - m_First).count();
    if (m_Alarm->isBroken) throw Error("a buffer could not be queued any more");
    if (!m_Alarm->isUnplugged) Execute(camera.Features(), "AcquisitionStop");
}

std::string GrabSession::SilenceText(Camera& camera) const {
    const std::string silence = "it sent no image for " + std::to_string(m_Options.timeoutMs) + " ms; ";
    GenApi::CEnumerationPtr mode(camera.Features().GetNode("TriggerMode"));
    const bool waits = mode && GenApi::IsReadable(mode->GetAccessMode()) && Text(mode->ToString()) == "On";
    const bool hasNone = m_Figures.good + m_Figures.failed == 0;
    return silence + (waits ? "it waits for a trigger: send one, or add --set TriggerMode=Off"
                            : "check exposure time, frame rate and cable, wait longer with --timeout, or try "
                              "--transfer-size 65536" +
                                  (hasNone ? std::string("; if memory for transfers is short: ") + kRaiseTransferMemory
                                           : std::string()));
}

void GrabSession::Handle(const Tavix::GrabResult& result) {
    Slot& slot = *static_cast<Slot*>(const_cast<void*>(result.Context()));
    if (!result.Succeeded()) {
        ++m_Figures.failed;
        ++m_FailedSinceGood;
        if (m_Figures.firstError.empty()) m_Figures.firstError = Printable(Text(result.GetErrorDescription()));
        Requeue(slot);
        return;
    }
    const bool isWanted = !m_ImagePrefix.empty() && m_Figures.good % m_Options.every == 0;
    Count(result);
    const ChunkCheck check = AttachChunks(result);
    CountChunks(check);
    if (m_Observer) m_Observer->OnFrame(result, check);
    if (check != ChunkCheck::NotAsked && check != ChunkCheck::Damaged) m_Parser->DetachBuffer();
    if (isWanted) {
        Save(result);
    } else {
        Requeue(slot);
    }
}

void GrabSession::Count(const Tavix::GrabResult& result) {
    const std::uint64_t expected = m_LastBlockId + 1 + m_FailedSinceGood; // failed buffers are counted as such
    if (m_LastBlockId != kUnknown && result.GetBlockID() > expected) m_Figures.missed += result.GetBlockID() - expected;
    m_LastBlockId = result.GetBlockID();
    m_FailedSinceGood = 0;
    m_Last = std::chrono::steady_clock::now();
    if (m_Figures.good == 0) m_First = m_Last;
    ++m_Figures.good;
    if (result.GetPayloadSize64() != kUnknown) m_Figures.bytes += result.GetPayloadSize64();
}

/// The buffer stays attached unless its chunks are damaged.
ChunkCheck GrabSession::AttachChunks(const Tavix::GrabResult& result) {
    if (!m_Parser) return ChunkCheck::NotAsked;
    try {
        m_Parser->AttachBuffer(result.Buffer(), static_cast<std::int64_t>(result.GetPayloadSize64()));
    } catch (const GenICam::GenericException&) {
        return ChunkCheck::Damaged;
    }
    if (!m_Parser->HasCRC()) return ChunkCheck::Missing;
    return m_Parser->CheckCRC() ? ChunkCheck::Right : ChunkCheck::Wrong;
}

void GrabSession::CountChunks(ChunkCheck check) {
    if (check == ChunkCheck::Right) ++m_Figures.checksumRight;
    if (check == ChunkCheck::Wrong) ++m_Figures.checksumWrong;
    if (check == ChunkCheck::Missing || check == ChunkCheck::Damaged) ++m_Figures.checksumMissing;
}

void GrabSession::Save(const Tavix::GrabResult& result) {
    Slot& slot = *static_cast<Slot*>(const_cast<void*>(result.Context()));
    ImageWriter::Job job;
    job.facts = {m_Name, m_PixelFormat, result.GetBlockID(), result.GetTimeStamp()};
    job.view.data = slot.memory.get();
    job.view.size = std::min<std::size_t>(slot.size, result.GetPayloadSize64());
    job.view.pixelFormat = static_cast<std::uint32_t>(result.GetPixelType());
    job.view.width = static_cast<std::uint32_t>(std::max(0, result.GetSizeX()));
    job.view.height = static_cast<std::uint32_t>(std::max(0, result.GetSizeY()));
    job.view.paddingX = static_cast<std::uint32_t>(std::max(0, result.GetPaddingX()));
    job.done = [this, &slot] { Requeue(slot); };
    m_Writer->Write(std::move(job));
}

void GrabSession::Requeue(Slot& slot) {
    try {
        m_Grabber->QueueBuffer(slot.handle, &slot);
    } catch (const std::exception&) {
        m_Alarm->Ring(m_Alarm->isBroken); // most likely the camera has gone; the loop ends and says so
    }
}

void GrabSession::Finish(Camera& camera) {
    if (m_Parser) Attempt([&] { camera.Device().DestroyChunkParser(m_Parser); });
    m_Parser = nullptr;
    if (m_Grabber && m_Grabber->IsOpen()) {
        Attempt([&] { m_Grabber->CancelGrab(); });
        Attempt([&] {
            Tavix::GrabResult result;
            while (m_Grabber->RetrieveResult(result)) {
            }
        });
        Attempt([&] { m_Grabber->FinishGrab(); });
        for (auto& slot : m_Slots) {
            Attempt([&] { m_Grabber->DeregisterBuffer(slot->handle); });
        }
        Attempt([&] { m_Grabber->Close(); });
    }
    if (m_RemovalCallback) Attempt([&] { camera.Device().DeregisterRemovalCallback(m_RemovalCallback); });
    m_RemovalCallback = nullptr;
}

} // namespace tool
