#include "gstreamer/caps/CapsFormat.h"

#include <cstring>
#include <set>
#include <string>

namespace tavixgst {
namespace {

using Tavix::imaging::PixelFormat;

constexpr char kRaw[] = "video/x-raw";
constexpr char kBayer[] = "video/x-bayer";
constexpr char kAllOfTheRange[] = "1:4:0:0"; // 0...255, matrix of BT.601

constexpr CapsFormat kFormats[] = {
    {PixelFormat::Mono8, kRaw, "GRAY8", nullptr},
    {PixelFormat::Mono16, kRaw, "GRAY16_LE", nullptr},
    {PixelFormat::RGB8, kRaw, "RGB", nullptr},
    {PixelFormat::BGR8, kRaw, "BGR", nullptr},
    {PixelFormat::RGBa8, kRaw, "RGBA", nullptr},
    {PixelFormat::BGRa8, kRaw, "BGRA", nullptr},
    {PixelFormat::YUV422_8, kRaw, "YUY2", kAllOfTheRange},
    {PixelFormat::YCbCr422_8, kRaw, "YUY2", kAllOfTheRange},
    {PixelFormat::YCbCr601_422_8, kRaw, "YUY2", "bt601"},
    {PixelFormat::YCbCr709_422_8, kRaw, "YUY2", "bt709"},
    {PixelFormat::YCbCr2020_422_8, kRaw, "YUY2", "bt2020"},
    {PixelFormat::YUV422_8_UYVY, kRaw, "UYVY", kAllOfTheRange},
    {PixelFormat::YCbCr422_8_CbYCrY, kRaw, "UYVY", kAllOfTheRange},
    {PixelFormat::YCbCr601_422_8_CbYCrY, kRaw, "UYVY", "bt601"},
    {PixelFormat::YCbCr709_422_8_CbYCrY, kRaw, "UYVY", "bt709"},
    {PixelFormat::YCbCr2020_422_8_CbYCrY, kRaw, "UYVY", "bt2020"},
    {PixelFormat::BayerGR8, kBayer, "grbg", nullptr},
    {PixelFormat::BayerRG8, kBayer, "rggb", nullptr},
    {PixelFormat::BayerGB8, kBayer, "gbrg", nullptr},
    {PixelFormat::BayerBG8, kBayer, "bggr", nullptr},
    // Names of GStreamer 1.24, which earlier ones hand on.
    {PixelFormat::BayerGR10, kBayer, "grbg10le", nullptr},
    {PixelFormat::BayerRG10, kBayer, "rggb10le", nullptr},
    {PixelFormat::BayerGB10, kBayer, "gbrg10le", nullptr},
    {PixelFormat::BayerBG10, kBayer, "bggr10le", nullptr},
    {PixelFormat::BayerGR12, kBayer, "grbg12le", nullptr},
    {PixelFormat::BayerRG12, kBayer, "rggb12le", nullptr},
    {PixelFormat::BayerGB12, kBayer, "gbrg12le", nullptr},
    {PixelFormat::BayerBG12, kBayer, "bggr12le", nullptr},
    {PixelFormat::BayerGR14, kBayer, "grbg14le", nullptr},
    {PixelFormat::BayerRG14, kBayer, "rggb14le", nullptr},
    {PixelFormat::BayerGB14, kBayer, "gbrg14le", nullptr},
    {PixelFormat::BayerBG14, kBayer, "bggr14le", nullptr},
    {PixelFormat::BayerGR16, kBayer, "grbg16le", nullptr},
    {PixelFormat::BayerRG16, kBayer, "rggb16le", nullptr},
    {PixelFormat::BayerGB16, kBayer, "gbrg16le", nullptr},
    {PixelFormat::BayerBG16, kBayer, "bggr16le", nullptr},
};

GstCaps* CapsOfMedia(const char* media) {
    std::string names;
    std::set<std::string> seen;
    for (const CapsFormat& row : kFormats) {
        if (std::strcmp(row.media, media) != 0 || !seen.insert(row.name).second) continue;
        names += (names.empty() ? "" : ", ") + std::string(row.name);
    }
    const std::string text = std::string(media) + ", format={ " + names +
                             " }, width=[1, 2147483647], height=[1, 2147483647], framerate=[0/1, 2147483647/1]";
    return gst_caps_from_string(text.c_str());
}

} // namespace

bool CapsFormat::IsRaw() const {
    return media == kRaw;
}

std::size_t CapsFormat::Stride(std::size_t width) const {
    return (width * Tavix::imaging::BitsPerPixel(camera) / 8 + 3) / 4 * 4;
}

const CapsFormat* FindFormat(PixelFormat camera) {
    for (const CapsFormat& row : kFormats) {
        if (row.camera == camera) return &row;
    }
    return nullptr;
}

bool IsSame(PixelFormat camera, const CapsFormat& format) {
    const CapsFormat* row = FindFormat(camera);
    return row != nullptr && std::strcmp(row->name, format.name) == 0;
}

bool IsMeant(const CapsFormat& format, const GstStructure& caps) {
    const char* name = gst_structure_get_string(&caps, "format");
    const char* colorimetry = gst_structure_get_string(&caps, "colorimetry");
    return gst_structure_has_name(&caps, format.media) && g_strcmp0(name, format.name) == 0 &&
           (format.colorimetry == nullptr || colorimetry == nullptr ||
            std::strcmp(colorimetry, format.colorimetry) == 0);
}

GstCaps* TemplateCaps() {
    GstCaps* caps = CapsOfMedia(kRaw);
    gst_caps_append(caps, CapsOfMedia(kBayer));
    return caps;
}

} // namespace tavixgst
