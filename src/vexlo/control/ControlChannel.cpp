// The camera's control channel: one command, its acknowledge, and what it takes to get that acknowledge.
#include "vexlo/control/ControlChannel.h"

#include "u3v/Constants.h"
#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <cstring>

namespace vexlo {
namespace {

constexpr int kRepeats = 2; ///< after the first try of a command that may be sent again
constexpr int kBusyRepeats = 10;
constexpr int kMostForeign = 64; ///< acknowledges that are not ours, within one exchange
constexpr std::size_t kPlausibleLimit = 64;
constexpr std::size_t kLargestLimit = 65536 + u3v::control::kHeaderSize; ///< what the length fields can say

std::size_t RoundUp(std::size_t value, std::size_t unit) {
    return (value + unit - 1) / unit * unit;
}
std::size_t RoundDown4(std::size_t value) {
    return value & ~std::size_t{3};
}

std::size_t ReadLimit(std::size_t maxAcknowledge) {
    return RoundDown4(std::min(maxAcknowledge - u3v::control::kHeaderSize, u3v::control::kMaxReadLength));
}
std::size_t WriteLimit(std::size_t maxCommand) {
    return RoundDown4(std::min(maxCommand - u3v::control::kWriteMemHeaderSize, u3v::control::kMaxWriteLength));
}

bool IsDeviceBusy(VxStatus status) {
    return status == (VX_E_DEVICE_STATUS_BASE | u3v::status::kBusy);
}

} // namespace

ControlChannel::ControlChannel(usb::Handle& handle, const u3v::Endpoint& out, const u3v::Endpoint& in,
                               Counters& counters, const ControlTiming& timing)
    : m_Handle(handle), m_Out(out), m_In(in), m_Counters(counters), m_Timing(timing),
      m_Floor(static_cast<std::uint32_t>(timing.floor.count())),
      m_LastingFloor(static_cast<std::uint32_t>(timing.lastingFloor.count())), m_IsBrief(timing.isBrief), m_MaxRead(0),
      m_MaxWrite(0) {
    SetLimits(0, 0);
}

void ControlChannel::SetLimits(std::uint32_t maxCommand, std::uint32_t maxAcknowledge) {
    const MutexLock lock(m_Lock);
    const auto plausible = [](std::size_t stated, std::size_t packetSize) {
        return stated < kPlausibleLimit ? std::max(packetSize, kPlausibleLimit) : std::min(stated, kLargestLimit);
    };
    const std::size_t command = plausible(maxCommand, m_Out.packetSize);
    const std::size_t acknowledge = plausible(maxAcknowledge, m_In.packetSize);
    m_MaxWrite = WriteLimit(command);
    m_MaxRead = ReadLimit(acknowledge);
    m_Command.resize(std::max(command, u3v::control::kReadMemCommandSize));
    m_Acknowledge.resize(RoundUp(acknowledge, m_In.packetSize));
}

ControlTiming::Duration ControlChannel::Timeout() const {
    const auto stated = std::min(ControlTiming::Duration(m_ResponseTime.load()), m_Timing.ceiling);
    const auto busy = m_Streams > 0 ? m_Timing.streamingFloor : ControlTiming::Duration(0);
    return std::max({stated, busy, ControlTiming::Duration(m_Floor.load())}) + m_Timing.margin;
}

ControlTiming::Duration ControlChannel::TimeoutOf(Repeat repeat, Duration ordinary) const {
    return repeat == Repeat::Never ? std::max(ordinary, Duration(m_LastingFloor.load())) : ordinary;
}

/// A camera that says nothing any more is not given as much time as it may take for an answer, and whoever asks it a
/// hundred things in a row does not wait a hundred times.
ControlTiming::Duration ControlChannel::LimitOfTries(Duration twoAnswers, Clock::TimePoint now) const {
    if (m_IsBrief) return m_Timing.briefLimit;
    if (!m_IsSilent) return std::max(m_Timing.retryLimit, twoAnswers);
    return now < m_RestsUntil ? m_Timing.glanceLimit : m_Timing.silentLimit;
}

void ControlChannel::NoteSilence(bool isSilent) {
    const Clock::TimePoint now = CurrentClock().Now();
    if (isSilent && !m_IsSilent) m_SilentSince = now;
    if (isSilent && now >= m_RestsUntil)
        m_RestsUntil = now + std::max<Clock::TimePoint::duration>(m_Timing.silentRest, now - m_SilentSince);
    m_IsSilent = isSilent;
}

/// The answer to a look takes no longer than the link is busy, whatever the camera states.
ControlTiming::Duration ControlChannel::LookLimit() const {
    return m_Streams > 0 ? std::max(m_Timing.lookLimit, m_Timing.streamingFloor + m_Timing.margin) : m_Timing.lookLimit;
}

Deadline ControlChannel::WholeAccess() const {
    const Duration ordinary = Timeout();
    return Deadline(std::max(m_Timing.operationLimit, TimeoutOf(Repeat::Never, ordinary) + ordinary));
}

ControlChannel::Limits ControlChannel::LimitsOf(Repeat repeat, const Deadline& whole) const {
    const Clock::TimePoint now = CurrentClock().Now();
    const Duration ordinary = Timeout();
    const Duration timeout = TimeoutOf(repeat, ordinary);
    return {whole.Within(LimitOfTries(timeout + ordinary, now), now), whole, ordinary, timeout, now};
}

VxStatus ControlChannel::Read(std::uint64_t address, std::uint8_t* data, std::size_t count, const Deadline& whole) {
    const MutexLock lock(m_Lock);
    if (count > m_MaxRead) return VX_E_INVALID_SIZE;
    const auto once = [=](const Limits& limits)
                          TAVIX_REQUIRES(m_Lock) { return ReadOnce(address, data, count, limits); };
    return Retry(once, Repeat::Safe, whole);
}

VxStatus ControlChannel::Write(std::uint64_t address, u3v::ByteView data, Repeat repeat, const Deadline& whole) {
    const MutexLock lock(m_Lock);
    if (data.size > m_MaxWrite) return VX_E_INVALID_SIZE;
    const auto once = [=](const Limits& limits) TAVIX_REQUIRES(m_Lock) { return WriteOnce(address, data, limits); };
    return Retry(once, repeat, whole);
}

/// Tries until it works, the camera refuses, or the time is over.
template<class Once>
VxStatus ControlChannel::Retry(Once once, Repeat repeat, const Deadline& whole) {
    Limits limits = LimitsOf(repeat, whole);
    if (whole.IsOver(limits.start)) return VX_E_TIMEOUT;
    const Deadline patience(m_Timing.retryLimit, limits.start);
    int busy = 0;
    for (int failures = 0;; limits.start = CurrentClock().Now()) {
        const Outcome outcome = once(limits);
        if (IsDeviceBusy(outcome.status) && busy++ < kBusyRepeats && !limits.tries.IsOver()) {
            CurrentClock().Pause(m_Timing.busyPause);
            continue;
        }
        if (!outcome.confused) {
            m_IsSilent = false;
            return outcome.status;
        }
        const VxStatus resynchronised = Resynchronise(/*forceHalt=*/failures > 0, limits.tries.Within(LookLimit()));
        if (resynchronised == VX_E_USB_NO_DEVICE) return resynchronised;
        const bool mayRepeat = repeat == Repeat::Safe || !outcome.delivered;
        NoteSilence(IsSilence(resynchronised));
        // Who states that it may take long is waited for once, and again only where it has shown that it is there.
        const bool isGivenUp = m_IsSilent && patience.IsOver();
        if (!mayRepeat || isGivenUp || failures++ == kRepeats || limits.tries.IsOver()) return outcome.status;
    }
}

ControlChannel::Outcome ControlChannel::ReadOnce(std::uint64_t address, std::uint8_t* data, std::size_t count,
                                                 const Limits& limits) {
    Exchange exchange;
    exchange.requestId = TakeRequestId();
    const auto packet = u3v::EncodeReadMem(exchange.requestId, address, static_cast<std::uint16_t>(count));
    exchange.command = {packet.data(), packet.size()};
    exchange.expectedAck = u3v::kReadMemAck;
    exchange.largestAck = u3v::control::kHeaderSize + count;
    exchange.data = data;
    exchange.count = count;
    return Run(exchange, limits);
}

ControlChannel::Outcome ControlChannel::WriteOnce(std::uint64_t address, u3v::ByteView data, const Limits& limits) {
    Exchange exchange;
    exchange.requestId = TakeRequestId();
    const auto size = u3v::EncodeWriteMem(exchange.requestId, address, data, m_Command.data(), m_Command.size());
    if (!size) return {VX_E_INVALID_SIZE, /*confused=*/false, /*delivered=*/false};
    exchange.command = {m_Command.data(), *size};
    exchange.expectedAck = u3v::kWriteMemAck;
    exchange.largestAck = u3v::control::kWriteMemAckSize;
    exchange.count = data.size;
    return Run(exchange, limits);
}

ControlChannel::Outcome ControlChannel::Run(const Exchange& exchange, const Limits& limits) {
    const Duration timeout = limits.tries.Left(limits.timeout, limits.start);
    const Outcome sent = Send(exchange, std::min(limits.ordinary, timeout));
    return sent.status == VX_OK ? Receive(exchange, timeout, limits) : sent;
}

ControlChannel::Outcome ControlChannel::Send(const Exchange& exchange, Duration timeout) {
    std::size_t sent = 0;
    // The border takes writable memory for both directions; a transfer to the camera does not write to it.
    auto* bytes = const_cast<std::uint8_t*>(exchange.command.data);
    const usb::Result result = m_Handle.Bulk(m_Out.address, bytes, exchange.command.size, sent, Milliseconds(timeout));
    if (result == usb::Result::Ok && sent == exchange.command.size) return {};
    const bool gone = result == usb::Result::NoDevice;
    // A command that did not arrive whole is ignored by the camera.
    return {result == usb::Result::Ok ? VX_E_USB_IO : ToStatus(result), /*confused=*/!gone,
            /*delivered=*/sent == exchange.command.size};
}

ControlChannel::Outcome ControlChannel::Receive(const Exchange& exchange, Duration timeout, const Limits& limits) {
    // Room for a pending acknowledge, and up to the end of a packet so that no camera can send more than fits; no
    // further, or the camera would have to end a full packet by an empty one.
    const std::size_t room =
        RoundUp(std::max(exchange.largestAck, u3v::control::kSmallestAckTransfer), m_In.packetSize);
    usb::Result result = usb::Result::Timeout;
    // The clock is read only where the first thing that comes is not the answer.
    Deadline end(timeout, limits.start);
    Duration left = timeout;
    for (int foreign = 0; foreign < kMostForeign && left > Duration(0); ++foreign, left = end.Left()) {
        std::size_t received = 0;
        result = m_Handle.Bulk(m_In.address, m_Acknowledge.data(), std::min(room, m_Acknowledge.size()), received,
                               Milliseconds(left));
        if (result == usb::Result::Timeout) break;
        if (result == usb::Result::NoMemory) { // the answer waits in the camera
            CurrentClock().Pause(m_Timing.busyPause);
            continue;
        }
        if (result != usb::Result::Ok)
            return {ToStatus(result), /*confused=*/result != usb::Result::NoDevice, /*delivered=*/true};
        const auto acknowledge = u3v::DecodeAcknowledge({m_Acknowledge.data(), received});
        if (!acknowledge || acknowledge->requestId != exchange.requestId) {
            Log(Tavix::kLogDetail, "Control channel: dropped %u bytes that answer nothing",
                static_cast<unsigned>(received));
            continue;
        }
        if (acknowledge->command != u3v::kPendingAck) return Judge(*acknowledge, exchange);
        const Duration asked(u3v::DecodePendingTimeout(*acknowledge).value_or(0));
        // However often the camera asks for more time, there is a limit.
        const Deadline latest = limits.whole.Within(m_Timing.pendingLimit, limits.start);
        end = latest.Within(std::max(asked + m_Timing.margin, limits.ordinary));
        foreign = 0;
    }
    // The next command will drop what it finds of this one.
    if (result == usb::Result::NoMemory) return {VX_E_USB_NO_MEMORY, /*confused=*/false, /*delivered=*/true};
    return {VX_E_TIMEOUT, /*confused=*/true, /*delivered=*/true};
}

ControlChannel::Outcome ControlChannel::Judge(const u3v::Acknowledge& acknowledge, const Exchange& exchange) {
    const Outcome malformed{VX_E_PROTOCOL, /*confused=*/true, /*delivered=*/true};
    // A camera that does not know the command may answer with any name for its acknowledge.
    if (u3v::status::IsError(acknowledge.status)) return {FromDeviceStatus(acknowledge.status), false, true};
    if (acknowledge.command != exchange.expectedAck || !acknowledge.IsWhole()) return malformed;
    if (exchange.expectedAck == u3v::kReadMemAck) {
        if (acknowledge.data.size != exchange.count) return malformed;
        std::memcpy(exchange.data, acknowledge.data.data, exchange.count);
        return {};
    }
    // Some cameras leave the written length out, others leave it 0.
    const std::uint16_t written = u3v::DecodeWrittenLength(acknowledge).value_or(0);
    return written == 0 || written == exchange.count ? Outcome{} : malformed;
}

std::uint16_t ControlChannel::TakeRequestId() {
    const std::uint16_t id = m_NextId;
    m_NextId = id == UINT16_MAX ? 1 : static_cast<std::uint16_t>(id + 1);
    return id;
}

} // namespace vexlo
