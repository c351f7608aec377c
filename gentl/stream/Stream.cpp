#include "gentl/stream/Stream.h"

#include "gentl/module/Device.h"
#include "gentl/stream/NewBufferEvent.h"

#include <cstdint>

namespace gentl {
namespace {

vexlo::CVxStream& StreamOf(const Device& device) {
    vexlo::CVxStream* stream = nullptr;
    Check(device.Vx().GetStream(&stream), "The camera's stream is not available");
    return *stream;
}

std::string EndText(vexlo::VxStatus reason) {
    return reason == vexlo::VX_E_USB_NO_DEVICE ? "the camera was unplugged" : "the stream has ended: " + TextOf(reason);
}

} // namespace

Stream::Stream(std::shared_ptr<Device> device)
    : Module(Kind::Stream), m_Device(std::move(device)), m_Port("TLDataStream", Device::kStreamId),
      m_Vx(StreamOf(*m_Device)), m_Engine(m_Vx, *this) {
    BuildPort();
}

Stream::~Stream() = default;

void Stream::DoOpen() {
    Check(m_Vx.Open(), "The camera's stream cannot be opened");
}

void Stream::CheckOwn(const Buffer& buffer) const {
    if (buffer.stream != Handle()) Fail(GC_ERR_INVALID_HANDLE, "the buffer does not belong to the stream");
}

SharedBuffer Stream::Announce(void* memory, size_t size, void* user) {
    if (!memory || size == 0) Fail(GC_ERR_INVALID_PARAMETER, "the buffer has no memory");
    if (size > PTRDIFF_MAX) Fail(GC_ERR_INVALID_PARAMETER, "no memory is so large"); // a start would fail by it
    auto buffer = std::make_shared<Buffer>(Handle(), memory, size, user);
    m_Engine.Announce(buffer);
    return buffer;
}

SharedBuffer Stream::Allocate(size_t size, void* user) {
    if (size == 0) Fail(GC_ERR_INVALID_PARAMETER, "the buffer has no size");
    std::shared_ptr<void> memory = m_Vx.ShareMemory(size);
    if (!memory) memory.reset(new std::uint8_t[size], std::default_delete<std::uint8_t[]>());
    auto buffer = std::make_shared<Buffer>(Handle(), memory.get(), size, user, memory);
    m_Engine.Announce(buffer);
    return buffer;
}

void Stream::Revoke(const SharedBuffer& buffer, void** memory, void** user) {
    CheckOwn(*buffer);
    m_Engine.Revoke(buffer);
    if (memory) *memory = buffer->own ? nullptr : buffer->data;
    if (user) *user = buffer->userPointer;
}

[[gnu::hot]] void Stream::Queue(Buffer& buffer) {
    CheckOwn(buffer);
    m_Engine.Queue(buffer);
}

void Stream::Start(std::uint64_t count) {
    m_Device->CheckWritable(); // the camera's stream is switched on
    m_Engine.Start(count);
}

void Stream::Stop() {
    m_Engine.Stop();
}

void Stream::NoteGrabbing() noexcept {
    Invalidate("StreamIsGrabbing");
}

void Stream::NoteEnd(vexlo::VxStatus reason) noexcept {
    if (reason == vexlo::VX_E_USB_NO_DEVICE) return; // NoteLoss tells it
    const auto event = Event(EVENT_ERROR);
    if (!event) return;
    try {
        event->PushError(GC_ERR_IO, EndText(reason).c_str());
    } catch (const std::bad_alloc&) {
        return; // who waits for images is told all the same
    }
}

void Stream::FailBecauseOfEnd(vexlo::VxStatus reason) {
    if (reason == vexlo::VX_OK) reason = vexlo::VX_E_USB_NO_DEVICE; // the camera left before its stream noticed it
    throw Failure(GC_ERR_IO, EndText(reason));
}

[[gnu::hot]] bool Stream::IsLost() const {
    return m_Device->IsLost();
}

void Stream::NoteLoss() noexcept {
    if (const auto event = Event(EVENT_ERROR)) event->PushError(GC_ERR_IO, "the camera was unplugged");
    if (const auto event = std::static_pointer_cast<NewBufferEvent>(Event(EVENT_NEW_BUFFER))) event->Wait().Signal();
}

std::shared_ptr<EventQueue> Stream::MakeEvent(EVENT_TYPE type) {
    if (type != EVENT_NEW_BUFFER) return Module::MakeEvent(type);
    return std::make_shared<NewBufferEvent>(std::static_pointer_cast<Stream>(shared_from_this()));
}

void Stream::DoEnd() noexcept {
    const std::vector<SharedBuffer> buffers = m_Engine.Close(); // their memory stays until the bus has let go of it
    Module::DoEnd();
    (void)m_Vx.Close(); // a camera that is gone must not keep it open
    m_Device->Forget(*this);
}

} // namespace gentl
