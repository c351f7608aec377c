#include "vexlo/stream/engine/StreamEngine.h"

#include "core/Threads.h"
#include "vexlo/Logging.h"
#include "vexlo/NoThrow.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <exception>
#include <new>

#include <pthread.h>
#include <sched.h>

namespace vexlo {
namespace {

constexpr unsigned int kWaitMs = 1000;
constexpr unsigned int kMemoryRetryMs = 5;
constexpr std::chrono::milliseconds kEventsRetry{20};

} // namespace

StreamEngine::StreamEngine(const Parts& parts, const EngineSettings& settings)
    : m_Host(parts.host), m_Handle(parts.handle), m_Pool(parts.pool), m_Statistics(parts.statistics),
      m_Settings(settings), m_Requests([this] { m_Handle.WakeEvents(); }),
      m_Registers(parts.host, parts.handle, settings.channel),
      m_Queue({parts.handle, parts.pool}, settings.channel,
              {settings.maxBuffers, settings.maxQueuedTransfers, settings.memoryLimit}),
      m_Finder(settings.channel.maxPacketSize), m_Sizes(parts.host, settings.silence) {
    m_Queue.UsePlan(settings.plan);
    m_Sizes.Use(settings.plan);
}

StreamEngine::~StreamEngine() {
    Stop();
}

VxStatus StreamEngine::Start() {
    try {
        m_Thread = Tavix::StartThread([this] { Run(); });
    } catch (...) {
        const VxStatus status = CaughtStatus();
        Log(Tavix::kLogError, "No thread for the stream: 0x%08X", status);
        return status;
    }
    m_Pool.Start([this] { m_Handle.WakeEvents(); });
    m_Queue.LeadOff();
    m_Sizes.Start(RecoveryPolicy::Clock::now());
    QueueMore();
    m_Requests.Begin();
    return VX_OK;
}

void StreamEngine::Stop() {
    if (!m_Thread.joinable()) return;
    m_Requests.Stop();
    m_Thread.join();
    m_Queue.Forget(); // whoever still holds the engine after this must not touch the handle any more
}

void StreamEngine::SetPriority() const {
    if (m_Settings.threadPriority <= 0) return;
    if (Tavix::SetThreadPriority(pthread_self(), SCHED_FIFO, m_Settings.threadPriority) != 0) {
        Log(Tavix::kLogWarning,
            "The stream's thread stays at ordinary priority: real-time priority %d is not permitted (see ulimit -r)",
            m_Settings.threadPriority);
    }
}

[[gnu::hot]] void StreamEngine::Run() {
    m_Requests.AwaitBegin();
    pthread_setname_np(pthread_self(), "vx-stream");
    SetPriority();
    while (!IsDone()) {
        Work();
        m_Pool.TellListener();
    }
    m_Pool.Stop(VX_E_CANCELLED);
    m_Pool.TellListener();
    m_Requests.End();
}

bool StreamEngine::IsDone() const {
    return m_Requests.IsStopping() && m_Queue.IsEmpty() && !m_Policy.Is(State::Reaping);
}

/// One round: serve requests, queue transfers, wait for some to complete, judge them.
[[gnu::hot]] void StreamEngine::Work() {
    ServeRequests();
    if (m_Policy.Is(State::Reaping) && m_Queue.IsEmpty()) return FinishReaping();
    if (IsDone()) return;
    if (m_Policy.IsGone() && m_Queue.IsEmpty() && !m_Policy.Is(State::Dead))
        return Leave(Cause::Lost, VX_E_USB_NO_DEVICE);
    const bool isPlanned = m_Policy.Is(State::Planned);
    if (m_Sizes.Listens())
        m_Sizes.Look(RecoveryPolicy::Clock::now(), isPlanned && m_Queue.Oldest() && !m_Queue.IsEmpty());
    if (m_Sizes.Wanted() != 0 && isPlanned && !m_Requests.IsStopping()) return TrySmaller();
    if (m_Policy.Is(State::Pausing) && RecoveryPolicy::Clock::now() >= m_Policy.PauseEnd()) {
        Restart();
        if (m_Policy.Is(State::Dead)) return; // who listens is told before this waits for requests
    }
    QueueMore();
    if (m_Policy.Is(State::Reaping) && m_Queue.IsEmpty()) return;
    WaitForWork();
    JudgeCompleted();
}

void StreamEngine::ServeRequests() {
    if (!m_Requests.IsNew() || m_Policy.IsReapingFor(Cause::Cancel)) return;
    m_Requests.Take();
    if (m_Policy.Is(State::Dead)) return m_Requests.Serve();
    if (!m_Policy.IsReapingFor(Cause::Lost)) Leave(Cause::Cancel, VX_E_CANCELLED);
}

[[gnu::hot]] void StreamEngine::WaitForWork() {
    // Nothing is in flight, and the handle of a camera that is gone may answer at once.
    if (m_Policy.Is(State::Dead)) return m_Requests.Wait();
    if (m_Policy.Is(State::Pausing)) return m_Requests.WaitUntil(m_Policy.PauseEnd());
    const bool retrySoon = m_Queue.IsShort() && m_Queue.IsEmpty();
    const usb::Result result = m_Queue.Wait(retrySoon ? kMemoryRetryMs : MostWaitMs());
    if (result == usb::Result::Ok || result == usb::Result::Interrupted) return;
    // Transfers end there only, so it must be tried again, but not without a pause.
    m_Requests.WaitUntil(RecoveryPolicy::Clock::now() + kEventsRetry);
}

unsigned int StreamEngine::MostWaitMs() const {
    const auto timeout = static_cast<unsigned int>(m_Sizes.Timeout().count());
    return timeout == 0 ? kWaitMs : std::min(kWaitMs, timeout);
}

void StreamEngine::QueueMore() {
    if (m_Requests.IsStopping() || m_Policy.IsGone()) return;
    BufferList noneBound;
    if (!DeliverFound(noneBound)) return; // blocks come back in their order: these first
    usb::Result result = usb::Result::Ok;
    if (m_Policy.Is(State::Planned)) {
        result = m_Queue.QueueMore();
    } else if (m_Policy.Is(State::Scanning) && m_Queue.IsEmpty()) {
        result = m_Queue.QueueScan();
    }
    OnQueued(result);
}

[[gnu::hot]] void StreamEngine::OnQueued(usb::Result result) {
    if (!m_Queue.IsEmpty()) m_Sizes.NoteQueued();
    if (result == usb::Result::Ok) return;
    if (result == usb::Result::Pipe) return Leave(Cause::Failure, VX_E_USB_STALL);
    if (result == usb::Result::NoDevice) return OnGone();
    if (result != usb::Result::NoMemory && !MayPass(result)) return Leave(Cause::Failure, VX_E_USB_IO);
    // It is tried again when another one has made room.
    if (!m_Queue.IsEmpty()) return;
    const auto refusal = m_Sizes.NoteRefused(RecoveryPolicy::Clock::now(), m_Policy.Is(State::Planned));
    if (refusal == SizeTrial::Refusal::GiveUp) Leave(Cause::Failure, ToStatus(result));
}

/// What completed before the camera went is still looked at as planned: the last block may be whole.
void StreamEngine::OnGone() {
    if (m_Queue.IsEmpty()) return Leave(Cause::Lost, VX_E_USB_NO_DEVICE);
    m_Policy.NoteGone();
    m_Queue.CancelAll();
}

void StreamEngine::JudgeCompleted() {
    while (PlannedTransfer* transfer = m_Queue.TakeCompleted()) {
        m_Sizes.NoteTransfer();
        if (m_Policy.Is(State::Planned)) {
            Apply(*transfer, m_Judge.Judge(*transfer));
        } else if (m_Policy.Is(State::Scanning)) {
            Search(*transfer);
        } else {
            Keep(*transfer);
        }
    }
}

[[gnu::hot]] void StreamEngine::Apply(PlannedTransfer& transfer, const Verdict& verdict) {
    m_Statistics.copiedBytes += verdict.copiedBytes;
    if (verdict.ended) EndBlock(*verdict.ended);
    if (verdict.next == Verdict::Next::Again && m_Queue.IsEmpty()) OnQueued(m_Queue.QueueAgain(transfer));
    if (verdict.next != Verdict::Next::Leave) return;
    if (verdict.cause != Cause::Failure) {
        Leave(verdict.cause, verdict.damage);
    } else {
        const VxStatus status = m_Policy.IsGone() ? VX_E_USB_NO_DEVICE : verdict.damage;
        Leave(status == VX_E_USB_NO_DEVICE ? Cause::Lost : Cause::Failure, status);
        m_Policy.NoteFailure(status);
    }
    if (verdict.isMisplaced) Keep(transfer);
}

[[gnu::hot]] void StreamEngine::EndBlock(const BlockEvidence& evidence) {
    BufferHandle_s* buffer = m_Queue.EndOldest();
    const CVxStream::GrabResult result = JudgeBlock(evidence);
    if (result.Status == VX_OK) m_Policy.NoteWhole();
    Complete(buffer, result);
}

void StreamEngine::Complete(BufferHandle_s* buffer, const CVxStream::GrabResult& result) {
    m_Statistics.Count(result.Status, result.BlockId);
    m_Sizes.NoteBlock(result.Status);
    m_Pool.Complete(buffer, result);
}

} // namespace vexlo
