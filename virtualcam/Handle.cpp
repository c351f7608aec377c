#include "virtualcam/Handle.h"

namespace virtualcam {
namespace {

usb::Result ResultOf(usb::TransferStatus status) {
    switch (status) {
    case usb::TransferStatus::Completed:
        return usb::Result::Ok;
    case usb::TransferStatus::TimedOut:
    case usb::TransferStatus::Cancelled:
        return usb::Result::Timeout;
    case usb::TransferStatus::Stall:
        return usb::Result::Pipe;
    case usb::TransferStatus::NoDevice:
        return usb::Result::NoDevice;
    case usb::TransferStatus::Overflow:
        return usb::Result::Overflow;
    default:
        return usb::Result::Io;
    }
}

Request* RequestOf(usb::Transfer& transfer) {
    return static_cast<Request*>(transfer.backendData);
}

} // namespace

Handle::~Handle() {
    m_Attachment->ReleaseAll(this);
}

usb::Result Handle::Claim(std::uint8_t interfaceNumber) {
    return m_Attachment->Claim(interfaceNumber, this);
}

usb::Result Handle::Release(std::uint8_t interfaceNumber) {
    return m_Attachment->Release(interfaceNumber, this);
}

// --- synchronous

usb::Result Handle::Control(const usb::ControlSetup& setup, std::uint8_t* data, std::size_t& actual, unsigned int) {
    actual = 0;
    if (!m_Attachment->IsPresent()) return usb::Result::NoDevice;
    const PipeAnswer answer = m_Attachment->GetDevice().Control(setup, data);
    actual = answer.bytes;
    if (answer.status == PipeStatus::Complete) return usb::Result::Ok;
    return answer.status == PipeStatus::Gone ? usb::Result::NoDevice : usb::Result::Pipe;
}

usb::Result Handle::Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                         unsigned int timeoutMs) {
    actual = 0;
    if (!m_Attachment->IsPresent()) return usb::Result::NoDevice;
    EndpointQueue* const queue = m_Attachment->ClaimedEndpoint(endpoint, this);
    if (!queue) return usb::Result::NotFound;
    Request request;
    request.buffer = data;
    request.length = length;
    queue->Transfer(request, timeoutMs);
    actual = request.actual;
    ServeAnswer(endpoint);
    return ResultOf(request.status);
}

// An acknowledge is ready as soon as its command is there: serve whoever waits for it without the device's thread.
void Handle::ServeAnswer(std::uint8_t endpoint) {
    if (endpoint != kControlOut) return;
    EndpointQueue& answers = m_Attachment->Acknowledges();
    if (!answers.IsIdle()) answers.Pump();
}

// --- asynchronous

bool Handle::Reserve(std::size_t bytes) {
    const std::size_t before = m_Memory->used.fetch_add(bytes);
    if (m_Memory->limit == 0 || before + bytes <= m_Memory->limit) return true;
    m_Memory->used -= bytes;
    return false;
}

usb::Result Handle::Submit(usb::Transfer& transfer) {
    if (!m_Attachment->IsPresent()) return usb::Result::NoDevice;
    if (!transfer.completed || (!transfer.buffer && transfer.length != 0)) return usb::Result::InvalidParam;
    EndpointQueue* const queue = m_Attachment->ClaimedEndpoint(transfer.endpoint, this);
    if (!queue) return usb::Result::NotFound;
    if (!Reserve(transfer.length)) return usb::Result::NoMemory;
    if (!transfer.backendData) transfer.backendData = new Request;
    Request& request = *RequestOf(transfer);
    request.buffer = transfer.buffer;
    request.length = transfer.length;
    request.actual = 0;
    request.cancelled = false;
    request.transfer = &transfer;
    request.completions = m_Completions;
    request.memory = &m_Memory->used;
    queue->Submit(request);
    return usb::Result::Ok;
}

usb::Result Handle::Cancel(usb::Transfer& transfer) {
    EndpointQueue* const queue = m_Attachment->FindEndpoint(transfer.endpoint);
    if (!queue || !transfer.backendData) return usb::Result::NotFound;
    return queue->Cancel(*RequestOf(transfer)) ? usb::Result::Ok : usb::Result::NotFound;
}

void Handle::Forget(usb::Transfer& transfer) {
    delete RequestOf(transfer);
    transfer.backendData = nullptr;
}

usb::Result Handle::HandleEvents(unsigned int timeoutMs) {
    for (usb::Transfer* const transfer : m_Completions->Wait(timeoutMs))
        transfer->completed(*transfer);
    return usb::Result::Ok;
}

void Handle::WakeEvents() {
    m_Completions->Interrupt();
}

// --- device

usb::Result Handle::ClearHalt(std::uint8_t endpoint) {
    if (!m_Attachment->IsPresent()) return usb::Result::NoDevice;
    EndpointQueue* const queue = m_Attachment->ClaimedEndpoint(endpoint, this);
    if (!queue) return usb::Result::NotFound;
    if (!queue->IsIdle()) return usb::Result::Busy; // a real host controller would lose step with the device
    m_Attachment->GetDevice().ClearHalt(endpoint);
    return usb::Result::Ok;
}

usb::Result Handle::Reset() {
    if (!m_Attachment->IsPresent()) return usb::Result::NoDevice;
    m_Attachment->GetDevice().BusReset();
    return usb::Result::Ok;
}

std::string Handle::ReadString(std::uint8_t index) {
    if (index == 0) return {};
    std::uint8_t bytes[255] = {};
    const usb::ControlSetup setup{0x80, request::kGetDescriptor, static_cast<std::uint16_t>(0x0300 | index), 0x0409,
                                  255};
    std::size_t actual = 0;
    if (Control(setup, bytes, actual, 1000) != usb::Result::Ok) return {};
    std::string text;
    for (std::size_t i = 2; i + 1 < actual; i += 2)
        text.push_back(bytes[i + 1] == 0 && bytes[i] < 0x80 ? static_cast<char>(bytes[i]) : '?');
    return text;
}

} // namespace virtualcam
