#include "images/ImageFile.h"

#include <cstdio>
#include <vector>

#include <nlohmann/json.hpp>
#include <tavix/imaging/ImageFile.h>

namespace tool {
namespace {

namespace imaging = Tavix::imaging;

constexpr const char* kAdvice = "choose another --output";
constexpr const char* kRaw = ".raw";

imaging::Metadata MetadataOf(const ImageFacts& facts) {
    imaging::Metadata metadata;
    metadata.camera = facts.camera;
    metadata.blockId = facts.blockId;
    metadata.more = {{"Software", "tavix"}, {"Timestamp", std::to_string(facts.timestamp)}};
    return metadata;
}

std::string WritePicture(ImageNames& names, imaging::FileFormat format, const imaging::PictureView& picture,
                         const ImageFacts& facts) {
    imaging::FileOptions options;
    options.facts = format == imaging::FileFormat::Png;
    const std::vector<std::uint8_t> bytes = imaging::Encode(format, picture, MetadataOf(facts), options);
    const std::string extension = imaging::ExtensionOf(format, picture.format);
    Tavix::NewFile file(names.Wanted(facts.blockId, extension), kAdvice, Tavix::NewFile::Links::Replaced);
    file.Write(bytes.data(), bytes.size());
    return names.Place(file, facts.blockId, extension);
}

std::size_t PaddingOf(const imaging::PictureView& picture) {
    const std::size_t line = imaging::BytesOf(picture.format, picture.width, /*height=*/1);
    return picture.stride > line ? picture.stride - line : 0;
}

/// What somebody needs who finds the bytes.
std::string Description(const imaging::PictureView& picture, const ImageFacts& facts) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned int>(picture.format));
    const nlohmann::ordered_json json{{"camera", facts.camera},      {"width", picture.width},
                                      {"height", picture.height},    {"bytesBehindEachLine", PaddingOf(picture)},
                                      {"bytes", picture.size},       {"pixelFormat", facts.pixelFormat},
                                      {"pixelFormatCode", code},     {"blockId", facts.blockId},
                                      {"timestamp", facts.timestamp}};
    return json.dump(2, ' ', /*ensure_ascii=*/true, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string WriteRaw(ImageNames& names, const imaging::PictureView& picture, const ImageFacts& facts) {
    Tavix::NewFile file(names.Wanted(facts.blockId, kRaw), kAdvice, Tavix::NewFile::Links::Replaced);
    if (picture.size > 0) file.Write(picture.data, picture.size);
    const std::string path = names.Place(file, facts.blockId, kRaw);
    Tavix::NewFile side(path.substr(0, path.rfind('.')) + ".json", kAdvice, Tavix::NewFile::Links::Replaced);
    const std::string text = Description(picture, facts);
    side.Write(text.data(), text.size());
    side.Close();
    return path;
}

} // namespace

WrittenImage WriteImage(ImageNames& names, ImageFormat format, const imaging::PictureView& picture,
                        const ImageFacts& facts) {
    const auto file = format == ImageFormat::Png ? imaging::FileFormat::Png : imaging::FileFormat::Pnm;
    try {
        if (format != ImageFormat::Raw) return {WritePicture(names, file, picture, facts), /*isRaw=*/false};
    } catch (const imaging::Error&) { // it cannot be converted
        return {WriteRaw(names, picture, facts), /*isRaw=*/true};
    }
    return {WriteRaw(names, picture, facts), /*isRaw=*/true};
}

} // namespace tool
