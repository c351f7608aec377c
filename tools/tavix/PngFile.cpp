#include "PngFile.h"

#include "core/Printable.h"

#include <array>
#include <cerrno>

#include <png.h>

namespace tool {
namespace {

[[noreturn]] void OnPngError(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

void OnPngWarning(png_structp, png_const_charp) {}

/// Texts with their keys; borrowed by libpng while it writes.
class Texts {
public:
    explicit Texts(const ImageFacts& facts)
        : m_Values{"tavix", Tavix::Printable(facts.camera), Tavix::Printable(facts.pixelFormat),
                   std::to_string(facts.blockId), std::to_string(facts.timestamp)} {
        constexpr std::array<const char*, kCount> kKeys{"Software", "Camera", "PixelFormat", "BlockId", "Timestamp"};
        for (std::size_t i = 0; i < kCount; ++i) {
            m_Texts[i].compression = PNG_ITXT_COMPRESSION_NONE;
            m_Texts[i].key = const_cast<char*>(kKeys[i]);
            m_Texts[i].text = m_Values[i].data();
        }
    }
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;
    png_textp Get() { return m_Texts.data(); }
    static constexpr int Count() { return static_cast<int>(kCount); }

private:
    static constexpr std::size_t kCount = 5;
    std::array<std::string, kCount> m_Values;
    std::array<png_text, kCount> m_Texts{};
};

/// libpng reports failures by longjmp, so nothing with a destructor lives between here and its calls.
bool WriteRows(std::FILE* file, const Picture& picture, std::size_t stride, Texts& texts) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, OnPngError, OnPngWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    png_set_compression_level(png, 1); // frames come fast; size matters less than time
    png_set_IHDR(png, info, picture.width, picture.height, picture.depth,
                 picture.channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_text(png, info, texts.Get(), Texts::Count());
    png_write_info(png, info);
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        png_write_row(png, &picture.samples[y * stride]);
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

} // namespace

bool WritePng(std::FILE* file, const Picture& picture, const ImageFacts& facts) {
    Texts texts(facts);
    errno = 0;
    return WriteRows(file, picture, std::size_t{picture.width} * picture.channels * (picture.depth / 8), texts);
}

} // namespace tool
