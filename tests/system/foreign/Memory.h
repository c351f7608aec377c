#pragma once
// The memory of a camera that is only a description: the same bytes for our engine and for that of others.

#include <cstdint>
#include <cstring>

/// What every address reads. Chosen by a letter on the command line.
enum class Memory : char {
    Zeros = '0',
    LittleOnes = 'l', ///< 32-bit words of 1, little-endian
    BigOnes = 'b',    ///< 32-bit words of 1, big-endian
    Text = 't'        ///< letters, ended now and then
};

inline std::uint8_t ByteAt(Memory memory, std::uint64_t address) {
    switch (memory) {
    case Memory::LittleOnes:
        return address % 4 == 0 ? 1 : 0;
    case Memory::BigOnes:
        return address % 4 == 3 ? 1 : 0;
    case Memory::Text:
        return address % 8 == 7 ? 0 : static_cast<std::uint8_t>('a' + address % 7);
    default:
        return 0;
    }
}

inline void ReadMemory(Memory memory, std::uint64_t address, void* to, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i)
        static_cast<std::uint8_t*>(to)[i] = ByteAt(memory, address + i);
}
