#pragma once
// One function for each kind of file: a picture in one of that file's own formats becomes its bytes.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <tavix/imaging/ImageFile.h>

namespace Tavix::imaging {

using FileBytes = std::vector<std::uint8_t>;
/// Names and values, printable.
using Facts = std::vector<std::pair<std::string, std::string>>;

/// What the metadata says, by the names under which every kind of file has it.
Facts FactsOf(const PictureView& picture, const Metadata& metadata);
/// Characters that move a cursor or end a line, and what is no UTF-8, become a question mark for each of their bytes.
std::string Printable(const std::string& text);
/// "Camera: ...", a line each.
std::string Lines(const Facts& facts);
/// "2026-01-31T12:34:56.123456Z".
std::string TimeText(std::chrono::system_clock::time_point time);

// Mono8, Mono16, RGB8 or RGB16, lines that follow each other. Throw Error.
FileBytes EncodePng(const PictureView& picture, const Facts& facts, const FileOptions& options);
FileBytes EncodeTiff(const PictureView& picture, const Facts& facts, const Metadata& metadata,
                     const FileOptions& options);
FileBytes EncodePnm(const PictureView& picture, const Facts& facts);
// Mono8 or RGB8.
FileBytes EncodeJpeg(const PictureView& picture, const Facts& facts, const FileOptions& options);

} // namespace Tavix::imaging
