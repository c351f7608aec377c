#include "imaging/files/Encoders.h"

#include <png.h>

namespace Tavix::imaging {
namespace {

[[noreturn]] void OnError(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

void OnFlush(png_structp) {}

void OnWrite(png_structp png, png_bytep data, std::size_t size) {
    FileBytes& bytes = *static_cast<FileBytes*>(png_get_io_ptr(png));
    bool isKept = true;
    try {
        bytes.insert(bytes.end(), data, data + size);
    } catch (const std::bad_alloc&) {
        isKept = false;
    }
    if (!isKept) png_error(png, "no memory");
}

/// Keys are of 1 to 79 Latin letters; what is longer is cut.
std::string Key(const std::string& name) {
    std::string key = name.substr(0, 79);
    for (char& letter : key) {
        if (static_cast<unsigned char>(letter) >= 0x80) letter = '?';
    }
    return key.empty() ? "?" : key;
}

/// Texts as libpng borrows them.
class Texts {
public:
    explicit Texts(const Facts& facts) : m_Facts(facts) {
        for (auto& [name, value] : m_Facts) {
            name = Key(name);
            png_text text{};
            text.compression = PNG_ITXT_COMPRESSION_NONE;
            text.key = name.data();
            text.text = value.data();
            m_Texts.push_back(text);
        }
    }
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;
    png_textp Get() { return m_Texts.data(); }
    int Count() const { return static_cast<int>(m_Texts.size()); }

private:
    Facts m_Facts;
    std::vector<png_text> m_Texts;
};

/// libpng reports failures by longjmp, so nothing with a destructor lives between here and its calls.
bool Write(const PictureView& picture, std::size_t line, Texts& texts, int compression, FileBytes& bytes) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    const bool isGrey = picture.format == PixelFormat::Mono8 || picture.format == PixelFormat::Mono16;
    const bool isDeep = picture.format == PixelFormat::Mono16 || picture.format == PixelFormat::RGB16;
    png_set_write_fn(png, &bytes, OnWrite, OnFlush);
    png_set_compression_level(png, compression);
    png_set_IHDR(png, info, picture.width, picture.height, isDeep ? 16 : 8,
                 isGrey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_set_text(png, info, texts.Get(), texts.Count());
    png_write_info(png, info);
    if (isDeep) png_set_swap(png);
    for (std::uint32_t y = 0; y < picture.height; ++y)
        png_write_row(png, picture.data + y * line);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

} // namespace

FileBytes EncodePng(const PictureView& picture, const Facts& facts, const FileOptions& options) {
    Texts texts(facts);
    FileBytes bytes;
    const std::size_t line = std::size_t{picture.width} * BitsPerPixel(picture.format) / 8;
    if (!Write(picture, line, texts, options.compression, bytes))
        throw Error("libpng refuses a picture of " + std::to_string(picture.width) + " x " +
                    std::to_string(picture.height));
    return bytes;
}

} // namespace Tavix::imaging
