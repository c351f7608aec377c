#include "images/ImageFile.h"

#include "NewFile.h"

#include <cstdio>
#include <vector>

#include <nlohmann/json.hpp>
#include <tavix/imaging/ImageFile.h>

namespace tool {
namespace {

namespace imaging = Tavix::imaging;

constexpr const char* kAdvice = "choose another --output";
constexpr const char* kRaw = ".raw";

imaging::PictureView PictureOf(const ImageView& view) {
    const auto* known = imaging::FindPixelType(static_cast<std::int32_t>(view.pixelFormat));
    imaging::PictureView picture;
    picture.data = view.data;
    picture.size = view.size;
    picture.format = known ? known->format : imaging::PixelFormat{view.pixelFormat};
    picture.width = view.width;
    picture.height = view.height;
    picture.stride = imaging::StrideOf(picture.format, view.width, view.paddingX);
    return picture;
}

imaging::Metadata MetadataOf(const ImageFacts& facts) {
    imaging::Metadata metadata;
    metadata.camera = facts.camera;
    metadata.blockId = facts.blockId;
    metadata.more = {{"Software", "tavix"}, {"Timestamp", std::to_string(facts.timestamp)}};
    return metadata;
}

std::string WritePicture(ImageNames& names, imaging::FileFormat format, const ImageView& view,
                         const ImageFacts& facts) {
    const imaging::PictureView picture = PictureOf(view);
    imaging::FileOptions options;
    options.facts = format == imaging::FileFormat::Png;
    const std::vector<std::uint8_t> bytes = imaging::Encode(format, picture, MetadataOf(facts), options);
    const std::string extension = imaging::ExtensionOf(format, picture.format);
    NewFile file(names.Wanted(facts.blockId, extension), kAdvice, NewFile::Links::Replaced);
    file.Write(bytes.data(), bytes.size());
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
    const auto file = format == ImageFormat::Png ? imaging::FileFormat::Png : imaging::FileFormat::Pnm;
    try {
        if (format != ImageFormat::Raw) return {WritePicture(names, file, view, facts), /*isRaw=*/false};
    } catch (const imaging::Error&) { // it cannot be converted
        return {WriteRaw(names, view, facts), /*isRaw=*/true};
    }
    return {WriteRaw(names, view, facts), /*isRaw=*/true};
}

} // namespace tool
