#include "imaging/files/DraftFile.h"
#include "imaging/files/Encoders.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace Tavix::imaging {
namespace {

struct Extension {
    std::string_view name;
    FileFormat format;
};

constexpr Extension kExtensions[] = {{"png", FileFormat::Png},  {"tif", FileFormat::Tiff},  {"tiff", FileFormat::Tiff},
                                     {"jpg", FileFormat::Jpeg}, {"jpeg", FileFormat::Jpeg}, {"pgm", FileFormat::Pnm},
                                     {"ppm", FileFormat::Pnm},  {"pnm", FileFormat::Pnm},   {"raw", FileFormat::Raw}};

bool IsGreyPicture(PixelFormat pixels) {
    const PixelFormatInfo* info = FindPixelFormat(pixels);
    return info && info->model == ColourModel::Mono;
}

/// What pictures of that format become in such a file.
PixelFormat StoredAs(FileFormat file, PixelFormat pixels) {
    const PixelFormatInfo* info = FindPixelFormat(pixels);
    const bool isDeep = info && info->bits > 8 && file != FileFormat::Jpeg;
    if (IsGreyPicture(pixels)) return isDeep ? PixelFormat::Mono16 : PixelFormat::Mono8;
    return isDeep ? PixelFormat::RGB16 : PixelFormat::RGB8;
}

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') quoted += '\\';
        quoted += letter;
    }
    return quoted + "\"";
}

FileBytes EncodeConverted(FileFormat file, const PictureView& stored, const Facts& facts, const Metadata& metadata,
                          const FileOptions& options) {
    switch (file) {
    case FileFormat::Png:
        return EncodePng(stored, facts, options);
    case FileFormat::Tiff:
        return EncodeTiff(stored, facts, metadata, options);
    case FileFormat::Jpeg:
        return EncodeJpeg(stored, facts, options);
    default:
        return EncodePnm(stored, facts);
    }
}

void WriteFile(const std::string& path, const void* data, std::size_t size) {
    DraftFile file(path);
    file.Write(data, size);
    file.Close();
}

} // namespace

std::optional<FileFormat> FileFormatOf(std::string_view path) noexcept {
    const std::size_t dot = path.rfind('.');
    if (dot == std::string_view::npos) return {};
    const std::string_view name = path.substr(dot + 1);
    for (const Extension& extension : kExtensions) {
        const auto same = [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; };
        if (std::equal(name.begin(), name.end(), extension.name.begin(), extension.name.end(), same))
            return extension.format;
    }
    return {};
}

const char* ExtensionOf(FileFormat file, PixelFormat pixels) noexcept {
    switch (file) {
    case FileFormat::Png:
        return ".png";
    case FileFormat::Tiff:
        return ".tif";
    case FileFormat::Jpeg:
        return ".jpg";
    case FileFormat::Pnm:
        return IsGreyPicture(pixels) ? ".pgm" : ".ppm";
    default:
        return ".raw";
    }
}

bool IsStorable(FileFormat file, PixelFormat pixels) noexcept {
    return file == FileFormat::Raw || IsConvertible(pixels, PixelFormat::RGB8);
}

std::vector<std::uint8_t> Encode(FileFormat file, const PictureView& picture, const Metadata& metadata,
                                 const FileOptions& options) {
    if (file == FileFormat::Raw) return {picture.data, picture.data + picture.size};
    const Picture stored = Convert(picture, StoredAs(file, picture.format), {options.demosaicing});
    if (!options.facts) return EncodeConverted(file, stored.View(), {}, {}, options);
    return EncodeConverted(file, stored.View(), FactsOf(picture, metadata), metadata, options);
}

std::string Describe(const PictureView& picture, const Metadata& metadata) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned int>(picture.format));
    std::string text = "{\n  \"PixelFormatCode\": \"" + std::string(code) + "\",\n";
    const auto number = [&text](const char* name, std::uint64_t value) {
        text += "  \"" + std::string(name) + "\": " + std::to_string(value) + ",\n";
    };
    number("Width", picture.width);
    number("Height", picture.height);
    number("Stride", picture.stride);
    number("OffsetX", picture.offsetX);
    number("OffsetY", picture.offsetY);
    number("Bytes", picture.size);
    for (const auto& [name, value] : FactsOf(picture, metadata))
        text += "  " + Quoted(name) + ": " + Quoted(value) + ",\n";
    text.erase(text.size() - 2, 1); // the last comma
    return text + "}\n";
}

void Save(const std::string& path, FileFormat file, const PictureView& picture, const Metadata& metadata,
          const FileOptions& options) {
    const std::vector<std::uint8_t> bytes = Encode(file, picture, metadata, options);
    if (file == FileFormat::Raw) {
        const std::string description = Describe(picture, metadata);
        WriteFile(path + ".json", description.data(), description.size());
    }
    WriteFile(path, bytes.data(), bytes.size());
}

void Save(const std::string& path, const PictureView& picture, const Metadata& metadata, const FileOptions& options) {
    const std::optional<FileFormat> file = FileFormatOf(path);
    if (!file) throw Error(path + " has none of the extensions png, tif, jpg, pgm, ppm and raw");
    Save(path, *file, picture, metadata, options);
}

} // namespace Tavix::imaging
