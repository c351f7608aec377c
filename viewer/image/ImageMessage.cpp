#include "viewer/image/ImageMessage.h"

#include "core/Printable.h"

#include <tavix/imaging/ImageFile.h>

#include <algorithm>
#include <cmath>

namespace viewer {
namespace {

using namespace Tavix;

constexpr std::uint64_t kMostValues = std::uint64_t{512} * 512; // pixels whose values a person can look at
constexpr std::uint32_t kLargestView = 8192;
constexpr int kQuality = 85;

const char* NameOf(ImageKind kind) {
    return kind == ImageKind::Jpeg ? "jpeg" : kind == ImageKind::Plain ? "plain" : "values";
}

Json Describe(const imaging::PictureStatistics& statistics) {
    Json channels = Json::array();
    for (const imaging::ChannelStatistics& channel : statistics.channels) {
        channels.push_back({{"name", std::string(1, channel.channel)},
                            {"histogram", channel.histogram},
                            {"count", channel.count},
                            {"least", channel.least},
                            {"most", channel.most},
                            {"mean", channel.mean},
                            {"saturated", channel.saturated}});
    }
    return {{"bits", statistics.bits}, {"channels", channels}, {"focus", statistics.focus}};
}

unsigned BitsOf(const Image& image) {
    const imaging::PixelFormatInfo* const info = imaging::FindPixelFormat(image.PixelFormat());
    return info ? std::max<unsigned>(info->bits, 8) : 8;
}

Json Describe(const Image& image) {
    return {{"block", image.BlockId()},    {"format", image.PixelFormat()}, {"bits", BitsOf(image)},
            {"imageWidth", image.Width()}, {"imageHeight", image.Height()}, {"offsetX", image.OffsetX()},
            {"offsetY", image.OffsetY()},  {"missed", image.MissedBefore()}};
}

/// What of the image is shown, and how.
Json Describe(const imaging::Region& region, const imaging::Picture& shown) {
    return {{"x", region.x},
            {"y", region.y},
            {"width", region.width},
            {"height", region.height},
            {"columns", shown.Width()},
            {"rows", shown.Height()},
            {"channels", shown.Format() == imaging::PixelFormat::Mono8 ? 1 : 3}};
}

Json ChunksOf(const Image& image) {
    Json chunks = Json::object();
    for (const std::string& name : image.ChunkNames())
        chunks[name] = Printable(image.Chunk(name).Text());
    return chunks;
}

Json Details(const Image& image, const ViewOptions& options) {
    Json details = Describe(imaging::Measure(image.Picture()));
    details["chunks"] = ChunksOf(image);
    if (options.profile) details["profile"] = imaging::Profile(image.Picture(), *options.profile);
    return details;
}

std::string Samples(const imaging::Picture& picture) {
    return {reinterpret_cast<const char*>(picture.Data()), picture.Size()};
}

std::uint32_t Coordinate(const Json& number) {
    return static_cast<std::uint32_t>(std::clamp(number.get<double>(), 0.0, 1048576.0));
}

} // namespace

ViewOptions ReadView(const Request& request) {
    ViewOptions view;
    view.display.region = {request.Count("x"), request.Count("y"), request.Count("width"), request.Count("height")};
    view.display.width = std::clamp(request.Count("columns"), 1U, kLargestView);
    view.display.height = std::clamp(request.Count("rows"), 1U, kLargestView);
    view.display.isColour = request.Flag("colour");
    view.display.marksSaturation = request.Flag("marks");
    view.display.black = request.Count("black");
    view.display.white = request.Count("white");
    view.details = request.Flag("details");
    const std::string kind = request.Text("kind");
    view.kind = kind == "values" ? ImageKind::Values : kind == "plain" ? ImageKind::Plain : ImageKind::Jpeg;
    const auto profile = request.fields.find("profile");
    if (profile != request.fields.end() && profile->size() == 4) {
        const Json& ends = *profile;
        view.profile = {Coordinate(ends[0]), Coordinate(ends[1]), Coordinate(ends[2]), Coordinate(ends[3])};
    }
    return view;
}

std::string MakeImage(const std::string& camera, std::uint64_t number, const Image& image, const ViewOptions& options) {
    const imaging::PictureView source = image.Picture();
    imaging::DisplayOptions display = options.display;
    display.region = imaging::Clip(source, display.region);
    const imaging::Region& region = display.region;
    const bool isLarge = std::uint64_t{region.width} * region.height > kMostValues;
    const ImageKind kind = options.kind == ImageKind::Values && isLarge ? ImageKind::Plain : options.kind;
    if (kind == ImageKind::Values) display.width = display.height = 0;
    const imaging::Picture shown = imaging::Render(source, display);
    Json header = Describe(image);
    header.update({{"camera", camera}, {"number", number}, {"kind", NameOf(kind)}});
    header.update(Describe(region, shown));
    if (options.details) header["details"] = Details(image, options);
    if (kind == ImageKind::Jpeg) {
        imaging::FileOptions file;
        file.quality = kQuality;
        const auto bytes = imaging::Encode(imaging::FileFormat::Jpeg, shown.View(), {}, file);
        return EncodeImage(header, bytes.data(), bytes.size());
    }
    std::string body = Samples(shown);
    if (kind == ImageKind::Values) {
        const imaging::Picture values = imaging::TrueValues(source, region);
        const imaging::PixelFormatInfo* const info = imaging::FindPixelFormat(values.Format());
        header["valueBytes"] = info->bits > 8 ? 2 : 1;
        header["components"] = info->model == imaging::ColourModel::Rgb ? 3 : 1;
        body += Samples(values);
    }
    return EncodeImage(header, body.data(), body.size());
}

} // namespace viewer
