#pragma once
// Memory that the kernel maps, laid together from pieces.

#include <cstddef>
#include <cstdint>

namespace usb {

/// Maps `size` bytes of a file of usbfs at one address range, in mappings of `piece` bytes each, since the kernel gives
/// none that is much larger. `piece` is a multiple of the page. Null when it gives not all of them. Re-entrant.
std::uint8_t* MapPieces(int file, std::size_t size, std::size_t piece);
/// All of what MapPieces gave.
void UnmapPieces(std::uint8_t* memory, std::size_t size);

} // namespace usb
