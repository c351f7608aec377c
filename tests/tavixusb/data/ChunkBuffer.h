#pragma once
// Chunk payloads written byte by byte.

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace support {

/// Appends chunks in memory order: data, id and length, both little-endian.
class ChunkBuffer {
public:
    ChunkBuffer& Chunk(std::uint32_t id, std::vector<std::uint8_t> data) {
        m_Bytes.insert(m_Bytes.end(), data.begin(), data.end());
        return Word(id).Word(static_cast<std::uint32_t>(data.size()));
    }
    ChunkBuffer& Word(std::uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            m_Bytes.push_back(static_cast<std::uint8_t>(value >> shift));
        return *this;
    }
    ChunkBuffer& Bytes(std::initializer_list<int> bytes) {
        for (int byte : bytes)
            m_Bytes.push_back(static_cast<std::uint8_t>(byte));
        return *this;
    }
    std::uint8_t* Data() { return m_Bytes.data(); }
    std::int64_t Size() const { return static_cast<std::int64_t>(m_Bytes.size()); }

private:
    std::vector<std::uint8_t> m_Bytes;
};

/// Two chunk ports with a four-byte feature each, and the checksum's.
inline const char* const kChunkNodes = R"(
    <Port Name="ImagePort"><ChunkID>00000001</ChunkID></Port>
    <Port Name="CounterPort"><ChunkID>0A0B0C0D</ChunkID></Port>
    <Port Name="CrcPort"><ChunkID>000000C1</ChunkID></Port>
    <IntReg Name="Counter"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>CounterPort</pPort>
      <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
    <IntReg Name="ImageByte"><Address>0</Address><Length>1</Length><AccessMode>RO</AccessMode><pPort>ImagePort</pPort>
      <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
    <IntReg Name="ChunkPayloadCRC16"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>CrcPort</pPort>
      <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>)";

} // namespace support
