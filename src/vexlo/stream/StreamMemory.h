#pragma once
// Memory for buffers that the library provides.

#include "usb/Backend.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

namespace vexlo {

class MappedMemory;

/// Mapped by the kernel where it can, so that data comes without any copy and queued transfers cost no memory of
/// their own; ordinary memory where it cannot. What is mapped takes at most half of the bus's limit, and keeps its
/// handle. Bound to a thread: the owner's lock; shares may go on any.
class StreamMemory {
public:
    /// What is asked for.
    struct Request {
        std::size_t size = 0;
        std::size_t transfer = 0; ///< bytes that a transfer takes, see PieceFor
        std::size_t limit = 0;    ///< of the bus's memory; 0: unknown or unlimited
    };

    StreamMemory() = default;
    ~StreamMemory();
    StreamMemory(const StreamMemory&) = delete;
    StreamMemory& operator=(const StreamMemory&) = delete;

    /// Until Free or Clear. Null when there is none at all.
    std::uint8_t* Allocate(const std::shared_ptr<usb::Handle>& handle, const Request& request);
    /// Mapped memory that lives as long as a share of it. Null when the kernel gives none.
    std::shared_ptr<void> Share(const std::shared_ptr<usb::Handle>& handle, const Request& request);
    /// Size of what was allocated there; 0 when nothing was.
    std::size_t SizeOf(const std::uint8_t* memory) const;
    void Free(std::uint8_t* memory);
    /// Frees what was allocated, and forgets what is shared: a handle that comes later did not map it.
    void Clear();
    /// Neither allocated nor shared.
    bool IsEmpty() const;
    /// The kernel has mapped all these bytes.
    bool IsMapped(const std::uint8_t* data, std::size_t size) const;
    /// Transfers of that size, one behind the other, reach across no border of mappings.
    bool Suits(std::size_t transfer) const;

private:
    struct Shared {
        std::weak_ptr<MappedMemory> mapped;
        std::size_t size = 0, piece = 0;
    };
    struct Piece {
        std::size_t size = 0, piece = 0;
        std::shared_ptr<MappedMemory> mapped; ///< null for ordinary memory
        std::unique_ptr<std::uint8_t[]> ordinary;
    };

    std::map<std::uint8_t*, Piece> m_Pieces;
    std::map<std::uint8_t*, Shared> m_Shared;
};

/// Of what mapped memory for transfers of that size is laid together: a multiple of the transfer, and of the small ones
/// that a stream may come down to. 0 when there is none that the kernel would map.
std::size_t PieceFor(std::size_t size, std::size_t transfer);

} // namespace vexlo
