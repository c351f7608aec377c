#pragma once
// Memory for buffers that the library provides.

#include "usb/Backend.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

namespace vexlo {

/// Mapped by the kernel where it can, so that data comes without any copy and queued transfers cost no memory of
/// their own; ordinary memory where it cannot. Whatever is left is freed by Clear. Bound to a thread: the owner's lock.
class StreamMemory {
public:
    StreamMemory() = default;
    ~StreamMemory() { Clear(); }
    StreamMemory(const StreamMemory&) = delete;
    StreamMemory& operator=(const StreamMemory&) = delete;

    /// Null when there is none at all. The handle must live until Free or Clear.
    std::uint8_t* Allocate(usb::Handle& handle, std::size_t size);
    /// Size of what was allocated there; 0 when nothing was.
    std::size_t SizeOf(const std::uint8_t* memory) const;
    void Free(std::uint8_t* memory);
    void Clear();
    bool IsEmpty() const { return m_Pieces.empty(); }
    /// The kernel has mapped all these bytes.
    bool IsMapped(const std::uint8_t* data, std::size_t size) const;

private:
    struct Piece {
        std::size_t size = 0;
        usb::Handle* handle = nullptr; ///< borrowed; null for ordinary memory
        std::unique_ptr<std::uint8_t[]> ordinary;
    };

    static void Release(std::uint8_t* memory, const Piece& piece);

    std::map<std::uint8_t*, Piece> m_Pieces;
};

} // namespace vexlo
