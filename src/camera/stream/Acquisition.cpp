#include "camera/stream/Acquisition.h"

#include "camera/image/ChunkReader.h"

#include <tavix/Device.h>
#include <tavix/camera/Error.h>

#include <algorithm>

namespace Tavix::detail {
namespace {

using Clock = std::chrono::steady_clock;

/// What a camera that has gone had sent before is completed by then; usually it is at once.
constexpr unsigned int kRestTimeoutMs = 200;

unsigned int MillisecondsUntil(const Deadline& deadline) {
    if (!deadline) return WaitObject::waitForever;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(*deadline - Clock::now()).count() + 1;
    return static_cast<unsigned int>(std::clamp<std::int64_t>(left, 0, WaitObject::waitForever - 1));
}

bool IsOver(const Deadline& deadline) {
    return deadline && Clock::now() >= *deadline;
}

/// The failures of a camera that has gone may come before the notice of it.
bool IsExplainedByRemoval(const std::exception& failure, const OpenDevice* device) {
    if (!device) return dynamic_cast<const Removed*>(&failure) != nullptr;
    const Removal& removal = device->GetRemoval();
    return dynamic_cast<const GenICam::GenericException*>(&failure) ? removal.IsLikely() : removal.HasHappened();
}

} // namespace

Deadline DeadlineIn(std::chrono::milliseconds time) {
    if (time.count() < 0) return {};
    return Clock::now() + time;
}

Acquisition::Acquisition(std::shared_ptr<CameraCore> core, const GrabOptions& options)
    : m_Core(std::move(core)), m_Options(options) {}

Acquisition::~Acquisition() {
    Shutdown();
}

void Acquisition::Start(std::function<void(Image)> receiver) {
    m_Receiver = std::move(receiver);
    const std::lock_guard<std::mutex> inside(m_Inside);
    m_Core->Attach(shared_from_this());
    m_IsAttached = true;
    try {
        StartOrSeek();
        m_IsRunning = true;
    } catch (...) {
        StopSession();
        m_Core->Detach(*this);
        m_IsAttached = false;
        RethrowAsError("cannot start the stream of " + m_Core->Info().friendlyName + ": ");
    }
}

void Acquisition::StartOrSeek() {
    std::shared_ptr<OpenDevice> device;
    try {
        device = m_Core->Hold();
        StartSession(Clock::now());
    } catch (const std::exception& e) {
        if (!IsExplainedByRemoval(e, device.get())) throw;
        Lose();
    }
}

void Acquisition::StartSession(Clock::time_point lastArrival) {
    const std::shared_ptr<OpenDevice> device = m_Core->Hold();
    m_Pool = std::make_shared<FramePool>();
    m_Origin = std::make_shared<FrameOrigin>(FrameOrigin{device->Name(), ChunkReader::Create(device->Device())});
    m_Clock = m_Core->Clock();
    m_Clock->Start();
    m_Session = std::make_unique<GrabSession>(device, m_Options, m_Pool);
    m_Live = m_Session.get();
    m_LastSign = Clock::now().time_since_epoch().count();
    m_Session->Open(m_Receiver ? this : nullptr);
    CountMemory(*m_Session);
    m_Events.RemoveAll();
    if (!m_Session->HasSink()) m_Events.Add(m_Session->Ready());
    m_Events.Add(m_Alarm);
    m_Events.Add(m_Pool->Bell());
    m_Events.Add(device->GetRemoval().Bell());
    m_Missed.Begin();
    m_LastArrival = lastArrival;
    m_Session->StartCamera();
}

void Acquisition::StopSession() {
    m_IsGoing = false;
    if (m_Session) m_Session->Close(); // while it closes, results may still come
    m_Live = nullptr;
    m_Session.reset();
    if (m_Clock) m_Clock->Stop();
    m_Clock.reset();
    if (m_Pool) m_Pool->Retire();
    m_Events.RemoveAll();
}

void Acquisition::Shutdown() {
    Cancel();
    const std::lock_guard<std::mutex> inside(m_Inside);
    m_IsRunning = false;
    StopSession();
    if (m_IsAttached) m_Core->Detach(*this);
    m_IsAttached = false;
}

void Acquisition::Cancel() noexcept {
    m_IsCancelled = true;
    m_Alarm.Signal();
}

std::chrono::milliseconds Acquisition::ImageTimeout() const {
    return m_Options.timeout.count() == 0 ? std::chrono::milliseconds(-1) : m_Options.timeout;
}

Image Acquisition::Take(std::chrono::milliseconds timeout, Absence absence) {
    const std::lock_guard<std::mutex> inside(m_Inside);
    if (Image image = TakeReady()) return image; // which costs no look at the clock
    return AwaitImage(DeadlineIn(timeout), absence);
}

Image Acquisition::TakeReady() {
    if (m_IsCancelled || m_IsAway || !m_Session) return {};
    try {
        Feed();
        return TakeResult();
    } catch (const GenICam::GenericException& e) {
        OnFailure(e);
        return {};
    }
}

Image Acquisition::AwaitImage(Deadline deadline, Absence absence) {
    const auto timeout = deadline ? *deadline - Clock::now() : Clock::duration();
    while (!m_IsCancelled) {
        if (m_IsAway) {
            SeekCamera(absence == Absence::Counts ? deadline : Deadline());
            if (deadline && absence == Absence::IsForgiven) deadline = Clock::now() + timeout;
            if (m_IsAway && IsOver(deadline)) return {};
            continue;
        }
        if (!m_Session) return {};
        try {
            Feed();
            if (Image image = TakeResult()) return image;
            if (m_IsGoing) {
                if (!AwaitRest()) Lose();
            } else if (IsUnplugged()) {
                m_IsGoing = true;
            } else if (!Await(deadline)) {
                if (!deadline || !m_Session->HasSink() || !HasSign(*deadline - timeout)) return {};
                deadline = Clock::now() + timeout; // images came meanwhile, by the other road
            }
        } catch (const GenICam::GenericException& e) {
            OnFailure(e);
        }
    }
    return {};
}

bool Acquisition::AwaitRest() const {
    return !m_Session->HasSink() && m_Session->Queued() != 0 && m_Session->Ready().Wait(kRestTimeoutMs);
}

bool Acquisition::HasSign(Clock::time_point since) const {
    return Clock::time_point(Clock::duration(m_LastSign)) > since;
}

void Acquisition::Feed() {
    if (m_IsGoing) return;
    std::unique_lock<std::mutex> feeding(m_Feeding, std::defer_lock);
    if (m_Session->HasSink()) feeding.lock();
    QueueReturned(*m_Session);
    while (m_Session->Queued() < EnoughQueued() && m_Session->AddFrame())
        CountMemory(*m_Session);
    NoteStarvation(*m_Session);
}

void Acquisition::CountMemory(const GrabSession& session) {
    m_Counts.buffers = session.Frames();
    m_Counts.memory = session.Memory();
    m_Counts.mapped = session.Mapped();
}

void Acquisition::OnResult(const GrabResult& result) noexcept {
    GrabSession& session = *m_Live.load();
    session.CountTaken();
    if (result.Status() == Canceled || m_IsCancelled) return;
    Attempt("Receiving an image", [&] {
        Frame& frame = *static_cast<Frame*>(const_cast<void*>(result.Context()));
        if (Image image = Accept(session, frame, result)) m_Receiver(std::move(image));
        FeedFromSink(session);
    });
}

void Acquisition::FeedFromSink(GrabSession& session) {
    const std::unique_lock<std::mutex> feeding(m_Feeding, std::try_to_lock);
    if (feeding) QueueReturned(session);
    const bool isShort = session.Queued() < EnoughQueued() && session.CanGrow();
    m_Pool->SetHungry(session.Queued() == 0);
    if (isShort || session.Queued() == 0) m_Pool->Ring();
}

void Acquisition::QueueReturned(GrabSession& session) {
    for (Frame* frame = m_Pool->TakeReturned(); frame;) {
        Frame* const next = frame->next; // queued, it may be back before the next line
        session.Queue(*frame);
        frame = next;
    }
}

void Acquisition::NoteStarvation(GrabSession& session) {
    const bool isStarving = session.Queued() == 0;
    if (isStarving && !m_IsStarving && !m_Pool->HasReturned()) {
        ++m_Counts.starved;
        LogTrace(
            LogCategoryCamera(), kLogWarning,
            "The application keeps all %zu images of '%s' (%zu bytes); what the camera sends until one is given back "
            "is lost. keepBudget allows more.",
            session.Frames(), m_Origin->camera.c_str(), session.Memory());
    }
    m_IsStarving = isStarving;
}

Image Acquisition::TakeResult() {
    GrabResult result;
    while (m_Session->Retrieve(result)) {
        Frame& frame = *static_cast<Frame*>(const_cast<void*>(result.Context()));
        if (Image image = Accept(*m_Session, frame, result)) return image;
    }
    return {};
}

Image Acquisition::Accept(GrabSession& session, Frame& frame, const GrabResult& result) {
    frame.Describe(result, session.PayloadSize());
    frame.arrival = Clock::now();
    if (!result.Succeeded()) CountFailed(session, frame);
    if (!result.Succeeded() && (!m_Options.incomplete || frame.payloadSize == 0)) {
        if (!session.Device()->GetRemoval().HasHappened()) session.Queue(frame);
        return {};
    }
    m_Counts.missed += m_Missed.Note(frame.blockId, /*isBroken=*/!frame.defect.empty());
    if (frame.origin != m_Origin) frame.origin = m_Origin;
    if (m_HasGap) {
        frame.gapBefore = frame.arrival - m_LastArrival;
        m_HasGap = false;
    }
    m_LastArrival = frame.arrival;
    // Relaxed: the reader compares it with a time, and reads nothing else by it.
    m_LastSign.store(frame.arrival.time_since_epoch().count(), std::memory_order_relaxed);
    frame.time = m_Clock->TimeOf(frame.cameraTime, frame.arrival);
    return Image(m_Pool->Lend(frame));
}

void Acquisition::CountFailed(const GrabSession& session, const Frame& frame) {
    m_Missed.NoteBroken();
    if (session.Device()->GetRemoval().Explains(frame.defect)) return; // these buffers wait, and come back empty
    ++m_Counts.failed;
    const std::lock_guard<std::mutex> guard(m_DefectMutex);
    if (m_FirstDefect.empty()) m_FirstDefect = frame.defect;
}

bool Acquisition::Await(const Deadline& deadline) {
    if (m_Session->HasSink()) return m_Events.WaitForAny(MillisecondsUntil(deadline));
    const bool isHungry = m_Session->Queued() <= m_Options.buffers / 2;
    m_Pool->SetHungry(isHungry);
    if (isHungry && m_Pool->HasReturned()) return true; // they came before the bell was set
    return m_Events.WaitForAny(MillisecondsUntil(deadline));
}

void Acquisition::OnFailure(const std::exception& failure) {
    if (m_IsGoing) return Lose();
    m_IsGoing = m_Session->Device()->GetRemoval().IsLikely();
    if (m_IsGoing) return;
    const std::string text = m_Origin->camera + " streams no more: " + Reason(failure);
    m_IsRunning = false;
    StopSession();
    throw Error(text);
}

void Acquisition::Lose() {
    const std::string camera = m_Core->Info().friendlyName;
    StopSession();
    if (m_Options.reconnect.count() == 0) {
        m_IsRunning = false;
        throw Removed(camera + " is unplugged");
    }
    m_Core->LetGo();
    m_IsAway = true;
    m_AwaySince = Clock::now();
    LogTrace(LogCategoryCamera(), kLogInfo, "'%s' is unplugged and waited for.", camera.c_str());
}

GrabCounts Acquisition::Counts() const {
    GrabCounts counts;
    counts.delivered = m_Counts.delivered;
    counts.dropped = m_Counts.dropped;
    counts.failed = m_Counts.failed;
    counts.missed = m_Counts.missed;
    counts.starved = m_Counts.starved;
    counts.reconnects = m_Counts.reconnects;
    counts.buffers = m_Counts.buffers;
    counts.memory = m_Counts.memory;
    counts.mapped = m_Counts.mapped;
    return counts;
}

std::string Acquisition::FirstDefect() const {
    const std::lock_guard<std::mutex> guard(m_DefectMutex);
    return m_FirstDefect;
}

} // namespace Tavix::detail
