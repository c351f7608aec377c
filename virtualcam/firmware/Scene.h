#pragma once
// What the camera sees: a moving test picture with the frame's number in it, drawn line by line into any memory.

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "virtualcam/firmware/control/AnalogControl.h"
#include "virtualcam/firmware/control/ImageFormat.h"

namespace virtualcam {

/// Draws images. Each line of a picture is a cut out of a long line (a strip) that is drawn once for many frames, so
/// that an image costs little more than copying it. Bound to a thread.
class Scene {
public:
    /// `view` tells several cameras, or sensors of one, apart: each sees the scene from further to the left, and all
    /// but view 0 write theirs in place of the number's first digit.
    explicit Scene(unsigned view = 0) : m_View(view) {}

    /// Turns to an image. `number` moves the picture and is written into it.
    void Begin(const Geometry& geometry, std::shared_ptr<const Look> look, std::uint64_t number);
    /// Draws `count` bytes of the image from byte `offset` on.
    void Draw(std::size_t offset, std::uint8_t* to, std::size_t count) const;

private:
    /// Light of the scene, 0...4095 in red, green, blue.
    using Light = std::array<std::uint16_t, 3>;
    /// A number of lines in a box of the image, in the image's pixel format.
    struct Box {
        std::uint32_t left = 0, top = 0, width = 0, height = 0, scale = 0; ///< pixels; width 0: no box
        std::vector<Bytes> rows;                                           ///< one for each row of the digits' font
    };

    const unsigned m_View;
    Geometry m_Geometry;
    std::shared_ptr<const Look> m_Look;
    std::uint64_t m_Number = 0;
    std::size_t m_LineBytes = 0;
    std::size_t m_PixelPairBytes = 2;
    std::vector<Bytes> m_Strips; ///< [kind * 2 + line parity]
    Box m_Box;

    void MakeStrips();
    Light At(std::uint32_t kind, std::uint32_t x) const;
    void DrawPixels(Bytes& to, std::uint32_t x, const Light& light, std::uint32_t parity) const;
    void MakeBox();
    void MakeBoxRow(Bytes& row, std::uint32_t fontRow) const;
    const std::uint8_t* LineStart(std::uint32_t y) const;
    void DrawLine(std::uint32_t y, std::size_t from, std::uint8_t* to, std::size_t count) const;
    std::size_t PixelBytes(std::uint32_t pixels) const { return pixels / 2 * m_PixelPairBytes; }
};

} // namespace virtualcam
