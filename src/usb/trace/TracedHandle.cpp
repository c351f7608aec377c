// An opened device whose transfers are written to a trace.
#include "usb/trace/TracedHandle.h"

#include "usb/NoThrow.h"

#include <new>
#include <utility>

namespace usb {
namespace {

constexpr std::uint8_t kGetDescriptor = 0x06;
constexpr std::uint8_t kClearFeature = 0x01;
constexpr std::uint8_t kSetConfiguration = 0x09;
constexpr std::uint8_t kToEndpoint = 0x02;
constexpr std::uint8_t kStringType = 0x03;
constexpr std::uint16_t kEnglish = 0x0409;
constexpr std::uint16_t kStringLimit = 255;

TransferStatus StatusOf(Result result) {
    switch (result) {
    case Result::Ok:
        return TransferStatus::Completed;
    case Result::Timeout:
        return TransferStatus::TimedOut;
    case Result::Pipe:
        return TransferStatus::Stall;
    case Result::NoDevice:
        return TransferStatus::NoDevice;
    case Result::Overflow:
        return TransferStatus::Overflow;
    default:
        return TransferStatus::Error;
    }
}

bool IsIn(std::uint8_t endpoint) {
    return (endpoint & kDirectionIn) != 0;
}

/// The descriptor that a text was read from.
std::vector<std::uint8_t> StringDescriptor(const std::string& text) {
    std::vector<std::uint8_t> bytes{static_cast<std::uint8_t>(2 + 2 * text.size()), kStringType};
    for (const char each : text) {
        bytes.push_back(static_cast<std::uint8_t>(each));
        bytes.push_back(0);
    }
    return bytes;
}

} // namespace

// --- control transfers

TracedControl::TracedControl(TraceFile& trace, const TracedPlace& place, const ControlSetup& setup,
                             const std::uint8_t* data)
    : m_Trace(trace), m_In(IsIn(setup.requestType)) {
    m_Record.id = trace.NextId();
    m_Record.bus = place.bus;
    m_Record.address = place.address;
    m_Record.endpoint = m_In ? kDirectionIn : std::uint8_t{0};
    m_Record.isControl = true;
    CaptureRecord submission = m_Record;
    submission.setup = &setup;
    submission.length = setup.length;
    if (!m_In && data != nullptr) {
        submission.data = data;
        submission.captured = setup.length;
    }
    m_Trace.Append(submission);
}

void TracedControl::Completed(Result result, const std::uint8_t* data, std::size_t actual) {
    m_Record.event = CaptureEvent::Completed;
    m_Record.status = StatusOf(result);
    m_Record.length = actual;
    if (m_In && data != nullptr) {
        m_Record.data = data;
        m_Record.captured = actual;
    }
    m_Trace.Append(m_Record);
}

Result TracedHandle::Control(const ControlSetup& setup, std::uint8_t* data, std::size_t& actual,
                             unsigned int timeoutMs) {
    TracedControl record(*m_Trace, m_Place, setup, data);
    const Result result = m_Handle->Control(setup, data, actual, timeoutMs);
    record.Completed(result, data, result == Result::Ok ? actual : 0);
    return result;
}

Result TracedHandle::SelectConfiguration(std::uint8_t value) {
    TracedControl record(*m_Trace, m_Place, {0, kSetConfiguration, value, 0, 0});
    const Result result = m_Handle->SelectConfiguration(value);
    record.Completed(result, nullptr, 0);
    return result;
}

Result TracedHandle::ClearHalt(std::uint8_t endpoint) {
    TracedControl record(*m_Trace, m_Place, {kToEndpoint, kClearFeature, 0, endpoint, 0});
    const Result result = m_Handle->ClearHalt(endpoint);
    record.Completed(result, nullptr, 0);
    return result;
}

std::string TracedHandle::ReadString(std::uint8_t index) {
    const auto value = static_cast<std::uint16_t>(kStringType << 8 | index);
    TracedControl record(*m_Trace, m_Place, {kDirectionIn, kGetDescriptor, value, kEnglish, kStringLimit});
    const std::string text = m_Handle->ReadString(index);
    const Result written = NoThrow([&] {
        const auto bytes = StringDescriptor(text);
        record.Completed(text.empty() ? Result::Pipe : Result::Ok, bytes.data(), text.empty() ? 0 : bytes.size());
        return Result::Ok;
    });
    if (written != Result::Ok) record.Completed(written, nullptr, 0);
    return text;
}

// --- bulk transfers

struct TracedHandle::Twin {
    Transfer transfer;         ///< what the inner handle carries out
    Transfer* owner = nullptr; ///< borrowed while submitted
    TracedHandle* handle = nullptr;
    CaptureRecord record;
};

TracedHandle::TracedHandle(std::unique_ptr<Handle> handle, std::shared_ptr<TraceFile> trace, const TracedPlace& place)
    : m_Handle(std::move(handle)), m_Trace(std::move(trace)), m_Place(place) {}

TracedHandle::~TracedHandle() {
    m_Trace->Flush();
}

CaptureRecord TracedHandle::BulkRecord(std::uint8_t endpoint) const {
    CaptureRecord record;
    record.id = m_Trace->NextId();
    record.bus = m_Place.bus;
    record.address = m_Place.address;
    record.endpoint = endpoint;
    return record;
}

void TracedHandle::RecordSubmission(CaptureRecord& record, const std::uint8_t* data, std::size_t length) {
    record.event = CaptureEvent::Submitted;
    record.length = length;
    record.data = IsIn(record.endpoint) ? nullptr : data;
    record.captured = record.data != nullptr ? length : 0;
    m_Trace->Append(record);
}

void TracedHandle::RecordEnd(CaptureRecord& record, TransferStatus status, const std::uint8_t* data,
                             std::size_t actual) {
    record.event = CaptureEvent::Completed;
    record.status = status;
    record.length = actual;
    record.data = IsIn(record.endpoint) && actual != 0 ? data : nullptr;
    record.captured = record.data != nullptr ? actual : 0;
    m_Trace->Append(record);
}

Result TracedHandle::Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                          unsigned int timeoutMs) {
    CaptureRecord record = BulkRecord(endpoint);
    RecordSubmission(record, data, length);
    actual = 0;
    const Result result = m_Handle->Bulk(endpoint, data, length, actual, timeoutMs);
    RecordEnd(record, StatusOf(result), data, actual);
    return result;
}

Result TracedHandle::Submit(Transfer& transfer) {
    if (transfer.completed == nullptr) return Result::InvalidParam;
    if (transfer.backendData == nullptr) transfer.backendData = new (std::nothrow) Twin;
    if (transfer.backendData == nullptr) return Result::NoMemory;
    Twin& twin = *static_cast<Twin*>(transfer.backendData);
    twin.owner = &transfer;
    twin.handle = this;
    twin.transfer.endpoint = transfer.endpoint;
    twin.transfer.buffer = transfer.buffer;
    twin.transfer.length = transfer.length;
    twin.transfer.completed = &TracedHandle::Ended;
    twin.transfer.context = &twin;
    twin.record = BulkRecord(transfer.endpoint);
    CaptureRecord record = twin.record; // the twin may have ended before it is written
    RecordSubmission(record, transfer.buffer, transfer.length);
    const Result result = m_Handle->Submit(twin.transfer);
    if (result != Result::Ok) RecordEnd(record, StatusOf(result), nullptr, 0);
    return result;
}

void TracedHandle::Ended(Transfer& transfer) {
    Twin& twin = *static_cast<Twin*>(transfer.context);
    Transfer& owner = *twin.owner;
    owner.status = transfer.status;
    owner.actualLength = transfer.actualLength;
    twin.handle->RecordEnd(twin.record, transfer.status, transfer.buffer, transfer.actualLength);
    owner.completed(owner); // may forget the twin
}

Result TracedHandle::Cancel(Transfer& transfer) {
    auto* twin = static_cast<Twin*>(transfer.backendData);
    return twin == nullptr ? Result::NotFound : m_Handle->Cancel(twin->transfer);
}

void TracedHandle::Forget(Transfer& transfer) {
    auto* twin = static_cast<Twin*>(transfer.backendData);
    if (twin == nullptr) return;
    m_Handle->Forget(twin->transfer);
    delete twin;
    transfer.backendData = nullptr;
}

} // namespace usb
