#include "StreamMemory.h"

#include <new>
#include <utility>

namespace vexlo {

std::uint8_t* StreamMemory::Allocate(usb::Handle& handle, std::size_t size) {
    Piece piece;
    piece.size = size;
    std::uint8_t* memory = handle.AllocateMemory(size);
    const bool isMapped = memory != nullptr;
    if (isMapped) {
        piece.handle = &handle;
    } else {
        piece.ordinary.reset(new (std::nothrow) std::uint8_t[size]);
        memory = piece.ordinary.get();
    }
    if (memory == nullptr) return nullptr;
    try {
        m_Pieces.emplace(memory, std::move(piece));
        return memory;
    } catch (const std::bad_alloc&) {
        if (isMapped) handle.FreeMemory(memory, size);
        return nullptr;
    }
}

std::size_t StreamMemory::SizeOf(const std::uint8_t* memory) const {
    const auto found = m_Pieces.find(const_cast<std::uint8_t*>(memory)); // only compared
    return found == m_Pieces.end() ? 0 : found->second.size;
}

void StreamMemory::Release(std::uint8_t* memory, const Piece& piece) {
    if (piece.handle != nullptr) piece.handle->FreeMemory(memory, piece.size);
}

void StreamMemory::Free(std::uint8_t* memory) {
    const auto found = m_Pieces.find(memory);
    if (found == m_Pieces.end()) return;
    Release(memory, found->second);
    m_Pieces.erase(found);
}

void StreamMemory::Clear() {
    for (const auto& [memory, piece] : m_Pieces)
        Release(memory, piece);
    m_Pieces.clear();
}

bool StreamMemory::IsMapped(const std::uint8_t* data, std::size_t size) const {
    for (const auto& [memory, piece] : m_Pieces)
        if (piece.handle != nullptr && data >= memory && data + size <= memory + piece.size) return true;
    return false;
}

} // namespace vexlo
