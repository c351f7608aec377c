#include "ImageFile.h"

#include "Error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <png.h>

namespace tool {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File OpenForWriting(const std::string& path) {
    File file(std::fopen(path.c_str(), "wb"));
    if (!file) throw Error("cannot write " + path + ": " + std::strerror(errno));
    return file;
}

void WriteAll(File file, const std::string& path, const void* data, std::size_t size) {
    if (std::fwrite(data, 1, size, file.get()) != size || std::fflush(file.get()) != 0) {
        throw Error("cannot write " + path + ": " + std::strerror(errno));
    }
}

/// libpng reports failures by longjmp, so nothing with a destructor lives between here and its calls.
bool WritePngRows(std::FILE* file, const Picture& picture, std::size_t stride) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
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
    for (std::uint32_t y = 0; y < picture.height; ++y)
        png_write_row(png, &picture.samples[y * stride]);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

void WritePng(const std::string& path, const Picture& picture) {
    File file = OpenForWriting(path);
    const std::size_t stride = std::size_t{picture.width} * picture.channels * (picture.depth / 8);
    if (!WritePngRows(file.get(), picture, stride)) throw Error("cannot write " + path + ": libpng refused the image");
}

void WritePgm(const std::string& path, const Picture& picture) {
    File file = OpenForWriting(path);
    std::fprintf(file.get(), "P%d\n%u %u\n%d\n", picture.channels == 3 ? 6 : 5, picture.width, picture.height,
                 picture.depth == 16 ? 65535 : 255);
    WriteAll(std::move(file), path, picture.samples.data(), picture.samples.size());
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
        WriteAll(OpenForWriting(path), path, view.data, view.size);
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
