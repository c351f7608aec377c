// One opened device of the real bus.
#include "usb/libusb/LibusbHandle.h"

#include "core/Threads.h"
#include "usb/NoThrow.h"
#include "usb/libusb/LibusbDescriptors.h"
#include "usb/libusb/LibusbResult.h"
#include "usb/libusb/MappedPieces.h"
#include "usb/libusb/SynchronousTransfer.h"

#include <algorithm>
#include <climits>
#include <new>
#include <utility>

#include <poll.h>

namespace usb {
namespace {

constexpr std::chrono::seconds kCloseLimit{2};
constexpr std::uint16_t kStringLimit = 255;
constexpr unsigned int kStringTimeoutMs = 1000;

std::chrono::microseconds Remaining(std::chrono::steady_clock::time_point deadline) {
    return std::chrono::ceil<std::chrono::microseconds>(deadline - std::chrono::steady_clock::now());
}

timeval ToTimeval(std::chrono::microseconds time) {
    const auto count = std::max<std::chrono::microseconds::rep>(time.count(), 0);
    timeval value{};
    value.tv_sec = static_cast<time_t>(count / 1000000);
    value.tv_usec = static_cast<suseconds_t>(count % 1000000);
    return value;
}

} // namespace

/// What Transfer::backendData points to. Made at the first Submit, reused by those that follow.
struct LibusbHandle::Slot {
    ~Slot() { libusb_free_transfer(transfer); }

    libusb_transfer* transfer = nullptr; ///< owned
    Transfer* owner = nullptr;           ///< borrowed while submitted
    LibusbHandle* handle = nullptr;      ///< borrowed while submitted
    Slot* previous = nullptr;
    Slot* next = nullptr;
};

void LibusbHandle::SlotList::Append(Slot& slot) {
    slot.previous = last;
    slot.next = nullptr;
    (last != nullptr ? last->next : first) = &slot;
    last = &slot;
}

void LibusbHandle::SlotList::Remove(Slot& slot) {
    (slot.previous != nullptr ? slot.previous->next : first) = slot.next;
    (slot.next != nullptr ? slot.next->previous : last) = slot.previous;
    slot.previous = slot.next = nullptr;
}

std::unique_ptr<Handle> LibusbHandle::Open(const std::string& id, Result& result) {
    const Tavix::SignalsBlocked guard; // for a thread that libusb may start
    libusb_context* raw = nullptr;
    if ((result = FromLibusb(libusb_init(&raw))) != Result::Ok) return nullptr;
    LibusbContext context(raw);
    libusb_device_handle* device = nullptr;
    {
        const LibusbDeviceList devices(raw);
        if ((result = FromLibusb(devices.Error())) != Result::Ok) return nullptr;
        const auto found =
            std::find_if(devices.begin(), devices.end(), [&](libusb_device* each) { return DeviceId(each) == id; });
        result = found == devices.end() ? Result::NotFound : AskLibusb([&] { return libusb_open(*found, &device); });
    }
    if (result != Result::Ok) return nullptr;
    return std::make_unique<LibusbHandle>(std::move(context), LibusbDeviceHandle(device));
}

LibusbHandle::LibusbHandle(LibusbContext context, LibusbDeviceHandle device)
    : m_Context(std::move(context)), m_Device(std::move(device)) {
    // Where the system cannot detach drivers, claiming fails by itself if one is in the way.
    libusb_set_auto_detach_kernel_driver(m_Device.get(), 1);
}

LibusbHandle::~LibusbHandle() {
    const auto deadline = Clock::now() + kCloseLimit;
    CancelAllInFlight();
    for (;;) {
        RunCompletions();
        {
            const Tavix::MutexLock lock(m_Lock);
            if (m_InFlight.first == nullptr && m_Ended.first == nullptr) return;
        }
        if (Clock::now() >= deadline || WaitForEvents(Remaining(deadline)) != Result::Ok) return;
    }
}

Result LibusbHandle::Claim(std::uint8_t interfaceNumber) {
    return AskLibusb([&] { return libusb_claim_interface(m_Device.get(), interfaceNumber); });
}

/// Selecting the active configuration once more would be a light reset.
Result LibusbHandle::SelectConfiguration(std::uint8_t value) {
    int active = 0;
    const int code = libusb_get_configuration(m_Device.get(), &active);
    if (code == LIBUSB_SUCCESS && active == value) return Result::Ok;
    return AskLibusb([&] { return libusb_set_configuration(m_Device.get(), value); });
}

Result LibusbHandle::Release(std::uint8_t interfaceNumber) {
    return FromLibusb(libusb_release_interface(m_Device.get(), interfaceNumber));
}

Result LibusbHandle::Control(const ControlSetup& setup, std::uint8_t* data, std::size_t& actual,
                             unsigned int timeoutMs) {
    return SynchronousTransfer(m_Context.get(), m_Device.get()).Control(setup, data, actual, timeoutMs);
}

Result LibusbHandle::Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                          unsigned int timeoutMs) {
    return SynchronousTransfer(m_Context.get(), m_Device.get()).Bulk(endpoint, data, length, actual, timeoutMs);
}

[[gnu::hot]] Result LibusbHandle::Submit(Transfer& transfer) {
    if (transfer.length > INT_MAX || transfer.completed == nullptr) return Result::InvalidParam;
    Slot* slot = SlotOf(transfer);
    if (slot == nullptr) return Result::NoMemory;
    slot->owner = &transfer;
    slot->handle = this;
    libusb_fill_bulk_transfer(slot->transfer, m_Device.get(), transfer.endpoint, transfer.buffer,
                              static_cast<int>(transfer.length), &LibusbHandle::Ended, slot, /*timeout=*/0);
    {
        const Tavix::MutexLock lock(m_Lock);
        m_InFlight.Append(*slot);
    }
    const Result result = AskLibusb([&] { return libusb_submit_transfer(slot->transfer); });
    if (result != Result::Ok) {
        const Tavix::MutexLock lock(m_Lock);
        m_InFlight.Remove(*slot);
    }
    return result;
}

[[gnu::hot]] LibusbHandle::Slot* LibusbHandle::SlotOf(Transfer& transfer) {
    if (transfer.backendData == nullptr) {
        std::unique_ptr<Slot> slot(new (std::nothrow) Slot);
        if (slot == nullptr) return nullptr;
        slot->transfer = libusb_alloc_transfer(/*iso_packets=*/0);
        if (slot->transfer == nullptr) return nullptr;
        transfer.backendData = slot.release();
    }
    return static_cast<Slot*>(transfer.backendData);
}

Result LibusbHandle::Cancel(Transfer& transfer) {
    const auto* slot = static_cast<const Slot*>(transfer.backendData);
    if (slot == nullptr) return Result::NotFound;
    return FromLibusb(libusb_cancel_transfer(slot->transfer));
}

void LibusbHandle::Forget(Transfer& transfer) {
    delete static_cast<Slot*>(transfer.backendData);
    transfer.backendData = nullptr;
}

[[gnu::hot]] Result LibusbHandle::HandleEvents(unsigned int timeoutMs) {
    const std::chrono::milliseconds limit(timeoutMs);
    const auto deadline = Clock::now() + limit;
    std::chrono::microseconds left = limit;
    for (bool waited = false;; waited = true) {
        __atomic_store_n(&m_Attention, 0, __ATOMIC_SEQ_CST);
        if (RunCompletions() || (m_Wake && m_Wake.exchange(false))) return Result::Ok;
        if (waited && (left = Remaining(deadline)).count() <= 0) return Result::Ok;
        const Result result = WaitForEvents(left);
        if (result != Result::Ok) return result;
    }
}

void LibusbHandle::WakeEvents() {
    m_Wake = true;
    __atomic_store_n(&m_Attention, 1, __ATOMIC_SEQ_CST);
    libusb_interrupt_event_handler(m_Context.get());
}

/// One turn of libusb's event handling. Another thread may have handled our event, or taken our wake-up, since we last
/// looked; m_Attention makes libusb turn back then instead of waiting for what is over.
Result LibusbHandle::WaitForEvents(std::chrono::microseconds time) {
    timeval left = ToTimeval(time);
    const int code = libusb_handle_events_timeout_completed(m_Context.get(), &left, &m_Attention);
    return code == LIBUSB_ERROR_INTERRUPTED ? Result::Ok : FromLibusb(code);
}

/// libusb's callback, on whatever thread handles events just now.
[[gnu::hot]] void LibusbHandle::Ended(libusb_transfer* transfer) {
    auto* slot = static_cast<Slot*>(transfer->user_data);
    slot->handle->MoveToEnded(*slot);
}

void LibusbHandle::MoveToEnded(Slot& slot) {
    const Tavix::MutexLock lock(m_Lock);
    m_InFlight.Remove(slot);
    m_Ended.Append(slot);
    __atomic_store_n(&m_Attention, 1, __ATOMIC_SEQ_CST);
}

LibusbHandle::SlotList LibusbHandle::TakeEnded() {
    const Tavix::MutexLock lock(m_Lock);
    return std::exchange(m_Ended, {});
}

[[gnu::hot]] bool LibusbHandle::RunCompletions() {
    Slot* slot = TakeEnded().first;
    const bool any = slot != nullptr;
    while (slot != nullptr) {
        Transfer& transfer = *slot->owner;
        transfer.status = FromLibusbStatus(slot->transfer->status);
        transfer.actualLength = static_cast<std::size_t>(std::max(slot->transfer->actual_length, 0));
        slot = slot->next; // the completion may submit or forget the one before
        transfer.completed(transfer);
    }
    return any;
}

/// From the last to the first, so that no transfer receives what was meant for an earlier one.
void LibusbHandle::CancelAllInFlight() {
    const Tavix::MutexLock lock(m_Lock);
    for (Slot* slot = m_InFlight.last; slot != nullptr; slot = slot->previous)
        libusb_cancel_transfer(slot->transfer);
}

Result LibusbHandle::ClearHalt(std::uint8_t endpoint) {
    return AskLibusb([&] { return libusb_clear_halt(m_Device.get(), endpoint); });
}

/// The kernel answers for the open file, not for the port.
bool LibusbHandle::IsAttached() {
    return libusb_kernel_driver_active(m_Device.get(), 0) >= 0;
}

Result LibusbHandle::Reset() {
    return AskLibusb([&] { return libusb_reset_device(m_Device.get()); });
}

std::vector<std::uint8_t> LibusbHandle::ReadStringDescriptor(std::uint8_t index, std::uint16_t language) {
    std::vector<std::uint8_t> bytes(kStringLimit);
    const auto value = static_cast<std::uint16_t>(LIBUSB_DT_STRING << 8 | index);
    std::size_t actual = 0;
    const Result result = Control({LIBUSB_ENDPOINT_IN, LIBUSB_REQUEST_GET_DESCRIPTOR, value, language, kStringLimit},
                                  bytes.data(), actual, kStringTimeoutMs);
    if (result != Result::Ok || actual < 2 || bytes[1] != LIBUSB_DT_STRING) return {};
    bytes.resize(std::min<std::size_t>(actual, bytes[0]));
    return bytes;
}

/// In the first language that the device offers.
std::string LibusbHandle::ReadString(std::uint8_t index) {
    if (index == 0) return {};
    std::string text;
    const Result result = NoThrow([&] {
        const auto languages = ReadStringDescriptor(0, 0);
        if (languages.size() < 4) return Result::NotFound;
        const auto language = static_cast<std::uint16_t>(languages[2] | languages[3] << 8);
        text = AsciiOfStringDescriptor(ReadStringDescriptor(index, language));
        return Result::Ok;
    });
    return result == Result::Ok ? text : std::string();
}

/// libusb tells its files for whoever polls them himself. This context has one device, whose file alone is polled for
/// writing.
int LibusbHandle::File() const {
    const libusb_pollfd** const files = libusb_get_pollfds(m_Context.get());
    int file = -1;
    for (const libusb_pollfd** each = files; each != nullptr && *each != nullptr; ++each)
        if (((*each)->events & POLLOUT) != 0) file = (*each)->fd;
    libusb_free_pollfds(files);
    return file;
}

/// libusb's own allocation gives one mapping, and the kernel none of more than some MiB.
std::uint8_t* LibusbHandle::AllocateMemory(std::size_t size, std::size_t piece) {
    const int file = File();
    return file < 0 ? nullptr : MapPieces(file, size, piece);
}

void LibusbHandle::FreeMemory(std::uint8_t* memory, std::size_t size) {
    if (memory != nullptr) UnmapPieces(memory, size);
}

} // namespace usb
