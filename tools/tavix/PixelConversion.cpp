#include "PixelConversion.h"

#include <algorithm>
#include <cstring>

namespace tool {
namespace {

constexpr std::uint32_t kMono8 = 0x01080001, kMono10 = 0x01100003, kMono12 = 0x01100005, kMono16 = 0x01100007;
constexpr std::uint32_t kMono10p = 0x010A0046, kMono12p = 0x010C0047;
constexpr std::uint32_t kBayerGR8 = 0x01080008, kBayerRG8 = 0x01080009, kBayerGB8 = 0x0108000A, kBayerBG8 = 0x0108000B;
constexpr std::uint32_t kRGB8 = 0x02180014, kBGR8 = 0x02180015, kYCbCr422_8 = 0x0210003B, kYUV422_8 = 0x02100032;

std::size_t LineBytes(const ImageView& view) {
    const std::size_t bits = (view.pixelFormat >> 16) & 0xFF;
    return (std::size_t{view.width} * bits + 7) / 8 + view.paddingX;
}

void Start(const ImageView& view, Picture& picture, int channels, int depth) {
    picture.width = view.width;
    picture.height = view.height;
    picture.channels = channels;
    picture.depth = depth;
    picture.samples.resize(std::size_t{view.width} * view.height * channels * (depth / 8));
}

std::uint8_t Clamp(int value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

void CopyLines(const ImageView& view, Picture& picture, int channels) {
    Start(view, picture, channels, 8);
    const std::size_t bytes = std::size_t{view.width} * channels;
    for (std::uint32_t y = 0; y < view.height; ++y) {
        std::memcpy(&picture.samples[y * bytes], view.data + y * LineBytes(view), bytes);
    }
}

void SwapRedBlue(Picture& picture) {
    for (std::size_t i = 0; i + 2 < picture.samples.size(); i += 3)
        std::swap(picture.samples[i], picture.samples[i + 2]);
}

void PutSample(Picture& picture, std::size_t index, unsigned int value, int bits) {
    // The upper bits are repeated below, so that white becomes white.
    const unsigned int full = ((value << (16 - bits)) | (value >> (2 * bits - 16))) & 0xFFFF;
    picture.samples[2 * index] = static_cast<std::uint8_t>(full >> 8);
    picture.samples[2 * index + 1] = static_cast<std::uint8_t>(full);
}

void Words(const ImageView& view, Picture& picture, int bits) {
    Start(view, picture, 1, 16);
    for (std::uint32_t y = 0; y < view.height; ++y) {
        const std::uint8_t* line = view.data + y * LineBytes(view);
        for (std::uint32_t x = 0; x < view.width; ++x) {
            PutSample(picture, std::size_t{y} * view.width + x, line[2 * x] | line[2 * x + 1] << 8, bits);
        }
    }
}

/// Samples of `bits` bits without gaps, least significant bit first; across line ends when there is no padding.
void Packed(const ImageView& view, Picture& picture, int bits) {
    Start(view, picture, 1, 16);
    const std::size_t lineBits = view.paddingX > 0 ? LineBytes(view) * 8 : std::size_t{view.width} * bits;
    for (std::uint32_t y = 0; y < view.height; ++y) {
        std::size_t bit = y * lineBits;
        for (std::uint32_t x = 0; x < view.width; ++x, bit += bits) {
            const std::size_t byte = bit / 8;
            unsigned int value = view.data[byte];
            if (byte + 1 < view.size) value |= view.data[byte + 1] << 8;
            if (byte + 2 < view.size) value |= view.data[byte + 2] << 16;
            PutSample(picture, std::size_t{y} * view.width + x, (value >> (bit % 8)) & ((1U << bits) - 1), bits);
        }
    }
}

/// Nearest-neighbour demosaicing over 2x2 cells; redX, redY tell where red lies in a cell.
void Bayer(const ImageView& view, Picture& picture, unsigned int redX, unsigned int redY) {
    Start(view, picture, 3, 8);
    const std::size_t stride = LineBytes(view);
    const auto at = [&](std::uint32_t x, std::uint32_t y) {
        return view.data[std::min(y, view.height - 1) * stride + std::min(x, view.width - 1)];
    };
    for (std::uint32_t y = 0; y < view.height; ++y) {
        for (std::uint32_t x = 0; x < view.width; ++x) {
            const std::uint32_t cellX = x & ~1U, cellY = y & ~1U;
            std::uint8_t* out = &picture.samples[(std::size_t{y} * view.width + x) * 3];
            out[0] = at(cellX + redX, cellY + redY);
            out[1] = static_cast<std::uint8_t>(
                (at(cellX + 1 - redX, cellY + redY) + at(cellX + redX, cellY + 1 - redY)) / 2);
            out[2] = at(cellX + 1 - redX, cellY + 1 - redY);
        }
    }
}

void YCbCr422(const ImageView& view, Picture& picture) {
    Start(view, picture, 3, 8);
    for (std::uint32_t y = 0; y < view.height; ++y) {
        const std::uint8_t* line = view.data + y * LineBytes(view);
        for (std::uint32_t x = 0; x < view.width; ++x) {
            const std::uint8_t* pair = line + (x & ~1U) * 2;
            const bool whole = (x | 1U) < view.width; // the last pixel of an odd line has no Cr of its own
            const int luma = line[2 * x] * 1024 + 512, cb = pair[1] - 128, cr = whole ? pair[3] - 128 : 0;
            std::uint8_t* out = &picture.samples[(std::size_t{y} * view.width + x) * 3];
            out[0] = Clamp((luma + 1436 * cr) >> 10);
            out[1] = Clamp((luma - 352 * cb - 731 * cr) >> 10);
            out[2] = Clamp((luma + 1815 * cb) >> 10);
        }
    }
}

bool Enough(const ImageView& view) {
    constexpr std::uint32_t kLongest = 1U << 24; // more pixels in a row or column are no image, and would overflow sums
    if (!view.data || view.width == 0 || view.height == 0) return false;
    if (view.width > kLongest || view.height > kLongest) return false;
    const std::size_t bits = (view.pixelFormat >> 16) & 0xFF;
    const bool continues = bits % 8 != 0 && view.paddingX == 0;
    const std::size_t packed = (std::size_t{view.width} * view.height * bits + 7) / 8;
    return view.size >= (continues ? packed : LineBytes(view) * view.height);
}

} // namespace

bool Convert(const ImageView& view, Picture& picture) {
    if (!Enough(view)) return false;
    switch (view.pixelFormat) {
    case kMono8:
        CopyLines(view, picture, 1);
        return true;
    case kRGB8:
        CopyLines(view, picture, 3);
        return true;
    case kBGR8:
        CopyLines(view, picture, 3);
        SwapRedBlue(picture);
        return true;
    case kMono10:
        Words(view, picture, 10);
        return true;
    case kMono12:
        Words(view, picture, 12);
        return true;
    case kMono16:
        Words(view, picture, 16);
        return true;
    case kMono10p:
        Packed(view, picture, 10);
        return true;
    case kMono12p:
        Packed(view, picture, 12);
        return true;
    case kBayerRG8:
        Bayer(view, picture, 0, 0);
        return true;
    case kBayerGR8:
        Bayer(view, picture, 1, 0);
        return true;
    case kBayerGB8:
        Bayer(view, picture, 0, 1);
        return true;
    case kBayerBG8:
        Bayer(view, picture, 1, 1);
        return true;
    case kYCbCr422_8:
    case kYUV422_8:
        YCbCr422(view, picture);
        return true;
    default:
        return false;
    }
}

} // namespace tool
