#pragma once
// The camera's register space in accesses of any length.

#include "vexlo/ControlChannel.h"

#include <optional>

namespace vexlo {

/// Splits what one command cannot carry, and goes around what a camera cannot do. Thread-safe; a split access is not
/// atomic.
class RegisterAccess {
public:
    /// The channel must outlive this object.
    explicit RegisterAccess(ControlChannel& channel) : m_Channel(channel) {}

    /// `done` is the number of bytes read (written), also on failure.
    [[nodiscard]] VxStatus Read(std::uint64_t address, std::uint8_t* data, std::size_t count, std::size_t& done);
    [[nodiscard]] VxStatus Write(std::uint64_t address, u3v::ByteView data, Repeat repeat, std::size_t& done);

    [[nodiscard]] VxStatus Read32(std::uint64_t address, std::uint32_t& value);
    [[nodiscard]] VxStatus Read64(std::uint64_t address, std::uint64_t& value);
    /// For registers that may be written twice with the same value.
    [[nodiscard]] VxStatus Write32(std::uint64_t address, std::uint32_t value);
    [[nodiscard]] VxStatus Write64(std::uint64_t address, std::uint64_t value);

private:
    VxStatus ReadPiece(std::uint64_t address, std::uint8_t* data, std::size_t count);
    VxStatus ReadAround(std::uint64_t address, std::uint8_t* data, std::size_t count);

    ControlChannel& m_Channel; // constant after construction
};

} // namespace vexlo
