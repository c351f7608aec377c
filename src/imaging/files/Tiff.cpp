#include "imaging/files/Encoders.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <memory>

#include <tiffio.h>

namespace Tavix::imaging {
namespace {

/// A file in memory, as libtiff wants to meet it.
struct TiffMemory {
    FileBytes bytes;
    std::size_t place = 0;
};

TiffMemory& MemoryOf(thandle_t handle) {
    return *static_cast<TiffMemory*>(handle);
}

tmsize_t OnRead(thandle_t handle, void* to, tmsize_t size) {
    TiffMemory& memory = MemoryOf(handle);
    if (memory.place >= memory.bytes.size() || size <= 0) return 0;
    const std::size_t count = std::min(static_cast<std::size_t>(size), memory.bytes.size() - memory.place);
    std::memcpy(to, memory.bytes.data() + memory.place, count);
    memory.place += count;
    return static_cast<tmsize_t>(count);
}

tmsize_t OnWrite(thandle_t handle, void* from, tmsize_t size) {
    TiffMemory& memory = MemoryOf(handle);
    if (size <= 0) return 0;
    try {
        const std::size_t end = memory.place + static_cast<std::size_t>(size);
        if (end > memory.bytes.size()) memory.bytes.resize(end);
    } catch (const std::exception&) {
        return 0;
    }
    std::memcpy(memory.bytes.data() + memory.place, from, static_cast<std::size_t>(size));
    memory.place += static_cast<std::size_t>(size);
    return size;
}

toff_t OnSeek(thandle_t handle, toff_t offset, int whence) {
    TiffMemory& memory = MemoryOf(handle);
    const toff_t base = whence == SEEK_CUR ? memory.place : whence == SEEK_END ? memory.bytes.size() : 0;
    memory.place = static_cast<std::size_t>(base + offset);
    return memory.place;
}

int OnClose(thandle_t) {
    return 0;
}

toff_t OnSize(thandle_t handle) {
    return MemoryOf(handle).bytes.size();
}

/// What libtiff would print; failures are told by its results.
int OnMessage(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

struct Closer {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};
using File = std::unique_ptr<TIFF, Closer>;

File Open(TiffMemory& memory) {
    const std::unique_ptr<TIFFOpenOptions, Closer> options(TIFFOpenOptionsAlloc());
    if (!options) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnMessage, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnMessage, nullptr);
    return File(TIFFClientOpenExt("picture", "w", &memory, OnRead, OnWrite, OnSeek, OnClose, OnSize, nullptr, nullptr,
                                  options.get()));
}

void Describe(TIFF* tiff, const PictureView& picture, const FileOptions& options) {
    const bool isGrey = picture.format == PixelFormat::Mono8 || picture.format == PixelFormat::Mono16;
    const bool isDeep = picture.format == PixelFormat::Mono16 || picture.format == PixelFormat::RGB16;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, picture.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, picture.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, isDeep ? 16 : 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, isGrey ? 1 : 3);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, isGrey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, options.compression == 0 ? COMPRESSION_NONE : COMPRESSION_ADOBE_DEFLATE);
    if (options.compression == 0) return;
    TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, std::clamp(options.compression, 1, 9));
    TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
}

/// "2026:01:31 12:34:56" of "2026-01-31T12:34:56.123456Z".
std::string TiffTime(std::string time) {
    time.resize(19);
    time[4] = time[7] = ':';
    time[10] = ' ';
    return time;
}

void Tell(TIFF* tiff, const Facts& facts, const Metadata& metadata) {
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, "tavix");
    TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, Lines(facts).c_str());
    if (!metadata.camera.empty()) TIFFSetField(tiff, TIFFTAG_MODEL, Printable(metadata.camera).c_str());
    const std::string time = metadata.time ? TimeText(*metadata.time) : "";
    if (time.size() == 27) TIFFSetField(tiff, TIFFTAG_DATETIME, TiffTime(time).c_str());
}

} // namespace

FileBytes EncodeTiff(const PictureView& picture, const Facts& facts, const Metadata& metadata,
                     const FileOptions& options) {
    TiffMemory memory;
    const auto refuse = [&picture] {
        throw Error("libtiff refuses a picture of " + std::to_string(picture.width) + " x " +
                    std::to_string(picture.height));
    };
    File tiff = Open(memory);
    if (!tiff) refuse();
    Describe(tiff.get(), picture, options);
    Tell(tiff.get(), facts, metadata);
    const std::size_t line = std::size_t{picture.width} * BitsPerPixel(picture.format) / 8;
    FileBytes row(line); // libtiff may change what it is given
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        std::memcpy(row.data(), picture.data + y * line, line);
        if (TIFFWriteScanline(tiff.get(), row.data(), y, 0) < 0) refuse();
    }
    if (!TIFFFlush(tiff.get())) refuse();
    tiff.reset();
    return std::move(memory.bytes);
}

} // namespace Tavix::imaging
