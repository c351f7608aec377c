#include "camera/stream/Acquisition.h"

#include "camera/CallbackScope.h"
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

/// The failures of a camera that has gone may come before the notice of it.
bool IsExplainedByRemoval(const std::exception& failure, const OpenDevice* device) {
    if (!device) return dynamic_cast<const Removed*>(&failure) != nullptr;
    const Removal& removal = device->GetRemoval();
    return dynamic_cast<const GenICam::GenericException*>(&failure) ? removal.IsLikely() : removal.HasHappened();
}

} // namespace

Acquisition::Acquisition(std::shared_ptr<CameraCore> core, const GrabOptions& options)
    : m_Core(std::move(core)), m_Options(options) {
    if (m_Options.buffers == 0) throw ValueError("a stream needs one buffer at least");
}

Acquisition::~Acquisition() {
    Shutdown();
}

void Acquisition::Start(std::function<void(Image)> receiver) {
    m_Receiver = std::move(receiver);
    const MutexLock inside(m_Inside);
    m_Core->Attach(shared_from_this());
    m_IsAttached = true;
    try {
        StartOrSeek();
        m_IsRunning = true;
    } catch (...) {
        StopRun();
        m_Core->Detach(*this);
        m_IsAttached = false;
        RethrowAsError("cannot start the stream of " + m_Core->Info().friendlyName + ": ");
    }
}

void Acquisition::StartOrSeek() {
    std::shared_ptr<OpenDevice> device;
    try {
        device = m_Core->Hold();
        StartRun({});
    } catch (const std::exception& e) {
        if (!IsExplainedByRemoval(e, device.get())) throw;
        Lose();
    }
}

Acquisition::Run::Run(const std::shared_ptr<OpenDevice>& device, std::shared_ptr<HostClock> hostClock,
                      const GrabOptions& options, StreamCounters& counters, std::optional<ImageIntake::Time> awaySince)
    : clock(std::move(hostClock)), session(device, options, pool),
      intake(session,
             {pool, clock,
              std::make_shared<FrameOrigin>(FrameOrigin{device->Name(), ChunkReader::Create(device->Device())}),
              awaySince},
             options, counters),
      feed(session, pool, options, counters) {}

void Acquisition::StartRun(std::optional<ImageIntake::Time> awaySince) {
    const std::shared_ptr<OpenDevice> device = m_Core->Hold();
    m_Run = std::make_unique<Run>(device, m_Core->Clock(), m_Options, m_Counters, awaySince);
    m_Run->clock->Start();
    m_Live = m_Run.get();
    m_Run->session.Open(m_Receiver ? this : nullptr);
    m_Run->feed.CountMemory();
    m_Events.RemoveAll();
    if (!m_Run->session.HasSink()) m_Events.Add(m_Run->session.Ready());
    m_Events.Add(m_Alarm);
    m_Events.Add(m_Run->pool->Bell());
    m_Events.Add(device->GetRemoval().Bell());
    m_Run->session.StartCamera();
}

void Acquisition::StopRun() {
    m_IsGoing = false;
    m_Events.RemoveAll();
    if (!m_Run) return;
    m_Run->session.Close(); // while it closes, results may still come
    m_Live = nullptr;
    m_Run->clock->Stop();
    m_Run->pool->Retire();
    m_Run.reset();
}

void Acquisition::Shutdown() {
    Cancel();
    if (IsInCallback()) return;
    const MutexLock inside(m_Inside);
    m_IsRunning = false;
    StopRun();
    if (m_IsAttached) m_Core->Detach(*this);
    m_IsAttached = false;
}

bool Acquisition::IsInCallback() const {
    return CallbackScope::IsInside(this);
}

void Acquisition::Cancel() noexcept {
    m_IsCancelled = true;
    m_Alarm.Signal();
}

std::string Acquisition::WhySilent() const {
    const bool haveAllFailed = m_Counters.failed != 0 && m_Counters.delivered == 0;
    if (haveAllFailed) return "those that were tried failed: " + m_Counters.FirstDefect();
    if (!m_Counters.isStarving) return "check trigger, exposure time and cable";
    return "all " + std::to_string(m_Counters.buffers) +
           " images that there is memory for are kept; let some go, or allow more";
}

std::chrono::milliseconds Acquisition::ImageTimeout() const {
    return m_Options.timeout.count() == 0 ? std::chrono::milliseconds(-1) : m_Options.timeout;
}

Image Acquisition::Take(std::chrono::milliseconds timeout, Absence absence) {
    const MutexLock inside(m_Inside);
    if (Image image = TakeReady()) return image; // which costs no look at the clock
    return AwaitImage(DeadlineIn(timeout), absence);
}

Image Acquisition::TakeReady() {
    if (m_IsCancelled || m_IsAway || !m_Run) return {};
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
        if (!m_Run) return {};
        try {
            Feed();
            if (Image image = TakeResult()) return image;
            if (m_IsGoing) {
                if (!AwaitRest()) Lose();
            } else if (GetRemoval().HasHappened()) {
                m_IsGoing = true;
            } else if (!Await(deadline)) {
                if (!deadline || !m_Run->session.HasSink() || !m_Run->intake.HasSign(*deadline - timeout)) return {};
                deadline = Clock::now() + timeout; // images came meanwhile, by the other road
            }
        } catch (const GenICam::GenericException& e) {
            OnFailure(e);
        }
    }
    return {};
}

bool Acquisition::AwaitRest() const {
    const GrabSession& session = m_Run->session;
    return !session.HasSink() && session.Queued() != 0 && session.Ready().Wait(kRestTimeoutMs);
}

void Acquisition::Feed() {
    if (!m_IsGoing) m_Run->feed.Feed();
}

[[gnu::hot]] void Acquisition::OnResult(const GrabResult& result) noexcept {
    Run& run = *m_Live.load();
    run.session.CountTaken();
    if (result.Status() == Canceled || m_IsCancelled) return;
    Attempt("Receiving an image", [&] {
        if (Image image = run.intake.Accept(result)) m_Receiver(std::move(image));
        run.feed.FeedFromSink();
    });
}

Image Acquisition::TakeResult() {
    GrabResult result;
    while (m_Run->session.Retrieve(result)) {
        if (Image image = m_Run->intake.Accept(result)) return image;
    }
    return {};
}

bool Acquisition::Await(const Deadline& deadline) {
    if (!m_Run->session.HasSink() && !m_Run->feed.SetBell()) return true;
    return m_Events.WaitForAny(MillisecondsUntil(deadline)) || !IsOver(deadline);
}

void Acquisition::OnFailure(const std::exception& failure) {
    if (m_IsGoing) return Lose();
    m_IsGoing = GetRemoval().IsLikely();
    if (m_IsGoing) return;
    const std::string text = m_Run->session.Device()->Name() + " streams no more: " + Reason(failure);
    m_IsRunning = false;
    StopRun();
    throw Error(text);
}

void Acquisition::Lose() {
    const std::string camera = m_Core->Info().friendlyName;
    StopRun();
    if (m_Options.reconnect.count() == 0) {
        m_IsRunning = false;
        throw Removed(camera + " is unplugged");
    }
    m_Core->LetGo();
    m_IsAway = true;
    m_AwaySince = Clock::now();
    LogTrace(LogCategoryCamera(), kLogInfo, "'%s' is unplugged and waited for.", camera.c_str());
}

} // namespace Tavix::detail
