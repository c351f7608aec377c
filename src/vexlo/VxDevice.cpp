// One USB3 Vision camera: control channel, properties and its two streams.
#include "vexlo/VxDevice.h"

#include "vexlo/DescriptionFile.h"
#include "vexlo/Library.h"
#include "vexlo/Logging.h"
#include "vexlo/PropertyValue.h"
#include "vexlo/UsbStatus.h"
#include "vexlo/VxDeviceImpl.h"
#include "vexlo/VxEventStreamImpl.h"
#include "vexlo/XmlFile.h"
#include "vexlo/stream/StreamImpl.h"

#include <algorithm>
#include <new>
#include <thread>

namespace vexlo {
namespace {

constexpr std::uint32_t kShortestFloor = 10;
constexpr std::uint32_t kLongestFloor = 60000;
constexpr std::uint32_t kLongestConnect = 60000;
constexpr std::chrono::milliseconds kLookPause{50};
constexpr std::chrono::seconds kArrivalLimit{2};

/// Not there, or not ours to open.
bool IsAway(VxStatus status) {
    return status == VX_E_NOT_FOUND || status == VX_E_USB_NO_DEVICE || status == VX_E_USB_ACCESS;
}

VxStatus OpenSession(Library& library, const DeviceDiscoveryInfo& info, const DeviceSession::Options& options,
                     FoundCamera& camera, std::shared_ptr<DeviceSession>& session) {
    VxStatus status = FindCamera(library.Backends(), info, camera);
    if (status != VX_OK) return status;
    status = DeviceSession::Open(camera, library.Notifier(), options, session);
    Log(Tavix::kLogDetail, "Open camera '%s': 0x%08X", camera.path.c_str(), status);
    return status;
}

/// A camera that has just been plugged in may not be the user's yet, as the system is still making its node and setting
/// the rights. Meanwhile libusb may even take it off its list.
VxStatus OpenArriving(Library& library, const DeviceDiscoveryInfo& info, const DeviceSession::Options& options,
                      std::shared_ptr<DeviceSession>& session) {
    const auto end = std::chrono::steady_clock::now() + kArrivalLimit;
    FoundCamera camera;
    for (;;) {
        const VxStatus status = OpenSession(library, info, options, camera, session);
        const bool isKnown = camera.backend != nullptr && options.counters->cameraResets == 0;
        const bool mayChange = isKnown && IsAway(status) && camera.backend->IsArriving(camera.id);
        if (!mayChange || std::chrono::steady_clock::now() >= end) return status;
        std::this_thread::sleep_for(kLookPause);
    }
}

/// After a reset that made the camera leave the bus: it comes back within some seconds, perhaps under another address.
VxStatus OpenReturning(Library& library, const DeviceDiscoveryInfo& info, DeviceSession::Options options,
                       std::shared_ptr<DeviceSession>& session) {
    const auto end = std::chrono::steady_clock::now() + options.timing.resetLimit;
    options.timing.mayReset = false;
    options.timing.connectLimit = options.timing.resetLimit;
    for (;;) {
        FoundCamera camera;
        const VxStatus status = OpenSession(library, info, options, camera, session);
        if (!IsAway(status) || std::chrono::steady_clock::now() >= end)
            return status == VX_E_NOT_FOUND ? VX_E_USB_NO_DEVICE : status;
        std::this_thread::sleep_for(kLookPause);
    }
}

} // namespace

ControlTiming ConnectPatience::For(ControlTiming timing) const {
    if (Clock::now() >= m_SilentUntil) return timing;
    timing.connectLimit = std::min(timing.connectLimit, kBriefLimit);
    timing.mayReset = false;
    return timing;
}

void ConnectPatience::Note(VxStatus status) {
    m_SilentUntil = IsSilence(status) ? Clock::now() + kMemory : Clock::time_point{};
}

VxStatus AccessStatistics::NoteRead(VxStatus status) {
    if (status == VX_OK) return status;
    ++failedReads;
    lastError = status;
    return status;
}

VxStatus AccessStatistics::NoteWrite(VxStatus status) {
    if (status == VX_OK) return status;
    ++failedWrites;
    lastError = status;
    return status;
}

void AccessStatistics::Clear() {
    pipes.readPipeResets = 0;
    pipes.writePipeResets = 0;
    pipes.cameraResets = 0;
    failedReads = 0;
    failedWrites = 0;
    lastError = VX_OK;
}

CVxDevice::Impl::Impl()
    : stream(std::make_unique<CVxStream>(std::make_unique<CVxStream::Impl>(session))),
      eventStream(std::make_unique<CVxEventStream>(std::make_unique<CVxEventStream::Impl>(session))) {}

CVxDevice::CVxDevice() : m_Impl(std::make_unique<Impl>()) {}
CVxDevice::~CVxDevice() = default;

CVxDevice* CVxDevice::CreateDevice(EDeviceType type) {
    if (type != DeviceType_Libusb) return nullptr;
    try {
        return new CVxDevice;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void CVxDevice::DestroyDevice(CVxDevice* device) {
    if (device == nullptr) return;
    if (device->IsOpen()) {
        const VxStatus status = device->Close();
        if (status != VX_OK) Log(Tavix::kLogWarning, "Closing a camera to destroy it: 0x%08X", status);
    }
    delete device;
}

VxStatus CVxDevice::Open(const DeviceDiscoveryInfo* info) {
    return info == nullptr ? VX_E_INVALID_PARAMETER : Open(*info);
}

VxStatus CVxDevice::Open(const DeviceDiscoveryInfo& info) {
    const MutexLock lock(m_Impl->lock);
    const auto library = Library::Get();
    if (!library) return VX_E_NOT_INITIALIZED;
    if (m_Impl->session.Get()) return VX_E_ALREADY_OPEN;
    m_Impl->statistics.Clear();
    DeviceSession::Options options;
    options.device = this;
    options.timing = m_Impl->patience.For(m_Impl->timing);
    options.counters = &m_Impl->statistics.pipes;
    std::shared_ptr<DeviceSession> session;
    VxStatus status = OpenArriving(*library, info, options, session);
    const bool wasReset = m_Impl->statistics.pipes.cameraResets != 0;
    if (wasReset && status == VX_E_USB_NO_DEVICE) status = OpenReturning(*library, info, options, session);
    m_Impl->patience.Note(status);
    if (status == VX_OK) m_Impl->session.Set(std::move(session));
    return status;
}

VxStatus CVxDevice::Close() {
    const MutexLock lock(m_Impl->lock);
    if (!m_Impl->session.Get()) return VX_E_NOT_OPEN;
    VxStatus status = VX_OK;
    if (m_Impl->stream->IsOpen()) status = m_Impl->stream->Close();
    if (m_Impl->eventStream->IsOpen()) {
        const VxStatus closed = m_Impl->eventStream->Close();
        if (status == VX_OK) status = closed;
    }
    m_Impl->session.Set(nullptr);
    // With the camera gone there is nothing left to be told to it.
    return status == VX_E_USB_NO_DEVICE ? VX_OK : status;
}

bool CVxDevice::IsOpen() const {
    return m_Impl->session.Get() != nullptr;
}

VxStatus CVxDevice::ReadMem(void* buffer, unsigned long address, unsigned long* pCount) {
    if (pCount == nullptr || (buffer == nullptr && *pCount != 0)) return VX_E_INVALID_PARAMETER;
    const std::size_t count = *pCount;
    *pCount = 0;
    const auto session = m_Impl->session.Get();
    if (!session) return VX_E_NOT_OPEN;
    std::size_t done = 0;
    const VxStatus status = session->Memory().Read(address, static_cast<std::uint8_t*>(buffer), count, done);
    *pCount = done;
    return session->Note(m_Impl->statistics.NoteRead(status));
}

VxStatus CVxDevice::WriteMem(const void* buffer, unsigned long address, unsigned long count) {
    if (buffer == nullptr && count != 0) return VX_E_INVALID_PARAMETER;
    const auto session = m_Impl->session.Get();
    if (!session) return VX_E_NOT_OPEN;
    std::size_t done = 0;
    // The register may be a command: nothing that may have been executed is executed again.
    const VxStatus status =
        session->Memory().Write(address, {static_cast<const std::uint8_t*>(buffer), count}, Repeat::Never, done);
    session->NoteWrite();
    return session->Note(m_Impl->statistics.NoteWrite(status));
}

VxStatus CVxDevice::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    const AccessStatistics& statistics = m_Impl->statistics;
    switch (id) {
    case Property_ReadPipeResetCount:
        return GetValue(statistics.pipes.readPipeResets.load(), buffer, size);
    case Property_WritePipeResetCount:
        return GetValue(statistics.pipes.writePipeResets.load(), buffer, size);
    case Property_ReadOperationsFailedCount:
        return GetValue(statistics.failedReads.load(), buffer, size);
    case Property_WriteOperationsFailedCount:
        return GetValue(statistics.failedWrites.load(), buffer, size);
    case Property_LastErrorStatus:
        return GetValue(statistics.lastError.load(), buffer, size);
    default:
        break;
    }
    const MutexLock lock(m_Impl->lock);
    if (id == Property_ControlTimeout)
        return GetValue(static_cast<std::uint32_t>(m_Impl->timing.floor.count()), buffer, size);
    if (id == Property_WriteTimeout)
        return GetValue(static_cast<std::uint32_t>(m_Impl->timing.lastingFloor.count()), buffer, size);
    if (id == Property_ConnectTimeout)
        return GetValue(static_cast<std::uint32_t>(m_Impl->timing.connectLimit.count()), buffer, size);
    return m_Impl->request.Get(id, buffer, size);
}

VxStatus CVxDevice::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    const MutexLock lock(m_Impl->lock);
    const auto session = m_Impl->session.Get();
    if (id == Property_ControlTimeout || id == Property_WriteTimeout) {
        std::uint32_t floor = 0;
        const VxStatus status = SetValue(floor, buffer, size);
        if (status != VX_OK) return status;
        if (floor < kShortestFloor || floor > kLongestFloor) return VX_E_INVALID_PARAMETER;
        const bool isForWrites = id == Property_WriteTimeout;
        (isForWrites ? m_Impl->timing.lastingFloor : m_Impl->timing.floor) = std::chrono::milliseconds(floor);
        if (session && isForWrites) session->Control().SetLastingFloor(floor);
        if (session && !isForWrites) session->Control().SetFloor(floor);
        return VX_OK;
    }
    if (id == Property_ConnectTimeout) {
        std::uint32_t limit = 0;
        const VxStatus status = SetValue(limit, buffer, size);
        if (status != VX_OK) return status;
        if (limit > kLongestConnect) return VX_E_INVALID_PARAMETER;
        m_Impl->timing.connectLimit = std::chrono::milliseconds(limit);
        return VX_OK;
    }
    if (!CustomRequest::IsExecution(id)) return m_Impl->request.Set(id, buffer, size);
    if (buffer == nullptr) return VX_E_INVALID_PARAMETER;
    if (size != 1) return VX_E_INVALID_SIZE;
    if (!session) return VX_E_NOT_OPEN;
    const auto timeout = static_cast<unsigned int>(session->Control().Timeout().count());
    return session->Note(m_Impl->request.Execute(session->Handle(), id, timeout));
}

VxStatus CVxDevice::ProvideXmlFile(CXmlFile& file) {
    file.Clear();
    const auto session = m_Impl->session.Get();
    if (!session) return VX_E_NOT_OPEN;
    return session->Note(DownloadDescription(session->Memory(), session->Registers().manifestAddress, file));
}

VxStatus CVxDevice::GetStream(CVxStream** ppStream) {
    if (ppStream == nullptr) return VX_E_INVALID_PARAMETER;
    *ppStream = m_Impl->stream.get();
    return VX_OK;
}

VxStatus CVxDevice::GetEventStream(CVxEventStream** ppStream) {
    if (ppStream == nullptr) return VX_E_INVALID_PARAMETER;
    *ppStream = m_Impl->eventStream.get();
    return VX_OK;
}

} // namespace vexlo
