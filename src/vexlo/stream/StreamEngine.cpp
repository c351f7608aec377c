#include "StreamEngine.h"

#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <type_traits>

#include <pthread.h>
#include <sched.h>

namespace vexlo {
namespace {

using Lock = std::unique_lock<std::mutex>;

constexpr std::size_t kFewestBytesInFlight = 8u << 20;
constexpr std::size_t kMostSlots = 64;
constexpr std::size_t kFewestScanPackets = 64;
constexpr unsigned int kWaitMs = 1000;
constexpr unsigned int kMemoryRetryMs = 5;
constexpr std::chrono::milliseconds kEventsRetry{20};

std::size_t BlockBytes(const u3v::TransferPlan& plan) {
    return static_cast<std::size_t>(plan.Capacity()) + plan.leaderSize + plan.trailerSize;
}

/// Two blocks or 8 MiB, whichever is more.
TransferBudget::Wishes WishesOf(const EngineSettings& settings, const u3v::TransferPlan& plan) {
    const std::size_t bytes = std::max(2 * BlockBytes(plan), kFewestBytesInFlight);
    return {settings.maxQueuedTransfers, bytes, settings.memoryLimit};
}

/// Enough blocks to fill the budget, one more that completes meanwhile, and no more than there are buffers.
std::size_t SlotCount(const EngineSettings& settings, const u3v::TransferPlan& plan) {
    const std::size_t byBytes = WishesOf(settings, plan).bytes / BlockBytes(plan) + 2;
    const std::size_t byTransfers = settings.maxQueuedTransfers / (plan.PayloadTransfers() + 2) + 2;
    const std::size_t wanted = std::min({byBytes, byTransfers, kMostSlots});
    return std::max<std::size_t>(1, std::min(wanted, settings.maxBuffers));
}

std::size_t ScanSize(const u3v::TransferPlan& plan, std::size_t packetSize) {
    return std::max(plan.LongestPayload() / packetSize * packetSize, kFewestScanPackets * packetSize);
}

/// What a system answers now and then without any reason that lasts.
bool MayPass(usb::Result result) {
    return result == usb::Result::Io || result == usb::Result::Busy || result == usb::Result::Interrupted ||
           result == usb::Result::Other;
}

/// Not touched before it is used, so that it costs what comes and not what a camera states.
std::unique_ptr<std::uint8_t[]> Untouched(std::size_t size) {
    return std::unique_ptr<std::uint8_t[]>(new std::uint8_t[size]);
}

} // namespace

StreamEngine::StreamEngine(const Parts& parts, const EngineSettings& settings)
    : m_Host(parts.host), m_Pool(parts.pool), m_Statistics(parts.statistics), m_Settings(settings),
      m_Handle(parts.handle), m_Registers(parts.host, parts.handle, settings.channel),
      m_Budget(WishesOf(settings, settings.plan)), m_Silence(settings.silence) {
    UsePlan(settings.plan);
    m_Scan.role = PlannedTransfer::Role::Scan;
    m_Scan.usb.endpoint = settings.channel.endpoint;
    m_Scan.usb.completed = &StreamEngine::OnCompleted;
    m_Scan.usb.context = this;
}

/// Nothing may be in flight or bound. Without memory all is as it was.
void StreamEngine::UsePlan(const u3v::TransferPlan& plan) {
    Memory dump = Untouched(plan.LongestPayload());
    Memory scanBytes = Untouched(ScanSize(plan, m_Settings.channel.maxPacketSize));
    Slots slots(SlotCount(m_Settings, plan));
    for (auto& slot : slots) {
        slot = std::make_unique<BlockSlot>(plan, m_Settings.channel.endpoint, dump.get());
        for (PlannedTransfer& transfer : slot->Transfers()) {
            transfer.usb.completed = &StreamEngine::OnCompleted;
            transfer.usb.context = this;
        }
    }
    const std::size_t transfers = slots.size() * slots.front()->Transfers().size() + 1; // and the one that scans
    m_InFlight.Reserve(transfers);
    m_Reaped.Reserve(transfers);
    m_Bound.Reserve(slots.size());
    ForgetTransfers();
    m_Slots.swap(slots);
    m_Dump.swap(dump);
    m_ScanBytes.swap(scanBytes);
    m_Plan = plan;
    m_Scan.usb.buffer = m_ScanBytes.get();
    m_Scan.usb.length = m_Scan.cost = ScanSize(plan, m_Settings.channel.maxPacketSize);
    m_Budget = TransferBudget(WishesOf(m_Settings, plan));
}

void StreamEngine::ForgetTransfers() {
    for (auto& slot : m_Slots) {
        for (PlannedTransfer& transfer : slot->Transfers())
            m_Handle.Forget(transfer.usb);
    }
}

StreamEngine::~StreamEngine() {
    Stop();
}

VxStatus StreamEngine::Start() {
    const Lock hold(m_Mutex); // the thread waits for it before it does anything
    try {
        m_Thread = std::thread([this] { Run(); });
    } catch (const std::exception& error) {
        Log(Tavix::kLogError, "No thread for the stream: %s", error.what());
        return VX_E_NO_MEMORY;
    }
    m_Pool.Start([this] { m_Handle.WakeEvents(); });
    m_LeadsOff = true;
    m_Silence.SwitchedOn(Clock::now());
    if (IsNarrow() || LongestTransfer() <= m_Host.TrustedTransfer()) m_Silence.Ignore();
    SubmitMore();
    return VX_OK;
}

void StreamEngine::Cancel() {
    Lock lock(m_Mutex);
    if (m_Ended) return; // the handle may be gone
    const unsigned int mine = ++m_CancelsAsked;
    m_Asked.notify_all();
    m_Handle.WakeEvents();
    m_Served.wait(lock, [&] { return m_Ended || m_CancelsServed >= mine; });
}

void StreamEngine::Stop() {
    if (!m_Thread.joinable()) return;
    {
        Lock lock(m_Mutex);
        m_StopAsked = true;
        m_Asked.notify_all();
    }
    m_Handle.WakeEvents();
    m_Thread.join();
    // Whoever still holds the engine after this must not touch the handle any more.
    ForgetTransfers();
    m_Handle.Forget(m_Scan.usb);
}

void StreamEngine::SetPriority() const {
    if (m_Settings.threadPriority <= 0) return;
    sched_param parameters{};
    parameters.sched_priority = m_Settings.threadPriority;
    if (pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) != 0) {
        Log(128,
            "The stream's thread stays at ordinary priority: real-time priority %d is not permitted (see ulimit -r)",
            m_Settings.threadPriority);
    }
}

void StreamEngine::Run() {
    { const Lock started(m_Mutex); }
    pthread_setname_np(pthread_self(), "vx-stream");
    SetPriority();
    while (!(m_Stopping && m_InFlight.IsEmpty() && m_Mode != Mode::Reaping)) {
        Work();
        m_Pool.TellListener();
    }
    m_Pool.Stop(VX_E_CANCELLED);
    m_Pool.TellListener();
    Lock lock(m_Mutex);
    m_Ended = true;
    m_Served.notify_all();
}

/// One round: serve requests, queue transfers, wait for some to complete, finish what they ended.
void StreamEngine::Work() {
    OnRequest();
    if (m_Mode == Mode::Reaping && m_InFlight.IsEmpty()) {
        FinishReaping();
        return;
    }
    if (m_Stopping && m_InFlight.IsEmpty()) return;
    if (m_IsGone && m_InFlight.IsEmpty() && m_Mode != Mode::Dead) return Leave(Reason::Lost, VX_E_USB_NO_DEVICE);
    if (HearsNothing()) OnSilence();
    if (m_NarrowTo != 0 && m_Mode == Mode::Planned && !m_Stopping) return LeaveToNarrow();
    if (m_Mode == Mode::Pausing && Clock::now() >= m_PauseEnd) Restart();
    SubmitMore();
    if (m_Mode == Mode::Reaping && m_InFlight.IsEmpty()) return;
    WaitForWork();
}

void StreamEngine::WaitForWork() {
    const auto isAsked = [this] { return (m_StopAsked && !m_Stopping) || m_CancelsAsked != m_CancelsTaken; };
    if (m_Mode == Mode::Dead) {
        Lock lock(m_Mutex);
        m_Asked.wait(lock, isAsked); // nothing is in flight, and the handle of a camera that is gone may answer at once
        return;
    }
    if (m_Mode == Mode::Pausing) {
        Lock lock(m_Mutex);
        m_Asked.wait_until(lock, m_PauseEnd, isAsked);
        return;
    }
    const bool retrySoon = m_Budget.IsShort() && m_InFlight.IsEmpty();
    const usb::Result result = m_Handle.HandleEvents(retrySoon ? kMemoryRetryMs : MostWaitMs());
    if (result == usb::Result::Ok || result == usb::Result::Interrupted) return;
    // Transfers end in HandleEvents only, so it must be tried again, but not without a pause.
    Lock lock(m_Mutex);
    m_Asked.wait_for(lock, kEventsRetry, isAsked);
}

unsigned int StreamEngine::MostWaitMs() const {
    const auto patience = static_cast<unsigned int>(m_Silence.Patience().count());
    return patience == 0 ? kWaitMs : std::min(kWaitMs, patience);
}

void StreamEngine::OnRequest() {
    bool stop = false;
    unsigned int cancels = 0;
    {
        Lock lock(m_Mutex);
        stop = m_StopAsked;
        cancels = m_CancelsAsked;
    }
    const bool cancel = cancels != m_CancelsTaken;
    if ((!cancel && !(stop && !m_Stopping)) || (m_Mode == Mode::Reaping && m_Reason == Reason::Cancel)) return;
    m_CancelsTaken = cancels;
    m_Stopping = m_Stopping || stop;
    if (m_Mode == Mode::Dead) return ServeCancels();
    if (!(m_Mode == Mode::Reaping && m_Reason == Reason::Lost)) Leave(Reason::Cancel, VX_E_CANCELLED);
}

bool StreamEngine::BindNext(BlockSlot& slot) {
    BufferHandle_s* buffer = m_Pool.Take();
    if (!buffer) return false;
    slot.Bind(buffer);
    m_Bound.Append(&slot);
    m_NextIsBound = true;
    return true;
}

/// The next transfer of the plan, with a buffer bound to its block; null when there is none to queue now. Only the
/// first leader after the stream was switched on may go ahead of its buffer.
PlannedTransfer* StreamEngine::NextTransfer() {
    BlockSlot& slot = *m_Slots[m_NextSlot];
    const bool begins = m_NextTransfer == 0;
    if (begins && !m_NextIsBound && slot.Buffer()) return nullptr; // all slots are in use
    if (!slot.Buffer() && !BindNext(slot)) {
        if (!begins || !m_LeadsOff) return nullptr;
        slot.LeadOff();
    }
    return &slot.Transfers()[m_NextTransfer];
}

void StreamEngine::Advance() {
    m_NextIsBound = false;
    if (++m_NextTransfer < m_Slots[m_NextSlot]->Transfers().size()) return;
    m_NextTransfer = 0;
    m_NextSlot = (m_NextSlot + 1) % m_Slots.size();
}

void StreamEngine::SubmitMore() {
    if (m_Stopping || m_IsGone) return;
    BufferList noneBound;
    if (!DeliverFound(noneBound)) return; // blocks come back in their order: these first
    if (m_Mode == Mode::Scanning && m_InFlight.IsEmpty()) {
        Submit(m_Scan);
        return;
    }
    while (m_Mode == Mode::Planned) {
        BlockSlot& slot = *m_Slots[m_NextSlot];
        const PlannedTransfer& next = slot.Transfers()[m_NextTransfer];
        const std::size_t cost = slot.Buffer() ? next.cost : next.usb.length;
        if (!m_Budget.HasRoom(m_InFlight.Size(), m_BytesInFlight, cost)) return;
        PlannedTransfer* transfer = NextTransfer();
        if (!transfer || !Submit(*transfer)) return;
        Advance();
    }
}

bool StreamEngine::Submit(PlannedTransfer& transfer) {
    transfer.done = false;
    usb::Result result = m_Handle.Submit(transfer.usb);
    if (MayPass(result)) result = m_Handle.Submit(transfer.usb);
    switch (result) {
    case usb::Result::Ok:
        m_RefusedSince = {};
        m_LeadsOff = false;
        m_InFlight.Append(&transfer);
        m_BytesInFlight += transfer.cost;
        m_Budget.Accepted(m_InFlight.Size());
        return true;
    case usb::Result::NoDevice:
        if (m_InFlight.IsEmpty()) {
            Leave(Reason::Lost, VX_E_USB_NO_DEVICE);
        } else { // what completed before the camera went is still looked at as planned: the last block may be whole
            m_IsGone = true;
            CancelInFlight();
        }
        return false;
    case usb::Result::Pipe:
        Leave(Reason::Restart, VX_E_USB_STALL);
        return false;
    default:
        if (result != usb::Result::NoMemory && !MayPass(result)) {
            Leave(Reason::Restart, VX_E_USB_IO);
            return false;
        }
        // The transfer keeps its place in the order; it is tried again when another one has made room. For want of
        // memory some systems answer as if the line were bad.
        m_Budget.Refused(m_InFlight.Size());
        if (m_InFlight.IsEmpty()) OnRefusedAlone(ToStatus(result));
        return false;
    }
}

void StreamEngine::OnCompleted(usb::Transfer& transfer) {
    auto& engine = *static_cast<StreamEngine*>(transfer.context);
    static_assert(std::is_standard_layout_v<PlannedTransfer>,
                  "a planned transfer begins with the one that the bus knows");
    reinterpret_cast<PlannedTransfer&>(transfer).done = true;
    engine.m_Heard = true;
    engine.TakeFront();
}

/// Cancelled transfers may come back in any order; they are looked at in the order of queuing.
void StreamEngine::TakeFront() {
    while (!m_InFlight.IsEmpty() && m_InFlight.Front()->done) {
        PlannedTransfer& transfer = *m_InFlight.Front();
        m_InFlight.RemoveFront();
        m_BytesInFlight -= transfer.cost;
        if (m_Mode == Mode::Planned) {
            JudgePlanned(transfer);
        } else if (m_Mode == Mode::Scanning) {
            JudgeScan(transfer);
        } else {
            FeedWith(transfer);
        }
    }
}

} // namespace vexlo
