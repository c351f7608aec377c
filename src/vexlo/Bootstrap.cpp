// What a camera's bootstrap registers tell about it.
#include "vexlo/Bootstrap.h"

#include "u3v/Constants.h"
#include "vexlo/Logging.h"

#include <algorithm>

namespace vexlo {
namespace {

constexpr std::uint32_t kMostStreams = 16; ///< more is garbage
constexpr std::uint32_t kSupportedMajor = 1;

/// The value of a register, 0 when the camera refuses it.
std::uint32_t Optional32(RegisterAccess& registers, std::uint64_t address) {
    std::uint32_t value = 0;
    return registers.Read32(address, value) == VX_OK ? value : 0;
}
std::uint64_t Optional64(RegisterAccess& registers, std::uint64_t address) {
    std::uint64_t value = 0;
    return registers.Read64(address, value) == VX_OK ? value : 0;
}

void ReadInterfaces(RegisterAccess& registers, std::uint64_t base, Bootstrap& bootstrap) {
    const std::uint64_t capability = Optional64(registers, base + u3v::sbrm::kCapability);
    if ((capability & u3v::sbrm::kCapSirm) != 0) {
        bootstrap.streamCount =
            std::min(Optional32(registers, base + u3v::sbrm::kNumberOfStreamChannels), kMostStreams);
        bootstrap.streamAddress = Optional64(registers, base + u3v::sbrm::kSirmAddress);
        bootstrap.streamLength = Optional32(registers, base + u3v::sbrm::kSirmLength);
        if (bootstrap.streamAddress == 0) bootstrap.streamCount = 0;
    }
    if ((capability & u3v::sbrm::kCapEirm) != 0)
        bootstrap.eventAddress = Optional64(registers, base + u3v::sbrm::kEirmAddress);
}

} // namespace

VxStatus ReadBootstrap(ControlChannel& channel, Bootstrap& bootstrap) {
    RegisterAccess registers(channel);
    std::uint32_t version = 0;
    VxStatus status = registers.Read32(u3v::abrm::kGenCpVersion, version);
    if (status != VX_OK) return status;
    if (version >> 16 != kSupportedMajor)
        Log(Tavix::kLogWarning, "The camera states version %u.%u of the control protocol", version >> 16,
            version & 0xFFFF);
    channel.SetResponseTime(Optional32(registers, u3v::abrm::kMaximumDeviceResponseTime));
    bootstrap.capability = Optional64(registers, u3v::abrm::kDeviceCapability);
    bootstrap.manifestAddress = Optional64(registers, u3v::abrm::kManifestTableAddress);
    std::uint64_t base = 0;
    status = registers.Read64(u3v::abrm::kSbrmAddress, base);
    if (status != VX_OK) return status;
    channel.SetLimits(Optional32(registers, base + u3v::sbrm::kMaxCommandTransferLength),
                      Optional32(registers, base + u3v::sbrm::kMaxAcknowledgeTransferLength));
    ReadInterfaces(registers, base, bootstrap);
    return VX_OK;
}

void StopLeftOvers(RegisterAccess& registers, const Bootstrap& bootstrap) {
    for (std::uint32_t i = 0; i < bootstrap.streamCount; ++i) {
        const std::uint64_t control =
            bootstrap.streamAddress + std::uint64_t{i} * bootstrap.streamLength + u3v::sirm::kControl;
        if ((Optional32(registers, control) & u3v::sirm::kControlStreamEnable) == 0) continue;
        const VxStatus status = registers.Write32(control, 0);
        if (status != VX_OK) Log(Tavix::kLogWarning, "Stream %u cannot be switched off: 0x%08X", i, status);
    }
    if (bootstrap.eventAddress == 0) return;
    const VxStatus status = registers.Write32(bootstrap.eventAddress + u3v::eirm::kControl, 0);
    if (status != VX_OK) Log(Tavix::kLogWarning, "Events cannot be switched off: 0x%08X", status);
}

} // namespace vexlo
