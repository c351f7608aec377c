#include "gentl/module/Device.h"

#include "gentl/event/RemoteEvent.h"
#include "gentl/module/Interface.h"
#include "gentl/module/RemotePort.h"
#include "gentl/stream/Stream.h"

namespace gentl {

Device::Device(std::shared_ptr<Interface> interface, FoundCamera camera, DEVICE_ACCESS_FLAGS flags)
    : Module(Kind::Device), m_Interface(std::move(interface)), m_Camera(std::move(camera)), m_Path(m_Camera.Path()),
      m_IsReadOnly(flags == DEVICE_ACCESS_READONLY), m_Reservation(m_Path), m_Port("TLDevice", m_Camera.id),
      m_Device(vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb)), m_UserName(m_Camera.UserName()) {
    if (!m_Device) Fail(GC_ERR_OUT_OF_MEMORY, "memory is short");
    BuildPort();
}

Device::~Device() = default;

void Device::CheckWritable() const {
    if (m_IsReadOnly) Fail(GC_ERR_ACCESS_DENIED, "the device was opened to read only");
}

int32_t Device::AccessStatus() const {
    if (m_IsLost) return DEVICE_ACCESS_STATUS_NOACCESS;
    return m_IsReadOnly ? DEVICE_ACCESS_STATUS_OPEN_READONLY : DEVICE_ACCESS_STATUS_OPEN_READWRITE;
}

std::string Device::Version() {
    {
        const Tavix::MutexLock guard(m_ToldMutex);
        if (!m_Version.empty()) return m_Version;
    }
    const std::string version = ReadVersion(*m_Device);
    const Tavix::MutexLock guard(m_ToldMutex);
    return m_Version = version;
}

void Device::Info(DEVICE_INFO_CMD command, Answer& answer) {
    if (command == DEVICE_INFO_ACCESS_STATUS) return answer.Int32(AccessStatus());
    if (command == DEVICE_INFO_VERSION) return answer.String(Version());
    m_Interface->DeviceInfo(AsNamedNow(), command, answer);
}

FoundCamera Device::AsNamedNow() {
    FoundCamera camera = m_Camera;
    const Tavix::MutexLock guard(m_ToldMutex);
    camera.Rename(m_UserName);
    return camera;
}

void Device::NoteUserName(const std::string& name) {
    {
        const Tavix::MutexLock guard(m_ToldMutex);
        if (name == m_UserName) return;
        m_UserName = name;
    }
    Invalidate("DeviceUserID");
    Invalidate("DeviceDisplayName");
}

void Device::BuildPort() {
    m_Port.Constant("DeviceID", m_Camera.id);
    m_Port.Constant("DeviceVendorName", m_Camera.Vendor());
    m_Port.Constant("DeviceModelName", m_Camera.Model());
    m_Port.Choice("DeviceType", {{"USB3Vision", 0}, {"Custom", 1}}, [] { return 0; });
    m_Port.Text("DeviceDisplayName", [this] { return AsNamedNow().DisplayName(); });
    m_Port.Choice("DeviceAccessStatus",
                  {{"Unknown", 0},
                   {"ReadWrite", 1},
                   {"ReadOnly", 2},
                   {"NoAccess", 3},
                   {"Busy", 4},
                   {"OpenReadWrite", 5},
                   {"OpenReadOnly", 6}},
                  [this] { return static_cast<std::uint64_t>(AccessStatus()); });
    m_Port.Constant("DeviceSerialNumber", m_Camera.Serial());
    m_Port.Text("DeviceUserID", [this] { return AsNamedNow().UserName(); });
    m_Port.Limited(
        "StreamSelector", {0, [] { return 0; }, 1}, [] { return 0; },
        [](std::uint64_t number) {
            if (number != 0) Fail(GC_ERR_INVALID_VALUE, "the device has one stream");
        },
        {"StreamID"});
    m_Port.Text("StreamID", [this] { return std::string(m_HasStream ? kStreamId : ""); });
    m_Port.Event("EventDeviceLost", kLostEvent);
}

void Device::DoOpen() {
    const std::uint8_t isReadOnly = m_IsReadOnly ? 1 : 0;
    Check(m_Device->SetProperty(vexlo::CVxDevice::Property_OpenToRead, &isReadOnly, sizeof isReadOnly),
          "The camera cannot be opened");
    m_Reservation.AwaitTurn();
    Check(OpenCamera(*m_Device, m_Camera), "The camera cannot be opened");
    std::uint8_t hasStream = 0;
    Check(m_Device->GetProperty(vexlo::CVxDevice::Property_HasStream, &hasStream, sizeof hasStream),
          "The camera cannot be opened");
    m_HasStream = hasStream != 0;
}

void Device::DoBegin() {
    m_Interface->Admit(std::static_pointer_cast<Device>(shared_from_this()));
    m_Remote = std::make_shared<RemotePort>(*this);
    m_Remote->Register();
    WatchRemoval();
}

void Device::WatchRemoval() {
    m_Callbacks.reserve(2);
    for (const vexlo::EVxCallbackKind kind : {vexlo::VxCallback_DeviceRemoved, vexlo::VxCallback_DeviceLost}) {
        const vexlo::VxCallbackParams params{kind, this, m_Device.get(), &Device::OnRemoval};
        unsigned long handle = 0;
        Check(vexlo::VxRegisterCallback(&params, &handle), "The camera's removal cannot be watched");
        m_Callbacks.push_back(handle);
    }
}

/// On a thread of the USB access library. The device is there: closing it waits for this call.
void Device::OnRemoval(const vexlo::VxCallbackData* data) {
    static_cast<Device*>(data->Context)->NoteRemoval();
}

void Device::NoteRemoval() noexcept {
    if (m_IsLost.exchange(true)) return;
    Tell(kLostEvent);
    if (const auto event = Event(EVENT_ERROR)) event->PushError(GC_ERR_IO, "the camera was unplugged");
    if (const auto event = std::static_pointer_cast<RemoteEvent>(Event(EVENT_REMOTE_DEVICE))) event->NoteLoss();
    Invalidate("DeviceAccessStatus");
    m_Interface->NoteChange();
    if (const auto stream = OpenedStream()) stream->NoteLoss();
}

void Device::NoteEndOfEvents(vexlo::VxStatus reason) noexcept {
    if (reason == vexlo::VX_E_USB_NO_DEVICE) return; // NoteRemoval tells it
    const auto event = Event(EVENT_ERROR);
    if (!event) return;
    try {
        event->PushError(GC_ERR_IO, ("the camera's events have ended: " + TextOf(reason)).c_str());
    } catch (const std::bad_alloc&) {
        return; // who waits for them is told all the same
    }
}

std::shared_ptr<Stream> Device::OpenedStream() {
    const Tavix::MutexLock guard(m_StreamMutex);
    return m_Stream;
}

std::shared_ptr<Stream> Device::OpenStream(const std::string& id) {
    if (!m_HasStream || id != kStreamId) Fail(GC_ERR_INVALID_ID, "there is no stream of that ID");
    const auto stream = std::make_shared<Stream>(std::static_pointer_cast<Device>(shared_from_this()));
    stream->Open([&]() TAVIX_REQUIRES(TreeMutex()) {
        CheckOpen();
        const Tavix::MutexLock guard(m_StreamMutex);
        if (m_Stream) Fail(GC_ERR_RESOURCE_IN_USE, "the stream is open already");
        m_Stream = stream;
    });
    return stream;
}

void Device::Forget(const Stream&) noexcept {
    const Tavix::MutexLock guard(m_StreamMutex);
    m_Stream.reset();
}

std::shared_ptr<EventQueue> Device::MakeEvent(EVENT_TYPE type) {
    if (type != EVENT_REMOTE_DEVICE) return Module::MakeEvent(type);
    CheckWritable(); // the camera's events are switched on
    return std::make_shared<RemoteEvent>(*m_Device, [this](vexlo::VxStatus reason) { NoteEndOfEvents(reason); });
}

void Device::DoLeave() noexcept {
    if (const auto stream = OpenedStream()) stream->Leave();
    if (m_Remote) m_Remote->Leave();
    Module::DoLeave();
}

void Device::DoEnd() noexcept {
    for (const unsigned long callback : m_Callbacks)
        (void)vexlo::VxDeregisterCallback(callback);
    m_Callbacks.clear();
    if (const auto stream = OpenedStream()) stream->End();
    Module::DoEnd();
    (void)m_Device->Close(); // what it says does not matter to a camera that is given back
    m_Interface->Forget(*this);
    m_Reservation.Release();
}

} // namespace gentl
