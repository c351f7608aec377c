#include "gentl/stream/AcquisitionEngine.h"

#include <algorithm>

namespace gentl {
namespace {

using Guard = Tavix::MutexLock;
using GrabResult = vexlo::CVxStream::GrabResult;

/// Announced still: it is revoked only when it is back from the bus.
Buffer& FilledBy(const GrabResult& result) {
    return *const_cast<Buffer*>(static_cast<const Buffer*>(result.Context));
}

/// By an unplug before anything of a block came: nothing to deliver, and nothing that an image should give way to.
bool WasLeftEmpty(const GrabResult& result) {
    return result.Status == vexlo::VX_E_USB_NO_DEVICE && result.PayloadSize == 0 && result.BlockId == ~std::uint64_t(0);
}

} // namespace

AcquisitionEngine::AcquisitionEngine(vexlo::CVxStream& stream, AcquisitionObserver& observer)
    : m_Vx(stream), m_Observer(observer), m_Pump(m_PumpBell, [this] { DrainForPump(); }) {}

void AcquisitionEngine::CheckOpen() const {
    if (m_Phase == Phase::Closed) Fail(GC_ERR_INVALID_HANDLE, "the stream was closed");
}

void AcquisitionEngine::Announce(const SharedBuffer& buffer) {
    const Guard guard(m_Mutex);
    CheckOpen();
    if (m_Queues.HasMemory(buffer->data)) Fail(GC_ERR_RESOURCE_IN_USE, "the memory is announced already");
    buffer->Register();
    try {
        m_Queues.Announce(buffer);
        if (m_IsPrepared) RegisterOnBus(*buffer);
    } catch (...) {
        m_Queues.Revoke(*buffer);
        buffer->Unregister();
        throw;
    }
}

void AcquisitionEngine::RegisterOnBus(Buffer& buffer) {
    vexlo::BufferHandle_s*& handle = m_Queues.WayOf(buffer).handle;
    if (handle) return;
    Check(m_Vx.RegisterBuffer(buffer.data, buffer.size, &handle), "The buffer cannot be used");
}

[[gnu::hot]] vexlo::VxStatus AcquisitionEngine::QueueOnBus(Buffer& buffer) {
    const vexlo::VxStatus status = m_Vx.QueueBuffer(m_Queues.WayOf(buffer).handle, &buffer);
    if (status == vexlo::VX_OK) m_Queues.NoteOnBus(buffer, true);
    return status;
}

void AcquisitionEngine::CheckAnnounced(Buffer& buffer) {
    if (m_Queues.WayOf(buffer).place == Place::None) Fail(GC_ERR_INVALID_HANDLE, "the buffer was revoked");
}

bool AcquisitionEngine::Feeds() const {
    return m_Phase == Phase::Running && m_Left != 0 && m_CallsOff == 0;
}

[[gnu::hot]] void AcquisitionEngine::PutIntoInput(Buffer& buffer) {
    m_Queues.PutIntoInput(buffer);
    if (!Feeds()) return;
    const vexlo::VxStatus status = QueueOnBus(buffer);
    if (status == vexlo::VX_OK) return;
    PutAside(buffer);
    if (status == vexlo::VX_E_USB_NO_DEVICE) Fail(GC_ERR_IO, "the camera was unplugged");
    FailBecauseOf(status, "The buffer cannot be queued");
}

void AcquisitionEngine::PutAside(Buffer& buffer) {
    if (m_Queues.WayOf(buffer).isOnBus) {
        Fail(GC_ERR_BUSY, "the buffer is planned to be filled next: stop the stream or flush its queue with "
                          "ACQ_QUEUE_ALL_DISCARD before");
    }
    m_Queues.PutAside(buffer);
}

/// While nothing is planned for it.
void AcquisitionEngine::TakeBack(Buffer& buffer) {
    const auto& way = m_Queues.WayOf(buffer);
    if (way.isOnBus && m_Vx.TakeBackBuffer(way.handle) == vexlo::VX_OK) m_Queues.NoteOnBus(buffer, false);
}

void AcquisitionEngine::Revoke(const SharedBuffer& buffer) {
    const Guard guard(m_Mutex);
    CheckAnnounced(*buffer);
    DrainForOthers();
    TakeBack(*buffer);
    TellListener();                                       // it may have been the last one that might bring something
    if (m_Left == 0 && m_Queues.WayOf(*buffer).isOnBus) { // the bus is just giving it back
        CallOff();
        CheckAnnounced(*buffer);
    }
    PutAside(*buffer);
    if (vexlo::BufferHandle_s*& handle = m_Queues.WayOf(*buffer).handle) {
        void* unused = nullptr;
        Check(m_Vx.DeregisterBuffer(handle, &unused), "The buffer is in use");
        handle = nullptr;
    }
    m_Queues.Revoke(*buffer);
    buffer->Unregister();
}

BUFFER_HANDLE AcquisitionEngine::BufferAt(size_t index) {
    const Guard guard(m_Mutex);
    if (index >= m_Queues.Announced().size()) Fail(GC_ERR_INVALID_INDEX, "there is no buffer of that number");
    return m_Queues.Announced()[index]->Handle();
}

[[gnu::hot]] void AcquisitionEngine::Queue(Buffer& buffer) {
    const Guard guard(m_Mutex);
    CheckAnnounced(buffer);
    const Place place = m_Queues.WayOf(buffer).place;
    if (place == Place::Input) Fail(GC_ERR_RESOURCE_IN_USE, "the buffer is queued already");
    if (place == Place::Output) Fail(GC_ERR_BUSY, "the buffer was filled and waits to be delivered");
    PutIntoInput(buffer);
}

[[gnu::hot]] bool AcquisitionEngine::Drain() {
    if (m_Phase == Phase::Closed) return false; // what comes now is another's
    GrabResult result{};
    bool hasCome = false;
    for (unsigned long left = 1; left != 0 && m_Vx.RetrieveBuffer(&result, &left) == vexlo::VX_OK;) {
        hasCome = true;
        Sort(result);
        if (m_Left == 0) left = 1; // what was called off comes behind it
    }
    return hasCome;
}

void AcquisitionEngine::DrainForOthers() {
    if (Drain()) TellListener();
}

[[gnu::hot]] void AcquisitionEngine::Sort(const GrabResult& result) {
    Buffer& buffer = FilledBy(result);
    // Called off, or come after the last one that was wanted: it stays where it is, in the input pool.
    if (result.Status == vexlo::VX_E_CANCELLED || m_Left == 0 || WasLeftEmpty(result))
        m_Queues.NoteOnBus(buffer, false);
    else
        Accept(buffer, result);
}

[[gnu::hot]] void AcquisitionEngine::Accept(Buffer& buffer, const GrabResult& result) {
    m_Queues.Fill(buffer, result);
    if (m_Left != GENTL_INFINITE && --m_Left == 0) CompleteCount();
    if (Overwrites(m_Handling)) Overwrite();
}

void AcquisitionEngine::Overwrite() {
    while (Feeds() || m_Handling == Handling::NewestOnly) {
        Buffer* const oldest = m_Queues.TakeOverwritten(m_Handling);
        if (!oldest) return;
        m_Queues.PutIntoInput(*oldest);
        if (Feeds() && QueueOnBus(*oldest) != vexlo::VX_OK) return; // the stream has ended; it waits for the next start
    }
}

void AcquisitionEngine::CompleteCount() {
    if (m_Phase != Phase::Running) return; // all comes back anyway
    (void)m_Vx.BeginCancelGrab();
    m_Observer.NoteGrabbing();
}

[[gnu::hot]] EVENT_NEW_BUFFER_DATA AcquisitionEngine::TakeOutput(bool& isLast) {
    const Guard guard(m_Mutex);
    (void)Drain();
    const Buffer* const buffer = m_Queues.Deliver();
    isLast = m_Queues.Output().empty();
    if (!buffer) return {};
    return {buffer->Handle(), buffer->userPointer};
}

void AcquisitionEngine::PutAllAside(const BufferQueues::Queue& buffers) {
    while (!buffers.empty())
        PutAside(*buffers.front());
}

void AcquisitionEngine::QueueAll(bool andOutput) {
    for (const SharedBuffer& buffer : m_Queues.Announced()) {
        const Place place = m_Queues.WayOf(*buffer).place;
        if (place == Place::Input || (place == Place::Output && !andOutput)) continue;
        PutIntoInput(*buffer);
    }
}

void AcquisitionEngine::FlushInputToOutput() {
    CallOff();
    m_Queues.MoveInputToOutput();
    TellListener();
}

/// While it starts nothing is there yet; when it was closed what is there is another's.
void AcquisitionEngine::CallOff() {
    if (m_Phase != Phase::Running && m_Phase != Phase::Stopping) return;
    ++m_CallsOff;
    m_Mutex.unlock();
    (void)m_Vx.CancelGrab();
    m_Mutex.lock();
    if (--m_CallsOff == 0) m_HaveCalledOff.notify_all();
    (void)Drain();
    TellListener();
}

bool AcquisitionEngine::MayBring() {
    const Guard guard(m_Mutex);
    if (!m_Queues.Output().empty()) return true;
    for (const SharedBuffer& each : m_Queues.Announced())
        if (m_Queues.WayOf(*each).isOnBus) return true;
    return false;
}

void AcquisitionEngine::Flush(ACQ_QUEUE_TYPE operation) {
    const Guard guard(m_Mutex);
    CheckOpen();
    DrainForOthers();
    switch (operation) {
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
        return FlushInputToOutput();
    case ACQ_QUEUE_OUTPUT_DISCARD:
        return PutAllAside(m_Queues.Output());
    case ACQ_QUEUE_ALL_TO_INPUT:
        return QueueAll(/*andOutput=*/true);
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
        return QueueAll(/*andOutput=*/false);
    case ACQ_QUEUE_ALL_DISCARD:
        CallOff();
        PutAllAside(m_Queues.Input());
        return PutAllAside(m_Queues.Output());
    default:
        Fail(GC_ERR_INVALID_PARAMETER, "unknown flush operation");
    }
}

AcquisitionEngine::Figures AcquisitionEngine::Look() {
    const Guard guard(m_Mutex);
    DrainForOthers();
    const auto& announced = m_Queues.Announced();
    const bool hasMapped =
        std::any_of(announced.begin(), announced.end(), [](const SharedBuffer& each) { return each->IsMapped(); });
    const BufferQueues::Counts& counts = m_Queues.Counted();
    Figures figures{};
    figures.announced = announced.size();
    figures.input = m_Queues.Input().size();
    figures.output = m_Queues.Output().size();
    figures.filled = counts.filled;
    figures.delivered = counts.delivered;
    figures.overwritten = counts.overwritten;
    figures.fired = m_Queues.Fired();
    figures.isRunning = m_Phase != Phase::Idle && m_Phase != Phase::Closed;
    figures.isGrabbing = IsGrabbing();
    figures.hasMapped = hasMapped;
    figures.handling = static_cast<std::uint64_t>(m_Handling);
    return figures;
}

} // namespace gentl
