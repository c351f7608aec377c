#include "grabs/ImageSize.h"

#include "Error.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"

namespace tool {
namespace {

constexpr std::uint64_t kMegabyte = 1u << 20;

std::uint64_t ReadRegister(GenApi::IPort& port, std::uint64_t address) {
    std::uint8_t bytes[8] = {};
    port.Read(bytes, static_cast<std::int64_t>(address), sizeof bytes);
    return u3v::Load64(bytes);
}

/// 0 when the registers tell nothing.
std::uint64_t ConfirmedSize(GenApi::INodeMap& features) {
    GenApi::CPortPtr port(features.GetNode("Device"));
    if (!port.IsValid()) return 0;
    try {
        const std::uint64_t sbrm = ReadRegister(*port, u3v::abrm::kSbrmAddress);
        const std::uint64_t sirm = ReadRegister(*port, sbrm + u3v::sbrm::kSirmAddress);
        return ReadRegister(*port, sirm + u3v::sirm::kRequiredPayloadSize);
    } catch (const GenICam::GenericException&) {
        return 0;
    }
}

} // namespace

std::uint64_t ImageSize(GenApi::INodeMap& features) {
    if (const std::uint64_t size = ConfirmedSize(features); size > 0) return size;
    GenApi::CIntegerPtr stated(features.GetNode("PayloadSize"));
    if (!stated.IsValid()) throw Error("it has no feature PayloadSize, so it cannot be grabbed from");
    const std::int64_t size = stated->GetValue();
    if (size <= 0) throw Error("it says that its images have " + std::to_string(size) + " bytes");
    return static_cast<std::uint64_t>(size);
}

void RequireMemory(std::uint64_t size, std::uint64_t buffers, std::uint64_t mostMegabytes) {
    const std::uint64_t most = mostMegabytes * kMegabyte;
    if (size <= most / buffers) return;
    throw Error(std::to_string(buffers) + " buffers for images of " + std::to_string(size) +
                " bytes take more than the " + std::to_string(most) +
                " bytes that a camera's buffers may have; use fewer --buffers, or allow more with " +
                "--memory, in MiB");
}

} // namespace tool
