#include "ImageFile.h"

#include "NewFile.h"

#include <cerrno>
#include <cstdio>

#include <png.h>

namespace tool {
namespace {

constexpr const char* kAdvice = "choose another --output";

[[noreturn]] void OnPngError(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

void OnPngWarning(png_structp, png_const_charp) {}

/// libpng reports failures by longjmp, so nothing with a destructor lives between here and its calls.
bool WritePngRows(std::FILE* file, const Picture& picture, std::size_t stride) {
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
    png_write_info(png, info);
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        png_write_row(png, &picture.samples[y * stride]);
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

void WritePng(const std::string& path, const Picture& picture) {
    NewFile file(path, kAdvice);
    const std::size_t stride = std::size_t{picture.width} * picture.channels * (picture.depth / 8);
    errno = 0;
    if (!WritePngRows(file.Get(), picture, stride)) file.Fail();
    file.Close();
}

void WritePgm(const std::string& path, const Picture& picture) {
    NewFile file(path, kAdvice);
    const std::string head = std::string(picture.channels == 3 ? "P6" : "P5") + "\n" + std::to_string(picture.width) +
                             " " + std::to_string(picture.height) + "\n" + (picture.depth == 16 ? "65535" : "255") +
                             "\n";
    file.Write(head.data(), head.size());
    file.Write(picture.samples.data(), picture.samples.size());
    file.Close();
}

void WriteRaw(const std::string& path, const ImageView& view) {
    NewFile file(path, kAdvice);
    if (view.size > 0) file.Write(view.data, view.size);
    file.Close();
}

} // namespace

const char* Extension(ImageFormat format) {
    switch (format) {
    case ImageFormat::Png:
        return ".png";
    case ImageFormat::Pgm:
        return ".pgm";
    default:
        return ".raw";
    }
}

std::string WriteImage(const std::string& pathWithoutExtension, ImageFormat format, const ImageView& view) {
    Picture picture;
    if (format == ImageFormat::Raw || !Convert(view, picture)) {
        const std::string path = pathWithoutExtension + Extension(ImageFormat::Raw);
        WriteRaw(path, view);
        return path;
    }
    const bool colour = picture.channels == 3;
    const std::string path = pathWithoutExtension + (format == ImageFormat::Pgm && colour ? ".ppm" : Extension(format));
    if (format == ImageFormat::Png) {
        WritePng(path, picture);
    } else {
        WritePgm(path, picture);
    }
    return path;
}

} // namespace tool
