#include "virtualcam/device/channel/BlockPayload.h"

#include <algorithm>
#include <cstring>

namespace virtualcam {

void BlockPayload::Begin(const Frame& frame, std::uint32_t extraBytes) {
    m_Scene.Begin(frame.geometry, frame.look, frame.values.frameId);
    m_ImageBytes = frame.geometry.ImageBytes();
    m_Tail = frame.chunks.Tail(m_ImageBytes, frame.values);
    if (!frame.chunks.active) m_Tail.resize(m_Tail.size() + extraBytes);
    m_Size = m_ImageBytes + m_Tail.size();
    m_Sent = 0;
    const bool hasCrc = frame.chunks.active && frame.chunks.Has(Chunk::PayloadCrc16);
    m_CrcAt = hasCrc ? m_Size - kCrcChunkSize : 0;
    m_Crc = 0;
}

void BlockPayload::Take(std::uint8_t* to, std::size_t count) {
    const std::size_t real = std::min(count, Rest());
    Fill(to, real);
    std::memset(to + real, 0, count - real);
    m_Sent += real;
}

void BlockPayload::Fill(std::uint8_t* to, std::size_t count) {
    const std::size_t ofImage = m_Sent < m_ImageBytes ? std::min(count, m_ImageBytes - m_Sent) : 0;
    m_Scene.Draw(m_Sent, to, ofImage);
    if (m_CrcAt != 0) m_Crc = Crc16(m_Crc, to, ofImage);
    if (ofImage == count) return;
    if (m_CrcAt != 0) SetCrc();
    std::memcpy(to + ofImage, m_Tail.data() + (m_Sent + ofImage - m_ImageBytes), count - ofImage);
}

/// The image is drawn and checked; what is missing in the checksum is the tail up to its place.
void BlockPayload::SetCrc() {
    const std::size_t inTail = m_CrcAt - m_ImageBytes;
    m_Crc = Crc16(m_Crc, m_Tail.data(), inTail);
    Store<std::uint32_t>(m_Tail.data() + inTail, m_Crc);
    m_CrcAt = 0;
}

} // namespace virtualcam
