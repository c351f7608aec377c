// Keeps the event channel's transfers in flight and puts what arrives into the ring.
#include "vexlo/event/EventEngine.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"
#include "vexlo/Logging.h"
#include "vexlo/NoThrow.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vexlo {
namespace {

constexpr int kMostRecoveries = 5; ///< without an event in between
constexpr std::chrono::milliseconds kRecoveryPause{50};
constexpr std::chrono::seconds kReapingTimeout{5};
constexpr std::uint32_t kLargestMessage = 65536 + 16; ///< more cannot be stated in a message
constexpr std::uint32_t kSmallestMessage = 24;

bool IsHalted(VxStatus status) {
    return status == (VX_E_DEVICE_STATUS_BASE | u3v::status::kEventEndpointHalted);
}

/// Size of a transfer that takes any message: a multiple of the packet size, so that no camera can send more.
std::uint32_t TransferSize(std::uint32_t stated, std::uint16_t packetSize) {
    const std::uint32_t most = std::clamp(stated, kSmallestMessage, kLargestMessage);
    return (most + packetSize - 1) / packetSize * packetSize;
}

} // namespace

VxStatus EventEngine::Start(DeviceSession& session, const Settings& settings) {
    m_Session = &session;
    m_Endpoint = session.Function().event->in;
    m_Base = session.Registers().eventAddress;
    std::uint32_t stated = 0;
    VxStatus status =
        NoThrow([&] { return session.Memory().Read32(m_Base + u3v::eirm::kMaximumEventTransferLength, stated); });
    if (status == VX_E_USB_NO_DEVICE) return session.Note(status);
    status = MakeSlots(settings, TransferSize(status == VX_OK ? stated : 0, m_Endpoint.packetSize));
    if (status == VX_OK) status = session.Pump().Attach(*this, settings.priority);
    if (status != VX_OK) return status;
    status = Launch();
    if (IsHalted(status)) {
        MutexLock lock(m_Lock);
        Leave(Phase::Stopped);
        WaitUntilIdle(lock);
        lock.Unlock();
        status = Launch();
    }
    if (status == VX_OK) return VX_OK;
    const VxStatus stopped = Stop();
    if (stopped != VX_OK) Log(Tavix::kLogDetail, "Events cannot be switched off: 0x%08X", stopped);
    return status;
}

VxStatus EventEngine::MakeSlots(const Settings& settings, std::uint32_t length) {
    const MutexLock lock(m_Lock);
    try {
        m_Ring.Reset(
            settings.buffers,
            std::min<std::size_t>(settings.largestMessage, std::max<std::size_t>(length, EventRing::kLargestMessage)));
        m_Slots.clear();
        for (std::uint32_t i = 0; i < settings.maxQueuedTransfers; ++i) {
            auto slot = std::make_unique<Slot>();
            slot->bytes.resize(length);
            slot->engine = this;
            slot->transfer.endpoint = m_Endpoint.address;
            slot->transfer.buffer = slot->bytes.data();
            slot->transfer.length = length;
            slot->transfer.completed = &TransferCompleted;
            slot->transfer.context = slot.get();
            m_Slots.push_back(std::move(slot));
        }
    } catch (const std::bad_alloc&) {
        m_Slots.clear();
        return VX_E_NO_MEMORY;
    }
    m_TransferLength = length;
    m_RecoveriesInRow = 0;
    m_EndNews = VX_OK;
    return VX_OK;
}

/// Nothing may be in flight.
VxStatus EventEngine::Launch() {
    if (const VxStatus status = ClearHalt()) return status;
    {
        Alarm alarm;
        const MutexLock lock(m_Lock);
        m_Phase = Phase::Running;
        SubmitAll(alarm);
        if (m_Phase != Phase::Running || m_InFlight == 0) return m_Refusal;
    }
    return Enable(true);
}

VxStatus EventEngine::Enable(bool enabled) {
    const std::uint32_t value = enabled ? u3v::eirm::kControlEventEnable : 0;
    return NoThrow([&] { return m_Session->Note(m_Session->Memory().Write32(m_Base + u3v::eirm::kControl, value)); });
}

VxStatus EventEngine::ClearHalt() {
    return NoThrow([this] { return m_Session->Note(ToStatus(m_Session->Handle().ClearHalt(m_Endpoint.address))); });
}

VxStatus EventEngine::Stop() {
    MutexLock lock(m_Lock);
    const bool ended = m_Phase == Phase::Ended;
    Leave(Phase::Stopped);
    while (m_RecoveryRuns)
        lock.Wait(m_Changed);
    lock.Unlock();
    const VxStatus status = ended ? VX_OK : Enable(false);
    lock.Lock();
    WaitUntilIdle(lock);
    lock.Unlock();
    m_Session->Pump().Detach(*this);
    lock.Lock();
    for (auto& slot : m_Slots)
        if (slot->transfer.backendData != nullptr) m_Session->Handle().Forget(slot->transfer);
    m_Slots.clear();
    m_Ring.Drop();
    m_Session = nullptr;
    return status == VX_E_USB_NO_DEVICE ? VX_OK : status;
}

VxStatus EventEngine::Trigger(unsigned int count) {
    std::uint8_t bytes[4];
    u3v::Store32(bytes, u3v::eirm::kTriggerEventTest);
    for (unsigned int i = 0; i < count; ++i) {
        std::size_t done = 0;
        const VxStatus status = m_Session->Memory().Write(m_Base + u3v::eirm::kEventTestControl, {bytes, sizeof bytes},
                                                          Repeat::Never, done);
        if (status != VX_OK) return m_Session->Note(status);
    }
    return VX_OK;
}

VxStatus EventEngine::Take(void* buffer, unsigned long& size, std::size_t& pending) {
    const MutexLock lock(m_Lock);
    const VxStatus status = m_Ring.Take(buffer, size);
    pending = m_Ring.Pending();
    return status;
}

void EventEngine::SetWaitObject(std::shared_ptr<Tavix::_WaitObjectPosix_t> waitObject) {
    Alarm alarm;
    const MutexLock lock(m_Lock);
    m_Ring.SetWaitObject(std::move(waitObject), alarm);
}

void EventEngine::SetEndListener(std::function<void(VxStatus)> listener) {
    const MutexLock lock(m_Lock);
    m_EndListener = std::move(listener);
}

EventRing::Counts EventEngine::Counts() const {
    const MutexLock lock(m_Lock);
    return m_Ring.GetCounts();
}

std::uint32_t EventEngine::TransferLength() const {
    const MutexLock lock(m_Lock);
    return m_TransferLength;
}

void EventEngine::SubmitAll(Alarm& alarm) {
    for (auto& slot : m_Slots)
        if (m_Phase == Phase::Running && !slot->inFlight) Submit(*slot, alarm);
}

/// One that is refused for want of memory waits until another has come back.
void EventEngine::Submit(Slot& slot, Alarm& alarm) {
    const usb::Result result = m_Session->Handle().Submit(slot.transfer);
    m_Refusal = ToStatus(result);
    if (result == usb::Result::Ok) {
        slot.inFlight = true;
        ++m_InFlight;
    } else if (result == usb::Result::NoDevice) {
        End(VX_E_USB_NO_DEVICE, alarm);
    } else if (result != usb::Result::NoMemory || m_InFlight == 0) {
        Leave(Phase::Recovering);
    }
}

/// Takes back all transfers.
void EventEngine::Leave(Phase phase) {
    m_Phase = phase;
    for (auto slot = m_Slots.rbegin(); slot != m_Slots.rend(); ++slot)
        if ((*slot)->inFlight) m_Session->Handle().Cancel((*slot)->transfer);
    m_RecoverAt =
        phase == Phase::Recovering ? Clock::now() + kRecoveryPause * m_RecoveriesInRow : Clock::time_point::max();
}

void EventEngine::End(VxStatus reason, Alarm& alarm) {
    if (m_Phase == Phase::Stopped || m_Phase == Phase::Ended) return;
    Leave(Phase::Ended);
    m_Ring.CountFailure(reason);
    m_Ring.End(reason, alarm);
    m_EndNews = reason;
    (void)NoThrow([&] { return m_Session->Note(reason); });
    m_Changed.notify_all();
}

void EventEngine::TransferCompleted(usb::Transfer& transfer) {
    Slot& slot = *static_cast<Slot*>(transfer.context);
    slot.engine->Complete(slot);
}

void EventEngine::Complete(Slot& slot) {
    Alarm alarm;
    const MutexLock lock(m_Lock);
    slot.inFlight = false;
    --m_InFlight;
    const usb::Transfer& transfer = slot.transfer;
    if (transfer.status == usb::TransferStatus::Completed) {
        // An empty transfer ends a message that filled its packets.
        if (transfer.actualLength != 0) m_Ring.Push({transfer.buffer, transfer.actualLength}, alarm);
        m_RecoveriesInRow = 0;
        SubmitAll(alarm);
    } else if (transfer.status == usb::TransferStatus::NoDevice) {
        End(VX_E_USB_NO_DEVICE, alarm);
    } else if (m_Phase == Phase::Running) {
        m_Ring.CountFailure(ToStatus(transfer.status));
        Leave(Phase::Recovering);
    }
    m_Changed.notify_all();
}

void EventEngine::WaitUntilIdle(MutexLock& lock) {
    while (m_InFlight != 0) {
        if (lock.WaitUntil(m_Changed, Clock::now() + kReapingTimeout)) continue;
        Log(Tavix::kLogError, "Still waiting for %u event transfers to end", static_cast<unsigned>(m_InFlight));
    }
}

PumpClient::Clock::time_point EventEngine::Service() {
    const Clock::time_point next = RecoverInTime();
    TellOfEnd();
    return next;
}

void EventEngine::TellOfEnd() {
    std::function<void(VxStatus)> listener;
    MutexLock lock(m_Lock);
    const VxStatus reason = std::exchange(m_EndNews, VX_OK);
    if (reason != VX_OK) listener = m_EndListener;
    lock.Unlock();
    if (listener) listener(reason);
}

PumpClient::Clock::time_point EventEngine::RecoverInTime() {
    MutexLock lock(m_Lock);
    if (m_Phase != Phase::Recovering || m_InFlight != 0) return Clock::time_point::max();
    if (m_RecoverAt > Clock::now()) return m_RecoverAt;
    m_RecoveryRuns = true;
    lock.Unlock();
    Recover();
    lock.Lock();
    m_RecoveryRuns = false;
    m_Changed.notify_all();
    return m_RecoverAt;
}

/// Whoever retrieves events learns it first; the camera, which nobody listens to any more, if it answers.
bool EventEngine::GivesUp() {
    {
        Alarm alarm;
        const MutexLock lock(m_Lock);
        if (++m_RecoveriesInRow <= kMostRecoveries) return false;
        Log(Tavix::kLogError, "The event channel has ended after %d recoveries in a row", kMostRecoveries);
        End(VX_E_USB_IO, alarm);
    }
    const VxStatus status = Enable(false);
    if (status != VX_OK) Log(Tavix::kLogWarning, "The camera's events stay switched on: 0x%08X", status);
    return true;
}

/// On the pump's thread. The camera switches its events off when it halts the endpoint.
void EventEngine::Recover() {
    if (GivesUp()) return;
    VxStatus status = ClearHalt();
    if (status == VX_OK) {
        Alarm alarm;
        const MutexLock lock(m_Lock);
        if (m_Phase != Phase::Recovering) return;
        m_Phase = Phase::Running;
        SubmitAll(alarm);
        if (m_Phase != Phase::Running) return;
    }
    if (status == VX_OK) status = Enable(true);
    if (status == VX_OK) return;
    Alarm alarm;
    const MutexLock lock(m_Lock);
    if (status == VX_E_USB_NO_DEVICE) {
        End(status, alarm);
    } else if (m_Phase == Phase::Running || m_Phase == Phase::Recovering) {
        Leave(Phase::Recovering);
    }
}

void EventEngine::CameraGone() {
    Alarm alarm;
    const MutexLock lock(m_Lock);
    End(VX_E_USB_NO_DEVICE, alarm);
}

} // namespace vexlo
