#include "ImageFile.h"

#include "NewFile.h"
#include "PngFile.h"

#include <nlohmann/json.hpp>

namespace tool {
namespace {

constexpr const char* kAdvice = "choose another --output";
constexpr const char* kRaw = ".raw";

void WritePgm(NewFile& file, const Picture& picture) {
    const std::string head = std::string(picture.channels == 3 ? "P6" : "P5") + "\n" + std::to_string(picture.width) +
                             " " + std::to_string(picture.height) + "\n" + (picture.depth == 16 ? "65535" : "255") +
                             "\n";
    file.Write(head.data(), head.size());
    file.Write(picture.samples.data(), picture.samples.size());
}

std::string WritePicture(ImageNames& names, ImageFormat format, const Picture& picture, const ImageFacts& facts) {
    const std::string extension = format == ImageFormat::Png ? ".png" : picture.channels == 3 ? ".ppm" : ".pgm";
    NewFile file(names.Wanted(facts.blockId, extension), kAdvice, NewFile::Links::Replaced);
    if (format == ImageFormat::Png) {
        if (!WritePng(file.Get(), picture, facts)) file.Fail();
    } else {
        WritePgm(file, picture);
    }
    return names.Place(file, facts.blockId, extension);
}

/// What somebody needs who finds the bytes.
std::string Description(const ImageView& view, const ImageFacts& facts) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned int>(view.pixelFormat));
    const nlohmann::ordered_json json{{"camera", facts.camera},      {"width", view.width},
                                      {"height", view.height},       {"bytesBehindEachLine", view.paddingX},
                                      {"bytes", view.size},          {"pixelFormat", facts.pixelFormat},
                                      {"pixelFormatCode", code},     {"blockId", facts.blockId},
                                      {"timestamp", facts.timestamp}};
    return json.dump(2, ' ', /*ensure_ascii=*/true, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string WriteRaw(ImageNames& names, const ImageView& view, const ImageFacts& facts) {
    NewFile file(names.Wanted(facts.blockId, kRaw), kAdvice, NewFile::Links::Replaced);
    if (view.size > 0) file.Write(view.data, view.size);
    const std::string path = names.Place(file, facts.blockId, kRaw);
    NewFile side(path.substr(0, path.rfind('.')) + ".json", kAdvice, NewFile::Links::Replaced);
    const std::string text = Description(view, facts);
    side.Write(text.data(), text.size());
    side.Close();
    return path;
}

} // namespace

WrittenImage WriteImage(ImageNames& names, ImageFormat format, const ImageView& view, const ImageFacts& facts) {
    Picture picture;
    if (format == ImageFormat::Raw || !Convert(view, picture)) return {WriteRaw(names, view, facts), /*isRaw=*/true};
    return {WritePicture(names, format, picture, facts), /*isRaw=*/false};
}

} // namespace tool
