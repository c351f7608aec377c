#include "PacketBus.h"

#include "support/Shortage.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace streamtest {
namespace {

using Lock = std::unique_lock<std::mutex>;
using usb::Result;
using usb::TransferStatus;

constexpr std::chrono::seconds kTimeout{20};

} // namespace

void PacketBus::Append(const Bytes& bytes) {
    std::size_t at = 0;
    do {
        const std::size_t count = std::min(m_PacketSize, bytes.size() - at);
        m_Script.push_back({Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                                  bytes.begin() + static_cast<std::ptrdiff_t>(at + count)),
                            TransferStatus::Completed});
        at += count;
    } while (at < bytes.size());
}

void PacketBus::Send(const Bytes& bytes) {
    Lock lock(m_Mutex);
    Append(bytes);
    Play();
}

void PacketBus::Send(const std::vector<Bytes>& transfers) {
    Lock lock(m_Mutex);
    for (const Bytes& transfer : transfers)
        Append(transfer);
    Play();
}

void PacketBus::Fail(TransferStatus status) {
    Lock lock(m_Mutex);
    m_Script.push_back({{}, status});
    Play();
}

void PacketBus::DropUnsent() {
    Lock lock(m_Mutex);
    m_Script.clear();
}

void PacketBus::Unplug() {
    Lock lock(m_Mutex);
    UnplugLocked();
}

void PacketBus::FailAndUnplug(TransferStatus status) {
    Lock lock(m_Mutex);
    if (!m_Queue.empty()) End(0, status);
    UnplugLocked();
}

void PacketBus::UnplugLocked() {
    m_Gone = true;
    m_Script.clear();
    while (!m_Queue.empty())
        End(0, TransferStatus::NoDevice);
    m_Changed.notify_all();
}

bool PacketBus::IsGone() const {
    Lock lock(m_Mutex);
    return m_Gone;
}

void PacketBus::AllowTransfers(std::size_t count, Result refusal) {
    Lock lock(m_Mutex);
    m_Limit = count;
    m_Refusal = refusal;
}

void PacketBus::AllowBytes(std::size_t bytes) {
    Lock lock(m_Mutex);
    m_ByteLimit = bytes;
}

void PacketBus::RefuseSubmits(Result result, unsigned int each) {
    Lock lock(m_Mutex);
    m_EachRefusal = result;
    m_Each = each;
}

Result PacketBus::Refusal(const usb::Transfer& transfer) {
    if (const Result refused = std::exchange(m_NextSubmit, Result::Ok); refused != Result::Ok) return refused;
    if (m_Each != 0 && ++m_Submits % m_Each == 0) return m_EachRefusal;
    std::size_t bytes = transfer.length;
    for (const usb::Transfer* queued : m_Queue)
        bytes += queued->length;
    return m_Queue.size() >= m_Limit || bytes > m_ByteLimit ? m_Refusal : Result::Ok;
}

void PacketBus::FailEvents(Result result) {
    Lock lock(m_Mutex);
    m_Events = result;
    m_Changed.notify_all();
}

void PacketBus::RefuseClearHalt(Result result) {
    Lock lock(m_Mutex);
    m_ClearHalt = result;
}

void PacketBus::RefuseSubmit(Result result) {
    Lock lock(m_Mutex);
    m_NextSubmit = result;
}

void PacketBus::OnCancel(std::function<void()> handler) {
    Lock lock(m_Mutex);
    m_OnCancel = std::move(handler);
}

std::size_t PacketBus::Queued() const {
    Lock lock(m_Mutex);
    return m_Queue.size();
}

std::size_t PacketBus::Ended() const {
    Lock lock(m_Mutex);
    return m_Ended.size();
}

unsigned int PacketBus::HaltsSet() const {
    Lock lock(m_Mutex);
    return m_HaltsSet;
}

std::vector<usb::Transfer> PacketBus::QueuedTransfers() const {
    Lock lock(m_Mutex);
    std::vector<usb::Transfer> copies;
    for (const usb::Transfer* transfer : m_Queue)
        copies.push_back(*transfer);
    return copies;
}

std::size_t PacketBus::MostQueued() const {
    Lock lock(m_Mutex);
    return m_MostQueued;
}

std::size_t PacketBus::Unsent() const {
    Lock lock(m_Mutex);
    return m_Script.size();
}

unsigned int PacketBus::EventCalls() const {
    Lock lock(m_Mutex);
    return m_EventCalls;
}

unsigned int PacketBus::Wakes() const {
    Lock lock(m_Mutex);
    return m_Wakes;
}

unsigned int PacketBus::ShortestWait() const {
    Lock lock(m_Mutex);
    return m_ShortestWait;
}

unsigned int PacketBus::Refused() const {
    Lock lock(m_Mutex);
    return m_Refused;
}

unsigned int PacketBus::HaltsCleared() const {
    Lock lock(m_Mutex);
    return m_HaltsCleared;
}

std::vector<std::string> PacketBus::Offences() const {
    Lock lock(m_Mutex);
    return m_Offences;
}

bool PacketBus::WaitFor(const std::function<bool()>& condition) const {
    const auto end = std::chrono::steady_clock::now() + kTimeout;
    while (!condition()) {
        Lock lock(m_Mutex);
        if (std::chrono::steady_clock::now() > end) return false;
        m_Changed.wait_for(lock, std::chrono::milliseconds(1));
    }
    return true;
}

/// The oldest transfers first, as long as there is something to say and somebody to take it.
void PacketBus::Play() {
    while (!m_Queue.empty() && !m_Script.empty() && !m_Halted && !m_Gone) {
        const Step step = std::move(m_Script.front());
        m_Script.pop_front();
        if (step.fault == TransferStatus::Completed) {
            PlayPacket(step.packet);
        } else if (step.fault == TransferStatus::NoDevice) {
            UnplugLocked();
        } else {
            m_Halted = step.fault == TransferStatus::Stall;
            End(0, step.fault);
        }
    }
    m_Changed.notify_all();
}

void PacketBus::PlayPacket(const Bytes& packet) {
    usb::Transfer& transfer = *m_Queue.front();
    const std::size_t room = transfer.length - transfer.actualLength;
    const std::size_t count = std::min(room, packet.size());
    if (count > 0) std::memcpy(transfer.buffer + transfer.actualLength, packet.data(), count);
    transfer.actualLength += count;
    if (packet.size() > room) return End(0, TransferStatus::Overflow);
    if (packet.size() < m_PacketSize || transfer.actualLength == transfer.length) End(0, TransferStatus::Completed);
}

void PacketBus::End(std::size_t index, TransferStatus status) {
    usb::Transfer* transfer = m_Queue[index];
    m_Queue.erase(m_Queue.begin() + static_cast<std::ptrdiff_t>(index));
    transfer->status = status;
    m_Ended.push_back(transfer);
    m_Changed.notify_all();
}

bool PacketBus::IsBusy(const usb::Transfer& transfer) const {
    return std::count(m_Queue.begin(), m_Queue.end(), &transfer) +
           std::count(m_Ended.begin(), m_Ended.end(), &transfer);
}

int PacketBus::Handles() const {
    Lock lock(m_Mutex);
    return m_Handles;
}

void PacketBus::CountHandles(int change) {
    Lock lock(m_Mutex);
    m_Handles += change;
    if (change < 0 && !(m_Queue.empty() && m_Ended.empty()))
        m_Offences.push_back("a handle was closed with transfers queued");
}

int PacketBus::Claims() const {
    Lock lock(m_Mutex);
    return m_Claims;
}

void PacketBus::RefuseClaim(Result result) {
    Lock lock(m_Mutex);
    m_Claim = result;
}

Result PacketBus::Claim(std::uint8_t) {
    Lock lock(m_Mutex);
    if (m_Claim == Result::Ok) ++m_Claims;
    return m_Claim;
}

Result PacketBus::Release(std::uint8_t) {
    Lock lock(m_Mutex);
    --m_Claims;
    return Result::Ok;
}

Result PacketBus::Control(const usb::ControlSetup& setup, std::uint8_t*, std::size_t&, unsigned int) {
    Lock lock(m_Mutex);
    if (m_Gone) return Result::NoDevice;
    const bool setsHalt = setup.requestType == 0x02 && setup.request == 0x03 && setup.value == 0;
    if (!setsHalt) return Result::Pipe;
    if (!m_Queue.empty() || !m_Ended.empty()) m_Offences.push_back("a halt was set with transfers queued");
    ++m_HaltsSet;
    m_Halted = true;
    return Result::Ok;
}

Result PacketBus::Submit(usb::Transfer& transfer) {
    const shortage::AmpleMemory ample;
    Lock lock(m_Mutex);
    if (m_Gone) {
        ++m_Refused;
        return Result::NoDevice;
    }
    if (const Result refused = Refusal(transfer); refused != Result::Ok) return refused;
    if (IsBusy(transfer)) m_Offences.push_back("a queued transfer was submitted");
    if (transfer.length % m_PacketSize != 0) m_Offences.push_back("a transfer is no multiple of the packet size");
    transfer.actualLength = 0;
    transfer.backendData = this;
    m_Queue.push_back(&transfer);
    m_MostQueued = std::max(m_MostQueued, m_Queue.size());
    if (m_Halted) {
        End(m_Queue.size() - 1, TransferStatus::Stall);
    } else {
        Play();
    }
    return Result::Ok;
}

Result PacketBus::Cancel(usb::Transfer& transfer) {
    const shortage::AmpleMemory ample;
    Lock lock(m_Mutex);
    if (const auto handler = std::exchange(m_OnCancel, nullptr)) {
        lock.unlock();
        handler();
        lock.lock();
    }
    const auto found = std::find(m_Queue.begin(), m_Queue.end(), &transfer);
    if (found == m_Queue.end()) return Result::NotFound;
    if (found + 1 != m_Queue.end()) m_Offences.push_back("a transfer was cancelled before a later one");
    End(static_cast<std::size_t>(found - m_Queue.begin()), TransferStatus::Cancelled);
    return Result::Ok;
}

void PacketBus::Forget(usb::Transfer& transfer) {
    Lock lock(m_Mutex);
    if (IsBusy(transfer)) m_Offences.push_back("a queued transfer was forgotten");
    transfer.backendData = nullptr;
}

Result PacketBus::HandleEvents(unsigned int timeoutMs) {
    Lock lock(m_Mutex);
    ++m_EventCalls;
    m_ShortestWait = std::min(m_ShortestWait, timeoutMs);
    if (m_Events != Result::Ok) {
        m_Wake = false;
        return m_Events;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    m_Changed.wait_until(lock, end, [&] { return !m_Ended.empty() || m_Wake || m_Events != Result::Ok; });
    m_Wake = false;
    while (!m_Ended.empty()) {
        usb::Transfer* transfer = m_Ended.front();
        m_Ended.pop_front();
        lock.unlock();
        transfer->completed(*transfer);
        lock.lock();
    }
    m_Changed.notify_all();
    return Result::Ok;
}

void PacketBus::WakeEvents() {
    Lock lock(m_Mutex);
    m_Wake = true;
    ++m_Wakes;
    m_Changed.notify_all();
}

Result PacketBus::ClearHalt(std::uint8_t) {
    Lock lock(m_Mutex);
    if (m_Gone) return Result::NoDevice;
    if (!m_Queue.empty() || !m_Ended.empty()) m_Offences.push_back("a halt was cleared with transfers queued");
    if (m_ClearHalt != Result::Ok) return m_ClearHalt;
    ++m_HaltsCleared;
    m_Halted = false;
    return Result::Ok;
}

} // namespace streamtest
