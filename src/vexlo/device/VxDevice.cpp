// One USB3 Vision camera: control channel, properties and its two streams.
#include "vexlo/VxDevice.h"

#include "vexlo/Library.h"
#include "vexlo/Logging.h"
#include "vexlo/NoThrow.h"
#include "vexlo/PropertyValue.h"
#include "vexlo/UsbStatus.h"
#include "vexlo/XmlFile.h"
#include "vexlo/device/DescriptionDownload.h"
#include "vexlo/device/OpenCamera.h"
#include "vexlo/device/VxDeviceImpl.h"
#include "vexlo/event/VxEventStreamImpl.h"
#include "vexlo/stream/StreamImpl.h"

#include <new>

namespace vexlo {
namespace {

constexpr std::uint32_t kShortestFloor = 10;
constexpr std::uint32_t kLongestTimeout = 60000;
constexpr Deadline::Duration kDownloadLimit{30000};

VxStatus SetSwitch(bool& isOn, const void* buffer, unsigned long size) {
    std::uint8_t value = 0;
    const VxStatus status = SetValue(value, buffer, size);
    if (status == VX_OK) isOn = value != 0;
    return status;
}

/// Who opens the camera again need not find out anew.
void RememberSilence(DeviceSession& session) {
    const auto library = Library::Get();
    if (!library || !session.Control().IsGivenUp() || !session.IsCameraThere()) return;
    const FoundCamera& camera = session.Camera();
    library->Silence().NoteFallenSilent(camera.backend.get(), camera.id, camera.path);
}

} // namespace

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
    return NoThrow([&] {
        const MutexLock lock(m_Impl->lock);
        const auto library = Library::Get();
        if (!library) return VX_E_NOT_INITIALIZED;
        if (m_Impl->session.Get()) return VX_E_ALREADY_OPEN;
        m_Impl->statistics.Clear();
        OpeningRequest request;
        request.device = this;
        request.timing = m_Impl->timing;
        request.isProbe = m_Impl->isProbe;
        request.isForReading = m_Impl->isForReading;
        request.counters = &m_Impl->statistics.pipes;
        std::shared_ptr<DeviceSession> session;
        const VxStatus status = OpenCamera(*library, info, request, session);
        if (status == VX_OK) m_Impl->session.Set(std::move(session));
        return status;
    });
}

VxStatus CVxDevice::Close() {
    return NoThrow([&] {
        const MutexLock lock(m_Impl->lock);
        const auto session = m_Impl->session.Get();
        if (!session) return VX_E_NOT_OPEN;
        VxStatus status = VX_OK;
        if (m_Impl->stream->IsOpen()) status = m_Impl->stream->Close();
        if (m_Impl->eventStream->IsOpen()) {
            const VxStatus closed = m_Impl->eventStream->Close();
            if (status == VX_OK) status = closed;
        }
        m_Impl->session.Set(nullptr);
        RememberSilence(*session);
        session->Leave();
        // With the camera gone there is nothing left to be told to it.
        return status == VX_E_USB_NO_DEVICE ? VX_OK : status;
    });
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
    const VxStatus status =
        NoThrow([&] { return session->Memory().Read(address, static_cast<std::uint8_t*>(buffer), count, done); });
    *pCount = done;
    return session->Note(m_Impl->statistics.NoteRead(status));
}

VxStatus CVxDevice::WriteMem(const void* buffer, unsigned long address, unsigned long count) {
    if (buffer == nullptr && count != 0) return VX_E_INVALID_PARAMETER;
    const auto session = m_Impl->session.Get();
    if (!session) return VX_E_NOT_OPEN;
    std::size_t done = 0;
    const u3v::ByteView data{static_cast<const std::uint8_t*>(buffer), count};
    // The register may be a command: nothing that may have been executed is executed again.
    const VxStatus status = NoThrow([&] { return session->Memory().Write(address, data, Repeat::Never, done); });
    session->NoteWrite();
    return session->Note(m_Impl->statistics.NoteWrite(status));
}

bool CVxDevice::IsWriteInDoubt(unsigned int status) {
    return IsSilence(status);
}

VxStatus CVxDevice::RewriteMem(const void* buffer, unsigned long address, unsigned long count) {
    if (buffer == nullptr && count != 0) return VX_E_INVALID_PARAMETER;
    const auto session = m_Impl->session.Get();
    if (!session) return VX_E_NOT_OPEN;
    const u3v::ByteView data{static_cast<const std::uint8_t*>(buffer), count};
    const VxStatus status = NoThrow([&] { return session->Memory().Rewrite(address, data); });
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
    case Property_HasStream:
        if (const auto session = m_Impl->session.Get())
            return GetValue(static_cast<std::uint8_t>(session->HasStream()), buffer, size);
        return VX_E_NOT_OPEN;
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
    if (const bool* const isSo = m_Impl->HowToOpen(id)) return GetValue(static_cast<std::uint8_t>(*isSo), buffer, size);
    return m_Impl->request.Get(id, buffer, size);
}

VxStatus CVxDevice::Impl::SetTimeout(EPropertyValue id, const void* buffer, unsigned long size) {
    std::uint32_t time = 0;
    const std::uint32_t shortest = id == Property_ConnectTimeout ? 0 : kShortestFloor;
    const VxStatus status = SetValueWithin(time, buffer, size, shortest, kLongestTimeout);
    if (status != VX_OK) return status;
    const auto opened = session.Get();
    if (id == Property_ControlTimeout) {
        timing.floor = std::chrono::milliseconds(time);
        if (opened) opened->Control().SetFloor(time);
    } else if (id == Property_WriteTimeout) {
        timing.lastingFloor = std::chrono::milliseconds(time);
        if (opened) opened->Control().SetLastingFloor(time);
    } else {
        timing.connectLimit = std::chrono::milliseconds(time);
    }
    return VX_OK;
}

bool* CVxDevice::Impl::HowToOpen(EPropertyValue id) {
    if (id == Property_OpenAsProbe) return &isProbe;
    return id == Property_OpenToRead ? &isForReading : nullptr;
}

VxStatus CVxDevice::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    const MutexLock lock(m_Impl->lock);
    if (id == Property_ControlTimeout || id == Property_WriteTimeout || id == Property_ConnectTimeout)
        return m_Impl->SetTimeout(id, buffer, size);
    if (bool* const isSo = m_Impl->HowToOpen(id)) return SetSwitch(*isSo, buffer, size);
    if (!CustomRequest::IsExecution(id)) return m_Impl->request.Set(id, buffer, size);
    if (buffer == nullptr) return VX_E_INVALID_PARAMETER;
    if (size != 1) return VX_E_INVALID_SIZE;
    const auto session = m_Impl->session.Get();
    if (!session) return VX_E_NOT_OPEN;
    const auto timeout = Milliseconds(session->Control().Timeout());
    return session->Note(m_Impl->request.Execute(session->Handle(), id, timeout));
}

VxStatus CVxDevice::ProvideXmlFile(CXmlFile& file) {
    file.Clear();
    const auto session = m_Impl->session.Get();
    if (!session) return VX_E_NOT_OPEN;
    RegisterAccess registers(session->Control(), Deadline(kDownloadLimit));
    return session->Note(
        NoThrow([&] { return DownloadDescription(registers, session->Registers().manifestAddress, file); }));
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
