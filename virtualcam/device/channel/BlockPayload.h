#pragma once
// The payload of a block: an image, and what follows it.

#include "virtualcam/Bytes.h"
#include "virtualcam/firmware/Scene.h"
#include "virtualcam/firmware/control/AcquisitionControl.h"

#include <algorithm>
#include <cstdint>

namespace virtualcam {

/// Drawn when it is asked for, straight into the host's buffer, from its beginning to its end. Behind the image lie
/// chunk data, whose checksum is worked out on the way, or zeros. Bound to a thread; its owner locks.
class BlockPayload {
public:
    /// `view` is that of its images' scene.
    explicit BlockPayload(unsigned view) : m_Scene(view) {}

    /// `extraBytes`: zeros behind an image without chunk data.
    void Begin(const Frame& frame, std::uint32_t extraBytes);
    /// It ends there, if it is not shorter.
    void Cut(std::size_t bytes) { m_Size = std::min(m_Size, bytes); }
    std::size_t Size() const { return m_Size; }
    std::size_t Sent() const { return m_Sent; }
    std::size_t Rest() const { return m_Size - m_Sent; }
    /// The next bytes; zeros behind the end.
    void Take(std::uint8_t* to, std::size_t count);
    /// Bytes that nobody sees; the checksum does not know them.
    void Skip(std::size_t count) { m_Sent = std::min(m_Size, m_Sent + count); }

private:
    void Fill(std::uint8_t* to, std::size_t count);
    void SetCrc();

    Scene m_Scene;
    Bytes m_Tail; // behind the image
    std::size_t m_ImageBytes = 0;
    std::size_t m_Size = 0; // what is sent of it
    std::size_t m_Sent = 0;
    std::size_t m_CrcAt = 0; // where the checksum's value lies; 0: nowhere
    std::uint16_t m_Crc = 0;
};

} // namespace virtualcam
