#include "imaging/ReadBack.h"

#include <cstdio>
#include <cstring>
#include <memory>

#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

namespace readback {
namespace {

struct Source {
    const Bytes& bytes;
    std::size_t place;
};

void OnRead(png_structp png, png_bytep to, std::size_t size) {
    Source& source = *static_cast<Source*>(png_get_io_ptr(png));
    if (size > source.bytes.size() - source.place) png_error(png, "too short");
    std::memcpy(to, source.bytes.data() + source.place, size);
    source.place += size;
}

} // namespace

Image Png(const Bytes& file) {
    Image image;
    Source source{file, 0};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    std::vector<std::uint8_t> row;
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        return {};
    }
    png_set_read_fn(png, &source, OnRead);
    png_read_info(png, info);
    image.width = png_get_image_width(png, info);
    image.height = png_get_image_height(png, info);
    image.depth = png_get_bit_depth(png, info);
    image.channels = png_get_channels(png, info);
    row.resize(png_get_rowbytes(png, info));
    for (std::uint32_t y = 0; y < image.height; ++y) {
        png_read_row(png, row.data(), nullptr);
        for (std::size_t i = 0; i < row.size(); i += static_cast<std::size_t>(image.depth) / 8)
            image.samples.push_back(static_cast<std::uint16_t>(image.depth == 8 ? row[i] : row[i] << 8 | row[i + 1]));
    }
    png_textp texts = nullptr;
    int count = 0;
    png_get_text(png, info, &texts, &count);
    for (int i = 0; i < count; ++i)
        image.texts[texts[i].key] = texts[i].text;
    png_destroy_read_struct(&png, &info, nullptr);
    image.isRead = true;
    return image;
}

Image Jpeg(const Bytes& file) {
    Image image;
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors); // ends the test program on an error
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, file.data(), file.size());
    jpeg_save_markers(&jpeg, JPEG_COM, 0xFFFF);
    jpeg_read_header(&jpeg, TRUE);
    jpeg_start_decompress(&jpeg);
    image.width = jpeg.output_width;
    image.height = jpeg.output_height;
    image.channels = jpeg.output_components;
    image.depth = 8;
    std::vector<std::uint8_t> row(std::size_t{image.width} * static_cast<unsigned int>(image.channels));
    for (std::uint32_t y = 0; y < image.height; ++y) {
        JSAMPROW to = row.data();
        jpeg_read_scanlines(&jpeg, &to, 1);
        image.samples.insert(image.samples.end(), row.begin(), row.end());
    }
    if (jpeg.marker_list)
        image.texts["Comment"] =
            std::string(reinterpret_cast<const char*>(jpeg.marker_list->data), jpeg.marker_list->data_length);
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
    image.isRead = true;
    return image;
}

Image Tiff(const std::string& path) {
    Image image;
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(path.c_str(), "r"), TIFFClose);
    if (!tiff) return image;
    std::uint16_t depth = 0, channels = 0;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &image.width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &image.height);
    TIFFGetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, &depth);
    TIFFGetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &channels);
    image.depth = depth;
    image.channels = channels;
    std::vector<std::uint8_t> row(static_cast<std::size_t>(TIFFScanlineSize(tiff.get())));
    for (std::uint32_t y = 0; y < image.height; ++y) {
        if (TIFFReadScanline(tiff.get(), row.data(), y, 0) < 0) return {};
        for (std::size_t i = 0; i < row.size(); i += depth / 8)
            image.samples.push_back(static_cast<std::uint16_t>(depth == 8 ? row[i] : row[i] | row[i + 1] << 8));
    }
    for (const auto& [tag, name] : {std::pair{TIFFTAG_IMAGEDESCRIPTION, "Comment"}, std::pair{TIFFTAG_MODEL, "Model"},
                                    std::pair{TIFFTAG_DATETIME, "Time"}}) {
        char* text = nullptr;
        if (TIFFGetField(tiff.get(), static_cast<std::uint32_t>(tag), &text) != 0) image.texts[name] = text;
    }
    image.isRead = true;
    return image;
}

} // namespace readback
