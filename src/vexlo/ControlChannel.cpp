// The camera's control channel: one command, its acknowledge, and what it takes to get that acknowledge.
#include "vexlo/ControlChannel.h"

#include "u3v/Constants.h"
#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace vexlo {
namespace {

constexpr int kRepeats = 2; ///< after the first try of a command that may be sent again
constexpr int kBusyRepeats = 10;
constexpr int kAttemptsPerHalt = 8; ///< to connect
constexpr int kMostForeign = 64;    ///< acknowledges that are not ours, within one exchange
constexpr int kMostLeftOvers = 16;  ///< acknowledges of a predecessor
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
      m_LastingFloor(static_cast<std::uint32_t>(timing.lastingFloor.count())), m_MaxRead(0), m_MaxWrite(0) {
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

VxStatus ControlChannel::Connect() {
    const MutexLock lock(m_Lock);
    const VxStatus status = ConnectWithin(m_Timing.connectLimit);
    if (!IsSilence(status) || !m_Timing.mayReset) return status;
    Log(Tavix::kLogWarning, "The camera does not answer (0x%08X); it is reset now", status);
    const VxStatus reset = Reset();
    if (reset == VX_E_USB_NO_DEVICE) return reset;
    return reset == VX_OK ? ConnectWithin(m_Timing.resetLimit) : status;
}

/// Clearing is harmless to every camera; a halt that we set ourselves is not, so it comes second, and seldom.
/// A system that is short of something is not waited for as long as a camera.
VxStatus ControlChannel::ConnectWithin(ControlTiming::Duration limit) {
    const auto start = Clock::now();
    for (int attempt = 0;; ++attempt) {
        const VxStatus status = Resynchronise(/*forceHalt=*/attempt % kAttemptsPerHalt == 1);
        if (status == VX_OK || status == VX_E_USB_NO_DEVICE) return status;
        if (Clock::now() - start >= (IsSilence(status) ? limit : std::min(limit, m_Timing.systemLimit))) return status;
        std::this_thread::sleep_for(m_Timing.busyPause);
    }
}

VxStatus ControlChannel::Reset() {
    ++m_Counters.cameraResets;
    const usb::Result result = m_Handle.Reset();
    return result == usb::Result::NotFound ? VX_E_USB_NO_DEVICE : ToStatus(result);
}

VxStatus ControlChannel::ResetCamera() {
    const MutexLock lock(m_Lock);
    const VxStatus status = Reset();
    return status == VX_OK ? ConnectWithin(m_Timing.resetLimit) : status;
}

VxStatus ControlChannel::Read(std::uint64_t address, std::uint8_t* data, std::size_t count) {
    const MutexLock lock(m_Lock);
    if (count > m_MaxRead) return VX_E_INVALID_SIZE;
    return Persist([=]() TAVIX_REQUIRES(m_Lock) { return ReadOnce(address, data, count); }, Repeat::Safe);
}

VxStatus ControlChannel::Write(std::uint64_t address, u3v::ByteView data, Repeat repeat) {
    const MutexLock lock(m_Lock);
    if (data.size > m_MaxWrite) return VX_E_INVALID_SIZE;
    return Persist([=]() TAVIX_REQUIRES(m_Lock) { return WriteOnce(address, data, repeat); }, repeat);
}

/// Tries until it works, the camera refuses, or patience is over.
template<class Once>
VxStatus ControlChannel::Persist(Once once, Repeat repeat) {
    int busy = 0;
    for (int failures = 0;;) {
        const Outcome outcome = once();
        if (IsDeviceBusy(outcome.status) && busy++ < kBusyRepeats) {
            std::this_thread::sleep_for(m_Timing.busyPause);
            continue;
        }
        if (!outcome.confused) return outcome.status;
        const VxStatus resynchronised = Resynchronise(/*forceHalt=*/failures > 0);
        if (resynchronised == VX_E_USB_NO_DEVICE) return resynchronised;
        const bool mayRepeat = repeat == Repeat::Safe || !outcome.delivered;
        if (!mayRepeat || failures++ == kRepeats) return outcome.status;
    }
}

ControlChannel::Outcome ControlChannel::ReadOnce(std::uint64_t address, std::uint8_t* data, std::size_t count) {
    Exchange exchange;
    exchange.requestId = TakeRequestId();
    const auto packet = u3v::EncodeReadMem(exchange.requestId, address, static_cast<std::uint16_t>(count));
    exchange.command = {packet.data(), packet.size()};
    exchange.expectedAck = u3v::kReadMemAck;
    exchange.largestAck = u3v::control::kHeaderSize + count;
    exchange.patience = Timeout();
    exchange.data = data;
    exchange.count = count;
    return Run(exchange);
}

ControlChannel::Outcome ControlChannel::WriteOnce(std::uint64_t address, u3v::ByteView data, Repeat repeat) {
    Exchange exchange;
    exchange.requestId = TakeRequestId();
    const auto size = u3v::EncodeWriteMem(exchange.requestId, address, data, m_Command.data(), m_Command.size());
    if (!size) return {VX_E_INVALID_SIZE, /*confused=*/false, /*delivered=*/false};
    exchange.command = {m_Command.data(), *size};
    exchange.expectedAck = u3v::kWriteMemAck;
    exchange.largestAck = u3v::control::kWriteMemAckSize;
    exchange.patience = Timeout();
    if (repeat == Repeat::Never)
        exchange.patience = std::max(Timeout(), ControlTiming::Duration(m_LastingFloor.load()));
    exchange.count = data.size;
    return Run(exchange);
}

ControlChannel::Outcome ControlChannel::Run(const Exchange& exchange) {
    const Outcome sent = Send(exchange);
    return sent.status == VX_OK ? Receive(exchange) : sent;
}

ControlChannel::Outcome ControlChannel::Send(const Exchange& exchange) {
    std::size_t sent = 0;
    // The border takes writable memory for both directions; a transfer to the camera does not write to it.
    auto* bytes = const_cast<std::uint8_t*>(exchange.command.data);
    const usb::Result result =
        m_Handle.Bulk(m_Out.address, bytes, exchange.command.size, sent, static_cast<unsigned int>(Timeout().count()));
    if (result == usb::Result::Ok && sent == exchange.command.size) return {};
    const bool gone = result == usb::Result::NoDevice;
    // A command that did not arrive whole is ignored by the camera.
    return {result == usb::Result::Ok ? VX_E_USB_IO : ToStatus(result), /*confused=*/!gone,
            /*delivered=*/sent == exchange.command.size};
}

ControlChannel::Outcome ControlChannel::Receive(const Exchange& exchange) {
    const auto start = Clock::now();
    auto end = start + exchange.patience;
    // Room for a pending acknowledge, and up to the end of a packet so that no camera can send more than fits; no
    // further, or the camera would have to end a full packet by an empty one.
    const std::size_t room =
        RoundUp(std::max(exchange.largestAck, u3v::control::kSmallestAckTransfer), m_In.packetSize);
    usb::Result result = usb::Result::Timeout;
    for (int foreign = 0; foreign < kMostForeign; ++foreign) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) break;
        std::size_t received = 0;
        result = m_Handle.Bulk(m_In.address, m_Acknowledge.data(), std::min(room, m_Acknowledge.size()), received,
                               static_cast<unsigned int>(left));
        if (result == usb::Result::Timeout) break;
        if (result == usb::Result::NoMemory) { // the answer waits in the camera
            std::this_thread::sleep_for(m_Timing.busyPause);
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
        const auto asked = std::chrono::milliseconds(u3v::DecodePendingTimeout(*acknowledge).value_or(0));
        end = std::min(Clock::now() + std::max(asked + m_Timing.margin, Timeout()), start + m_Timing.pendingLimit);
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

/// Brings the channel to a known state: nothing halted, nothing left over, the camera answers request id 0.
VxStatus ControlChannel::Resynchronise(bool forceHalt) {
    if (!ClearHalts(forceHalt)) return VX_E_USB_NO_DEVICE;
    Drain();
    m_NextId = 0;
    return ReadVersion();
}

/// False when the camera is gone. A camera that refuses may be in order all the same: its answers will tell.
bool ControlChannel::ClearHalts(bool forceHalt) {
    for (const u3v::Endpoint& endpoint : {m_Out, m_In}) {
        if (!forceHalt) continue;
        usb::ControlSetup halt;
        halt.requestType = u3v::descriptor::kRequestTypeEndpointOut;
        halt.request = u3v::descriptor::kRequestSetFeature;
        halt.value = u3v::descriptor::kFeatureEndpointHalt;
        halt.index = endpoint.address;
        std::size_t actual = 0;
        if (m_Handle.Control(halt, nullptr, actual, static_cast<unsigned int>(Timeout().count())) ==
            usb::Result::NoDevice)
            return false;
    }
    ++m_Counters.writePipeResets;
    if (m_Handle.ClearHalt(m_Out.address) == usb::Result::NoDevice) return false;
    ++m_Counters.readPipeResets;
    return m_Handle.ClearHalt(m_In.address) != usb::Result::NoDevice;
}

void ControlChannel::Drain() {
    for (int i = 0; i < kMostLeftOvers; ++i) {
        std::size_t received = 0;
        const auto result = m_Handle.Bulk(m_In.address, m_Acknowledge.data(), m_Acknowledge.size(), received,
                                          static_cast<unsigned int>(m_Timing.drain.count()));
        if (result != usb::Result::Ok) return;
    }
}

VxStatus ControlChannel::ReadVersion() {
    std::uint8_t version[4];
    return ReadOnce(u3v::abrm::kGenCpVersion, version, sizeof version).status;
}

std::uint16_t ControlChannel::TakeRequestId() {
    const std::uint16_t id = m_NextId;
    m_NextId = id == UINT16_MAX ? 1 : static_cast<std::uint16_t>(id + 1);
    return id;
}

} // namespace vexlo
