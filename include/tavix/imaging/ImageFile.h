#pragma once
// Pictures as files, with what is known of them. Re-entrant.

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tavix/imaging/Convert.h>
#include <tavix/imaging/Error.h>
#include <tavix/imaging/Export.h>
#include <tavix/imaging/Picture.h>

namespace Tavix::imaging {

enum class FileFormat {
    Png,  ///< 8 and 16 bits, grey and colour; metadata as text
    Tiff, ///< the same; metadata in the usual tags, all of it in the description
    Jpeg, ///< 8 bits; metadata as comment
    Pnm,  ///< PGM for grey, PPM for colour, 8 and 16 bits; metadata as comments
    Raw   ///< the bytes as they came, and beside them a file of that name with ".json" that says what they are
};

/// What a file can say about its picture. Only what is there is written.
struct Metadata {
    std::string camera;
    std::optional<std::chrono::system_clock::time_point> time;
    std::optional<std::uint64_t> cameraTime; ///< the camera's own time stamp, in its ticks
    std::optional<double> exposure;          ///< microseconds
    std::optional<std::uint64_t> blockId;
    std::map<std::string, std::string> more; ///< by name
};

struct FileOptions {
    Demosaicing demosaicing = Demosaicing::EdgeAware;
    int quality = 90;    ///< JPEG: 1...100
    int compression = 1; ///< PNG and TIFF: 0 none, 1 fastest ... 9 smallest
    bool facts = true;   ///< whether the file tells what is known of the picture
};

/// By the name's extension: png, tif, tiff, jpg, jpeg, pgm, ppm, pnm, raw, in capitals as well.
TAVIX_IMAGING_API std::optional<FileFormat> FileFormatOf(std::string_view path) noexcept;
/// The extension of files of that format with that picture in it, with its dot.
TAVIX_IMAGING_API const char* ExtensionOf(FileFormat file, PixelFormat pixels) noexcept;
/// Whether such a file can show it; Raw can hold everything.
TAVIX_IMAGING_API bool IsStorable(FileFormat file, PixelFormat pixels) noexcept;

/// The bytes of such a file. Converts as it needs it: grey stays grey; more than 8 bits become 16 where the file has
/// them. Throws Error.
TAVIX_IMAGING_API std::vector<std::uint8_t> Encode(FileFormat file, const PictureView& picture,
                                                   const Metadata& metadata = {}, const FileOptions& options = {});
/// What the file beside a raw one says: size, format and metadata as JSON.
TAVIX_IMAGING_API std::string Describe(const PictureView& picture, const Metadata& metadata = {});

/// Writes what Encode() makes beside its place and moves it there once it is whole. Throws Error, and leaves no new
/// file of that name then.
TAVIX_IMAGING_API void Save(const std::string& path, FileFormat file, const PictureView& picture,
                            const Metadata& metadata = {}, const FileOptions& options = {});
/// By the name's extension. Throws Error if it is none of FileFormatOf().
TAVIX_IMAGING_API void Save(const std::string& path, const PictureView& picture, const Metadata& metadata = {},
                            const FileOptions& options = {});

} // namespace Tavix::imaging
