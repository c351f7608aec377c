// Pictures of any format, size and stride in memory of exactly the bytes given, converted to each target on each kind
// of processor: all of them agree, and nothing beyond is touched.

#include "fuzz/Script.h"
#include "imaging/conversion/Converter.h"

#include <cstring>
#include <memory>
#include <vector>

#include <tavix/imaging/ImageFile.h>

using namespace Tavix::imaging;

namespace {

constexpr PixelFormat kTargets[] = {PixelFormat::Mono8, PixelFormat::Mono16, PixelFormat::RGB8, PixelFormat::BGR8,
                                    PixelFormat::RGBa8, PixelFormat::BGRa8,  PixelFormat::RGB16};

PixelFormat FormatOf(fuzz::Script& script) {
    const std::uint64_t choice = script.Number(2);
    const PixelFormatTable table = PixelFormats();
    return choice < 0xFF00 ? table.first[choice % table.count].format
                           : PixelFormat{static_cast<std::uint32_t>(script.Number(4))};
}

std::vector<std::uint8_t> Converted(Processor processor, const PictureView& view, PixelFormat target,
                                    const ConvertOptions& options, std::size_t padding) {
    const std::size_t stride = StrideOf(target, view.width, padding);
    std::vector<std::uint8_t> bytes(BytesOf(target, view.width, view.height, stride));
    ConvertOn(processor, view, {bytes.data(), bytes.size(), target, stride}, options);
    return bytes;
}

void ConvertEverywhere(const PictureView& view, PixelFormat target, const ConvertOptions& options,
                       std::size_t padding) {
    const std::vector<std::uint8_t> first = Converted(Processor::Any, view, target, options, padding);
    for (const Processor processor : {Processor::Ssse3, Processor::Avx2}) {
        if (processor <= ThisProcessor() && Converted(processor, view, target, options, padding) != first)
            __builtin_trap();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Script script(data, size);
    PictureView view;
    view.format = FormatOf(script);
    const PixelFormat target = kTargets[script.Byte() % std::size(kTargets)];
    const uint8_t flags = script.Byte();
    view.width = static_cast<std::uint32_t>(script.Number((flags & 1) != 0 ? 4 : 1));
    view.height = static_cast<std::uint32_t>(script.Number((flags & 2) != 0 ? 4 : 1));
    view.stride = script.Number((flags & 4) != 0 ? 8 : (flags & 8) != 0 ? 1 : 0);
    view.offsetX = flags >> 4 & 1;
    view.offsetY = flags >> 5 & 1;
    // Of exactly its size, so that a sanitizer sees every byte read beyond it.
    const std::vector<std::uint8_t> bytes(script.Rest(), script.Rest() + script.RestSize());
    view.data = bytes.data();
    view.size = bytes.size();
    const ConvertOptions options{(flags & 64) != 0 ? Demosaicing::EdgeAware : Demosaicing::Bilinear};
    const std::size_t padding = (flags & 128) != 0 ? 6 : 0;
    try {
        Convert(view, target, options); // refuses sizes for which the memory below would be claimed
        ConvertEverywhere(view, target, options, padding);
        Encode(FileFormat::Pnm, view);
    } catch (const Error&) {
    }
    try {
        Unpack(view);
    } catch (const Error&) {
    }
    return 0;
}
