#pragma once
// The camera's register space in accesses of any length.

#include "vexlo/control/ControlChannel.h"

#include <optional>

namespace vexlo {

/// Splits what one command cannot carry, and goes around what a camera cannot do. Thread-safe; a split access is not
/// atomic.
class RegisterAccess {
public:
    /// Each access has a deadline of its own. The channel must outlive this object.
    explicit RegisterAccess(ControlChannel& channel) : m_Channel(channel) {}
    /// All accesses together have one.
    RegisterAccess(ControlChannel& channel, const Deadline& whole) : m_Channel(channel), m_Whole(whole) {}

    /// `done` is the number of bytes read (written), also on failure.
    [[nodiscard]] VxStatus Read(std::uint64_t address, std::uint8_t* data, std::size_t count, std::size_t& done);
    [[nodiscard]] VxStatus Write(std::uint64_t address, u3v::ByteView data, Repeat repeat, std::size_t& done);
    /// After a write of which nobody knows whether it was executed: writes what the registers do not hold, or do not
    /// tell. For registers that may be written twice with the same value.
    [[nodiscard]] VxStatus Rewrite(std::uint64_t address, u3v::ByteView data);

    [[nodiscard]] VxStatus Read32(std::uint64_t address, std::uint32_t& value);
    [[nodiscard]] VxStatus Read64(std::uint64_t address, std::uint64_t& value);
    /// For registers that may be written twice with the same value.
    [[nodiscard]] VxStatus Write32(std::uint64_t address, std::uint32_t value);

private:
    Deadline Whole() const { return m_Whole ? *m_Whole : m_Channel.WholeAccess(); }
    VxStatus ReadPiece(std::uint64_t address, std::uint8_t* data, std::size_t count, const Deadline& whole);
    VxStatus ReadAround(std::uint64_t address, std::uint8_t* data, std::size_t count, const Deadline& whole);
    VxStatus RewritePiece(std::uint64_t address, u3v::ByteView data, const Deadline& whole);

    // constant after construction
    ControlChannel& m_Channel;
    const std::optional<Deadline> m_Whole;
};

} // namespace vexlo
