#include "virtualcam/backend/Handle.h"

#include <new>

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
    for (Request& request : m_Requests)
        if (request.endpoint) request.endpoint->Withdraw(request);
    m_Attachment->ReleaseAll(this);
}

usb::Result Handle::Claim(std::uint8_t interfaceNumber) {
    try {
        return m_Attachment->Claim(interfaceNumber, this);
    } catch (const std::bad_alloc&) {
        return usb::Result::NoMemory;
    }
}

usb::Result Handle::Release(std::uint8_t interfaceNumber) {
    return m_Attachment->Release(interfaceNumber, this);
}

// --- synchronous

usb::Result Handle::Control(const usb::ControlSetup& setup, std::uint8_t* data, std::size_t& actual, unsigned int) {
    actual = 0;
    if (!m_Attachment->IsPresent()) return usb::Result::NoDevice;
    PipeAnswer answer;
    try {
        answer = m_Attachment->GetDevice().Control(setup, data);
    } catch (const std::bad_alloc&) {
        return usb::Result::NoMemory;
    }
    actual = answer.bytes;
    if (answer.status == PipeStatus::Complete) return usb::Result::Ok;
    return answer.status == PipeStatus::Gone ? usb::Result::NoDevice : usb::Result::Pipe;
}

usb::Result Handle::Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                         unsigned int timeoutMs) try {
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
} catch (const std::bad_alloc&) {
    return usb::Result::NoMemory;
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

usb::Result Handle::Prepare(usb::Transfer& transfer) {
    if (transfer.backendData) return usb::Result::Ok;
    const Tavix::MutexLock lock(m_Lock);
    try {
        transfer.backendData = &m_Requests.emplace_back();
    } catch (const std::bad_alloc&) {
        return usb::Result::NoMemory;
    }
    return usb::Result::Ok;
}

usb::Result Handle::Submit(usb::Transfer& transfer) {
    if (!m_Attachment->IsPresent()) return usb::Result::NoDevice;
    if (!transfer.completed || (!transfer.buffer && transfer.length != 0)) return usb::Result::InvalidParam;
    EndpointQueue* const queue = m_Attachment->ClaimedEndpoint(transfer.endpoint, this);
    if (!queue) return usb::Result::NotFound;
    const usb::Result prepared = Prepare(transfer);
    if (prepared != usb::Result::Ok) return prepared;
    if (!Reserve(transfer.length)) return usb::Result::NoMemory;
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

// A transfer should be idle; one that is not would leave its request on the endpoint for ever.
void Handle::Forget(usb::Transfer& transfer) {
    Request* const request = RequestOf(transfer);
    if (!request) return;
    if (request->endpoint) request->endpoint->Withdraw(*request);
    m_Completions->Remove(*request);
    const Tavix::MutexLock lock(m_Lock);
    m_Requests.remove_if([request](const Request& each) { return &each == request; });
    transfer.backendData = nullptr;
}

usb::Result Handle::HandleEvents(unsigned int timeoutMs) {
    for (std::size_t count = m_Completions->Wait(timeoutMs); count != 0; --count)
        if (usb::Transfer* const transfer = m_Completions->Take()) transfer->completed(*transfer);
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
