#include "vexlo/stream/StreamMemory.h"

#include "vexlo/stream/StreamSettings.h"
#include "vexlo/stream/TransferBudget.h"

#include <new>
#include <numeric>
#include <utility>

namespace vexlo {
namespace {

constexpr std::size_t kSmallTransfer = 64u << 10; // that a stream comes down to for a camera that needs it
constexpr std::size_t kLargestPiece = StreamSettings::kLargestTransfer;

std::size_t WholeTransfers(std::size_t size) {
    return (size + kSmallTransfer - 1) / kSmallTransfer * kSmallTransfer;
}

/// The other half is for transfers of ordinary memory and for other programs.
bool IsWithin(std::size_t limit, std::size_t size) {
    return limit == 0 || (size <= limit / 2 && MappedCount::Bytes() <= limit / 2 - size);
}

} // namespace

/// One mapping, counted while it lives.
class MappedMemory {
public:
    MappedMemory(std::shared_ptr<usb::Handle> handle, std::uint8_t* memory, std::size_t size)
        : m_Handle(std::move(handle)), m_Memory(memory), m_Size(size) {
        MappedCount::Add(size);
    }
    ~MappedMemory() {
        m_Handle->FreeMemory(m_Memory, m_Size);
        MappedCount::Remove(m_Size);
    }
    MappedMemory(const MappedMemory&) = delete;
    MappedMemory& operator=(const MappedMemory&) = delete;

    std::uint8_t* Get() const { return m_Memory; }
    static std::shared_ptr<MappedMemory> Make(const std::shared_ptr<usb::Handle>& handle,
                                              const StreamMemory::Request& request, std::size_t piece);

private:
    const std::shared_ptr<usb::Handle> m_Handle; // open as long as its memory is used
    std::uint8_t* const m_Memory;
    const std::size_t m_Size;
};

/// Null when the kernel gives none. Throws std::bad_alloc.
std::shared_ptr<MappedMemory> MappedMemory::Make(const std::shared_ptr<usb::Handle>& handle,
                                                 const StreamMemory::Request& request, std::size_t piece) {
    if (piece == 0 || !IsWithin(request.limit, request.size)) return nullptr;
    std::uint8_t* const memory = handle->AllocateMemory(request.size, piece);
    if (memory == nullptr) return nullptr;
    try {
        return std::make_shared<MappedMemory>(handle, memory, request.size);
    } catch (const std::bad_alloc&) {
        handle->FreeMemory(memory, request.size);
        throw;
    }
}

std::size_t PieceFor(std::size_t size, std::size_t transfer) {
    const std::size_t fitting = transfer == 0 ? SIZE_MAX : std::lcm(transfer, kSmallTransfer);
    if (fitting <= kLargestPiece) return fitting;
    const std::size_t whole = WholeTransfers(size);
    return whole >= size && whole <= kLargestPiece ? whole : 0;
}

StreamMemory::~StreamMemory() = default;

std::uint8_t* StreamMemory::Allocate(const std::shared_ptr<usb::Handle>& handle, const Request& request) try {
    Piece piece;
    piece.size = request.size;
    piece.piece = PieceFor(request.size, request.transfer);
    piece.mapped = MappedMemory::Make(handle, request, piece.piece);
    if (!piece.mapped) piece.ordinary.reset(new std::uint8_t[request.size]);
    std::uint8_t* const memory = piece.mapped ? piece.mapped->Get() : piece.ordinary.get();
    m_Pieces.emplace(memory, std::move(piece));
    return memory;
} catch (const std::bad_alloc&) {
    return nullptr;
}

std::shared_ptr<void> StreamMemory::Share(const std::shared_ptr<usb::Handle>& handle, const Request& request) try {
    const std::size_t piece = PieceFor(request.size, request.transfer);
    const std::shared_ptr<MappedMemory> mapped = MappedMemory::Make(handle, request, piece);
    if (!mapped) return nullptr;
    for (auto each = m_Shared.begin(); each != m_Shared.end();)
        each = each->second.mapped.expired() ? m_Shared.erase(each) : std::next(each);
    m_Shared[mapped->Get()] = {mapped, request.size, piece};
    return {mapped, mapped->Get()};
} catch (const std::bad_alloc&) {
    return nullptr;
}

std::size_t StreamMemory::SizeOf(const std::uint8_t* memory) const {
    const auto found = m_Pieces.find(const_cast<std::uint8_t*>(memory)); // only compared
    return found == m_Pieces.end() ? 0 : found->second.size;
}

void StreamMemory::Free(std::uint8_t* memory) {
    m_Pieces.erase(memory);
}

void StreamMemory::Clear() {
    m_Pieces.clear();
    m_Shared.clear();
}

bool StreamMemory::IsEmpty() const {
    for (const auto& [memory, shared] : m_Shared)
        if (!shared.mapped.expired()) return false;
    return m_Pieces.empty();
}

bool StreamMemory::IsMapped(const std::uint8_t* data, std::size_t size) const {
    const auto isInside = [&](const std::uint8_t* memory, std::size_t length) {
        return data >= memory && data + size <= memory + length;
    };
    for (const auto& [memory, piece] : m_Pieces)
        if (piece.mapped && isInside(memory, piece.size)) return true;
    for (const auto& [memory, shared] : m_Shared)
        if (!shared.mapped.expired() && isInside(memory, shared.size)) return true;
    return false;
}

bool StreamMemory::Suits(std::size_t transfer) const {
    const auto suits = [&](const auto& memory) {
        return memory.size <= memory.piece || (transfer > 0 && memory.piece % transfer == 0);
    };
    for (const auto& [memory, piece] : m_Pieces)
        if (piece.mapped && !suits(piece)) return false;
    for (const auto& [memory, shared] : m_Shared)
        if (!shared.mapped.expired() && !suits(shared)) return false;
    return true;
}

} // namespace vexlo
