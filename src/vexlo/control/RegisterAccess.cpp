// The camera's register space in accesses of any length.
#include "vexlo/control/RegisterAccess.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace vexlo {
namespace {

constexpr std::uint64_t kWord = 4;
constexpr std::size_t kSmallestHalf = 64; ///< a string register; less is not halved

bool Is(VxStatus status, std::uint16_t code) {
    return status == (VX_E_DEVICE_STATUS_BASE | code);
}

/// Refusals that a smaller access may get around.
bool IsAboutSize(VxStatus status) {
    return Is(status, u3v::status::kInvalidParameter) || Is(status, u3v::status::kBadAlignment) ||
           Is(status, u3v::status::kInvalidAddress);
}

} // namespace

VxStatus RegisterAccess::Read(std::uint64_t address, std::uint8_t* data, std::size_t count, std::size_t& done) {
    const Deadline whole = Whole();
    std::size_t piece = m_Channel.MaxRead();
    for (done = 0; done < count;) {
        const std::size_t length = std::min(piece, count - done);
        const VxStatus status = ReadPiece(address + done, data + done, length, whole);
        if (status == VX_OK) {
            done += length;
        } else if (IsAboutSize(status) && length > kSmallestHalf) {
            piece = std::max(kSmallestHalf, length / 2 / 8 * 8);
        } else {
            return status;
        }
    }
    return VX_OK;
}

VxStatus RegisterAccess::ReadPiece(std::uint64_t address, std::uint8_t* data, std::size_t count,
                                   const Deadline& whole) {
    const VxStatus status = m_Channel.Read(address, data, count, whole);
    const bool unaligned = address % kWord != 0 || count % kWord != 0;
    return unaligned && Is(status, u3v::status::kBadAlignment) ? ReadAround(address, data, count, whole) : status;
}

/// Reads the aligned words around the bytes and cuts them out.
VxStatus RegisterAccess::ReadAround(std::uint64_t address, std::uint8_t* data, std::size_t count,
                                    const Deadline& whole) {
    const std::size_t lead = static_cast<std::size_t>(address % kWord);
    std::vector<std::uint8_t> words((lead + count + kWord - 1) / kWord * kWord);
    if (words.size() > m_Channel.MaxRead()) return VX_E_DEVICE_STATUS_BASE | u3v::status::kBadAlignment;
    const VxStatus status = m_Channel.Read(address - lead, words.data(), words.size(), whole);
    if (status == VX_OK) std::memcpy(data, words.data() + lead, count);
    return status;
}

VxStatus RegisterAccess::Write(std::uint64_t address, u3v::ByteView data, Repeat repeat, std::size_t& done) {
    const Deadline whole = Whole();
    for (done = 0; done < data.size;) {
        const u3v::ByteView piece = data.From(done).First(m_Channel.MaxWrite());
        const VxStatus status = m_Channel.Write(address + done, piece, repeat, whole);
        if (status != VX_OK) return status;
        done += piece.size;
    }
    return VX_OK;
}

VxStatus RegisterAccess::Rewrite(std::uint64_t address, u3v::ByteView data) {
    const Deadline whole = Whole();
    const std::size_t most = std::min(m_Channel.MaxWrite(), m_Channel.MaxRead());
    for (std::size_t done = 0; done < data.size;) {
        const u3v::ByteView piece = data.From(done).First(most);
        const VxStatus status = RewritePiece(address + done, piece, whole);
        if (status != VX_OK) return status;
        done += piece.size;
    }
    return VX_OK;
}

VxStatus RegisterAccess::RewritePiece(std::uint64_t address, u3v::ByteView data, const Deadline& whole) {
    std::vector<std::uint8_t> held(data.size);
    const VxStatus status = ReadPiece(address, held.data(), held.size(), whole);
    if (status == VX_OK && std::equal(held.begin(), held.end(), data.data)) return VX_OK;
    if (status != VX_OK && !IsRefusal(status)) return status;
    return m_Channel.Write(address, data, Repeat::Safe, whole);
}

VxStatus RegisterAccess::Read32(std::uint64_t address, std::uint32_t& value) {
    std::uint8_t bytes[4];
    const VxStatus status = m_Channel.Read(address, bytes, sizeof bytes, Whole());
    if (status == VX_OK) value = u3v::Load32(bytes);
    return status;
}

VxStatus RegisterAccess::Read64(std::uint64_t address, std::uint64_t& value) {
    std::uint8_t bytes[8];
    const VxStatus status = m_Channel.Read(address, bytes, sizeof bytes, Whole());
    if (status == VX_OK) value = u3v::Load64(bytes);
    return status;
}

VxStatus RegisterAccess::Write32(std::uint64_t address, std::uint32_t value) {
    std::uint8_t bytes[4];
    u3v::Store32(bytes, value);
    return m_Channel.Write(address, {bytes, sizeof bytes}, Repeat::Safe, Whole());
}

} // namespace vexlo
