#include "imaging/files/Encoders.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <jpeglib.h>

namespace Tavix::imaging {
namespace {

/// libjpeg's own, with where to go on after an error.
struct Errors {
    jpeg_error_mgr manager;
    std::jmp_buf onError;
};

[[noreturn]] void OnError(j_common_ptr jpeg) {
    std::longjmp(reinterpret_cast<Errors*>(jpeg->err)->onError, 1);
}

void OnMessage(j_common_ptr) {}

struct JpegMemory {
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    ~JpegMemory() { std::free(bytes); }
};

void Describe(jpeg_compress_struct& jpeg, const PictureView& picture, int quality) {
    const bool isGrey = picture.format == PixelFormat::Mono8;
    jpeg.image_width = picture.width;
    jpeg.image_height = picture.height;
    jpeg.input_components = isGrey ? 1 : 3;
    jpeg.in_color_space = isGrey ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, quality, TRUE);
}

/// libjpeg reports failures by longjmp, so nothing with a destructor lives between here and its calls.
bool Write(const PictureView& picture, const std::string& comment, int quality, JpegMemory& memory) {
    jpeg_compress_struct jpeg{};
    Errors errors;
    jpeg.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = OnError;
    errors.manager.output_message = OnMessage;
    if (setjmp(errors.onError)) {
        jpeg_destroy_compress(&jpeg);
        return false;
    }
    jpeg_create_compress(&jpeg);
    jpeg_mem_dest(&jpeg, &memory.bytes, &memory.size);
    Describe(jpeg, picture, quality);
    jpeg_start_compress(&jpeg, TRUE);
    jpeg_write_marker(&jpeg, JPEG_COM, reinterpret_cast<const JOCTET*>(comment.data()),
                      static_cast<unsigned int>(comment.size()));
    const std::size_t line = std::size_t{picture.width} * static_cast<unsigned int>(jpeg.input_components);
    while (jpeg.next_scanline < jpeg.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(picture.data + jpeg.next_scanline * line);
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    return true;
}

} // namespace

FileBytes EncodeJpeg(const PictureView& picture, const Facts& facts, const FileOptions& options) {
    constexpr std::size_t kLongestComment = 65533;
    JpegMemory memory;
    if (!Write(picture, Lines(facts).substr(0, kLongestComment), std::clamp(options.quality, 1, 100), memory))
        throw Error("libjpeg refuses a picture of " + std::to_string(picture.width) + " x " +
                    std::to_string(picture.height));
    return FileBytes(memory.bytes, memory.bytes + memory.size);
}

} // namespace Tavix::imaging
