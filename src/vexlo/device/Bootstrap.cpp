// What a camera's bootstrap registers tell about it.
#include "vexlo/device/Bootstrap.h"

#include "u3v/Constants.h"
#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>

namespace vexlo {
namespace {

constexpr std::uint32_t kMostStreams = 16; ///< more is garbage
constexpr std::uint32_t kSupportedMajor = 1;

/// A camera may lack a register and say so, or answer badly or not at all.
bool MayBeAbsent(VxStatus status) {
    return IsRefusal(status) || (IsSilence(status) && status != VX_E_USB_IO);
}

/// Reads registers that a camera may lack; those count as 0, and all that come after a failure. Bound to a thread.
class OptionalRegisters {
public:
    OptionalRegisters(ControlChannel& channel, const Deadline& whole)
        : m_Channel(channel), m_Whole(whole), m_Registers(channel, whole) {}

    std::uint32_t Read32(std::uint64_t address) {
        std::uint32_t value = 0;
        return m_Failure == VX_OK && Note(m_Registers.Read32(address, value)) ? value : 0;
    }
    std::uint64_t Read64(std::uint64_t address) {
        std::uint64_t value = 0;
        return m_Failure == VX_OK && Note(m_Registers.Read64(address, value)) ? value : 0;
    }
    /// Of the bus or the system, or because the camera has fallen silent or the time is over.
    VxStatus Failure() const { return m_Failure; }

private:
    bool Note(VxStatus status) {
        const bool isEnd = IsSilence(status) && (m_Channel.IsGivenUp() || m_Whole.IsOver());
        if (status != VX_OK && (!MayBeAbsent(status) || isEnd)) m_Failure = status;
        return status == VX_OK;
    }

    ControlChannel& m_Channel;
    const Deadline m_Whole;
    RegisterAccess m_Registers;
    VxStatus m_Failure = VX_OK;
};

void ReadInterfaces(OptionalRegisters& registers, std::uint64_t base, Bootstrap& bootstrap) {
    const std::uint64_t capability = registers.Read64(base + u3v::sbrm::kCapability);
    if ((capability & u3v::sbrm::kCapSirm) != 0) {
        bootstrap.streamCount = std::min(registers.Read32(base + u3v::sbrm::kNumberOfStreamChannels), kMostStreams);
        bootstrap.streamAddress = registers.Read64(base + u3v::sbrm::kSirmAddress);
        bootstrap.streamLength = registers.Read32(base + u3v::sbrm::kSirmLength);
        if (bootstrap.streamAddress == 0) bootstrap.streamCount = 0;
    }
    if ((capability & u3v::sbrm::kCapEirm) != 0)
        bootstrap.eventAddress = registers.Read64(base + u3v::sbrm::kEirmAddress);
}

} // namespace

VxStatus ReadBootstrap(ControlChannel& channel, const Deadline& whole, Bootstrap& bootstrap) {
    RegisterAccess registers(channel, whole);
    std::uint32_t version = 0;
    VxStatus status = registers.Read32(u3v::abrm::kGenCpVersion, version);
    if (status != VX_OK) return status;
    if (version >> 16 != kSupportedMajor)
        Log(Tavix::kLogWarning, "The camera states version %u.%u of the control protocol", version >> 16,
            version & 0xFFFF);
    OptionalRegisters optional(channel, whole);
    channel.SetResponseTime(optional.Read32(u3v::abrm::kMaximumDeviceResponseTime));
    bootstrap.capability = optional.Read64(u3v::abrm::kDeviceCapability);
    bootstrap.manifestAddress = optional.Read64(u3v::abrm::kManifestTableAddress);
    std::uint64_t base = 0;
    status = registers.Read64(u3v::abrm::kSbrmAddress, base);
    if (status != VX_OK) return status;
    channel.SetLimits(optional.Read32(base + u3v::sbrm::kMaxCommandTransferLength),
                      optional.Read32(base + u3v::sbrm::kMaxAcknowledgeTransferLength));
    ReadInterfaces(optional, base, bootstrap);
    return optional.Failure();
}

void StopLeftOvers(RegisterAccess& registers, const Bootstrap& bootstrap) {
    for (std::uint32_t i = 0; i < bootstrap.streamCount; ++i) {
        const std::uint64_t control =
            bootstrap.streamAddress + std::uint64_t{i} * bootstrap.streamLength + u3v::sirm::kControl;
        std::uint32_t value = 0;
        if (registers.Read32(control, value) != VX_OK || (value & u3v::sirm::kControlStreamEnable) == 0) continue;
        const VxStatus status = registers.Write32(control, 0);
        if (status != VX_OK) Log(Tavix::kLogWarning, "Stream %u cannot be switched off: 0x%08X", i, status);
    }
    if (bootstrap.eventAddress == 0) return;
    const VxStatus status = registers.Write32(bootstrap.eventAddress + u3v::eirm::kControl, 0);
    if (status != VX_OK) Log(Tavix::kLogWarning, "Events cannot be switched off: 0x%08X", status);
}

} // namespace vexlo
