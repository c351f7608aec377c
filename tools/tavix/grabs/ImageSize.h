#pragma once
// How large the images of a camera are.

#include <cstdint>
#include <string>

#include <GenApi/GenApi.h>

namespace tool {

/// Bytes that a block of the camera's first stream has as it is set up now: what the stream's own registers say, by
/// which its transfers are planned. The feature PayloadSize is believed only of a camera whose registers tell nothing.
/// Throws Error when neither tells.
std::uint64_t ImageSize(GenApi::INodeMap& features);

/// Throws Error that names both figures when so many buffers of that size take more than `mostMegabytes` (MiB).
void RequireMemory(std::uint64_t size, std::uint64_t buffers, std::uint64_t mostMegabytes);

} // namespace tool
