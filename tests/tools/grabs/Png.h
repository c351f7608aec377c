#pragma once
// Reading PNG files back.

#include <png.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace tooltest {

struct PngImage {
    bool isRead = false;
    std::uint32_t width = 0, height = 0;
    int depth = 0, channels = 0;
    std::vector<std::uint8_t> samples; ///< as the file holds them
};

/// `isRead` is false for a file that libpng does not take.
inline PngImage ReadPng(const std::string& path) {
    PngImage image;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return image;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) == 0) {
        png_init_io(png, file);
        png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
        image.width = png_get_image_width(png, info);
        image.height = png_get_image_height(png, info);
        image.depth = png_get_bit_depth(png, info);
        image.channels = png_get_channels(png, info);
        const std::size_t bytes = png_get_rowbytes(png, info);
        png_bytepp rows = png_get_rows(png, info);
        for (std::uint32_t y = 0; y < image.height; ++y)
            image.samples.insert(image.samples.end(), rows[y], rows[y] + bytes);
        image.isRead = true;
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return image;
}

} // namespace tooltest
