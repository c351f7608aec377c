#include "usb/libusb/MappedPieces.h"

#include <algorithm>

#include <sys/mman.h>
#include <unistd.h>

namespace usb {
namespace {

std::size_t WholePages(std::size_t size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

} // namespace

std::uint8_t* MapPieces(int file, std::size_t size, std::size_t piece) {
    const std::size_t whole = WholePages(size);
    if (size == 0 || whole < size || piece == 0 || WholePages(piece) != piece) return nullptr;
    // The range is taken first, so that nothing else comes to lie between the pieces.
    void* const range = mmap(nullptr, whole, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (range == MAP_FAILED) return nullptr;
    auto* const memory = static_cast<std::uint8_t*>(range);
    for (std::size_t offset = 0; offset < whole; offset += piece) {
        const std::size_t length = std::min(piece, whole - offset);
        if (mmap(memory + offset, length, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) != MAP_FAILED)
            continue;
        munmap(range, whole);
        return nullptr;
    }
    return memory;
}

void UnmapPieces(std::uint8_t* memory, std::size_t size) {
    munmap(memory, WholePages(size));
}

} // namespace usb
