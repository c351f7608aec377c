#include "gstreamer/caps/CameraCaps.h"

#include "gstreamer/caps/FrameRate.h"

#include <tavix/imaging/Convert.h>

#include <algorithm>
#include <string>
#include <vector>

namespace tavixgst {
namespace {

using Tavix::Camera;
using Tavix::Feature;
using Tavix::imaging::FindPixelFormat;
using Tavix::imaging::PixelFormat;
using Tavix::imaging::PixelFormatInfo;

constexpr PixelFormat kColoursFirst[] = {PixelFormat::RGB8,  PixelFormat::BGR8,  PixelFormat::RGBa8,
                                         PixelFormat::BGRa8, PixelFormat::Mono8, PixelFormat::Mono16};
constexpr PixelFormat kGreyFirst[] = {PixelFormat::Mono16, PixelFormat::Mono8, PixelFormat::RGB8,
                                      PixelFormat::BGR8,   PixelFormat::RGBa8, PixelFormat::BGRa8};

/// What the camera can be set to, the present one first.
std::vector<const PixelFormatInfo*> FormatsOf(const Camera& camera) {
    const Feature feature = camera["PixelFormat"];
    std::vector<std::string> names = feature.Entries();
    const std::string present = feature.Text();
    names.erase(std::remove(names.begin(), names.end(), present), names.end());
    names.insert(names.begin(), present);
    std::vector<const PixelFormatInfo*> formats;
    for (const std::string& name : names) {
        if (const PixelFormatInfo* info = FindPixelFormat(name)) formats.push_back(info);
    }
    return formats;
}

void Add(std::vector<const CapsFormat*>& rows, const CapsFormat* row) {
    const bool isThere = std::any_of(rows.begin(), rows.end(), [&](const CapsFormat* other) {
        return std::string(other->name) == row->name && g_strcmp0(other->colorimetry, row->colorimetry) == 0;
    });
    if (!isThere) rows.push_back(row);
}

bool IsConvertible(const std::vector<const PixelFormatInfo*>& sources, PixelFormat target) {
    return std::any_of(sources.begin(), sources.end(), [&](const PixelFormatInfo* source) {
        return Tavix::imaging::IsConvertible(source->format, target);
    });
}

/// Whether GStreamer has no name for what the camera is set to.
bool IsLacking(const std::vector<const PixelFormatInfo*>& sources) {
    return !sources.empty() && FindFormat(sources.front()->format) == nullptr;
}

void AddConverted(std::vector<const CapsFormat*>& rows, const std::vector<const PixelFormatInfo*>& sources) {
    if (sources.empty()) return;
    const bool isGrey = sources.front()->model == Tavix::imaging::ColourModel::Mono;
    for (const PixelFormat target : isGrey ? kGreyFirst : kColoursFirst) {
        if (IsConvertible(sources, target)) Add(rows, FindFormat(target));
    }
}

/// The formats of the pipeline in the order in which they are preferred.
std::vector<const CapsFormat*> RowsOf(const Camera& camera, Conversion conversion) {
    const std::vector<const PixelFormatInfo*> sources = FormatsOf(camera);
    std::vector<const CapsFormat*> rows;
    if (conversion == Conversion::WhereNeeded && IsLacking(sources)) AddConverted(rows, sources);
    for (const PixelFormatInfo* source : sources) {
        if (const CapsFormat* row = FindFormat(source->format)) Add(rows, row);
    }
    if (conversion == Conversion::WhereNeeded) AddConverted(rows, sources);
    return rows;
}

void AddSize(GstStructure& caps, const char* field, const Feature& feature) {
    const auto present = static_cast<gint>(feature.Int());
    const auto least = static_cast<gint>(feature.IntMin()), most = static_cast<gint>(feature.IntMax());
    const auto step = static_cast<gint>(std::max<std::int64_t>(1, feature.IntIncrement()));
    if (least >= most) {
        gst_structure_set(&caps, field, G_TYPE_INT, present, nullptr);
        return;
    }
    GValue value = G_VALUE_INIT;
    if (least % step == 0) {
        g_value_init(&value, GST_TYPE_INT_RANGE);
        gst_value_set_int_range_step(&value, least, most - most % step, step);
    } else { // steps that do not begin at zero are no range of GStreamer's
        g_value_init(&value, GST_TYPE_LIST);
        for (gint size = least; size <= most; size += step) {
            GValue one = G_VALUE_INIT;
            g_value_init(&one, G_TYPE_INT);
            g_value_set_int(&one, size);
            gst_value_list_append_and_take_value(&value, &one);
        }
    }
    gst_structure_take_value(&caps, field, &value);
}

/// Whether the camera, set so, gives this to the pipeline.
bool Gives(const PixelFormatInfo& source, const CapsFormat& format) {
    const CapsFormat* row = FindFormat(source.format);
    return row != nullptr && std::string(row->name) == format.name &&
           g_strcmp0(row->colorimetry, format.colorimetry) == 0;
}

/// As the camera is set if that can be converted because GStreamer lacks it; else to the format itself, else to one
/// that can be converted.
std::string CameraFormatFor(const Camera& camera, const CapsFormat& format, Conversion conversion) {
    const std::vector<const PixelFormatInfo*> sources = FormatsOf(camera);
    const bool isAllowed = conversion == Conversion::WhereNeeded;
    if (isAllowed && IsLacking(sources) && Tavix::imaging::IsConvertible(sources.front()->format, format.camera))
        return std::string(sources.front()->name);
    for (const PixelFormatInfo* source : sources) {
        if (Gives(*source, format)) return std::string(source->name);
    }
    for (const PixelFormatInfo* source : sources) {
        if (isAllowed && Tavix::imaging::IsConvertible(source->format, format.camera)) return std::string(source->name);
    }
    throw Tavix::ValueError(std::string("the camera has no pixel format for ") + format.name, "PixelFormat");
}

void Set(Feature feature, std::int64_t value) {
    if (feature.Int() != value) feature.SetInt(value);
}

} // namespace

GstClockTime Layout::Duration() const {
    return rateNumerator == 0 ? 0 : gst_util_uint64_scale_int(GST_SECOND, rateDenominator, rateNumerator);
}

CapsPtr CapsOf(const Camera& camera, Conversion conversion) {
    const FrameRate rate = FrameRateOf(camera);
    CapsPtr caps(gst_caps_new_empty());
    for (const CapsFormat* row : RowsOf(camera, conversion)) {
        StructurePtr one(gst_structure_new(row->media, "format", G_TYPE_STRING, row->name, nullptr));
        AddSize(*one, "width", camera["Width"]);
        AddSize(*one, "height", camera["Height"]);
        if (row->colorimetry) gst_structure_set(one.get(), "colorimetry", G_TYPE_STRING, row->colorimetry, nullptr);
        AppendWithFrameRate(*caps, std::move(one), rate);
    }
    return caps;
}

GstCaps* Fixate(const Camera& camera, GstCaps* caps) {
    const auto width = static_cast<gint>(camera["Width"].Int()), height = static_cast<gint>(camera["Height"].Int());
    const FrameRate rate = FrameRateOf(camera);
    caps = gst_caps_truncate(gst_caps_make_writable(caps)); // the caller's no more, so nothing throws from here on
    GstStructure* one = gst_caps_get_structure(caps, 0);
    gst_structure_fixate_field_nearest_int(one, "width", width);
    gst_structure_fixate_field_nearest_int(one, "height", height);
    FixateFrameRate(*one, rate);
    return gst_caps_fixate(caps);
}

const CapsFormat* FormatOf(const Camera& camera, const GstStructure& caps, Conversion conversion) {
    for (const CapsFormat* row : RowsOf(camera, conversion)) {
        if (IsMeant(*row, caps)) return row;
    }
    return nullptr;
}

Layout LayoutOf(const CapsFormat& format, const GstCaps& caps) {
    const GstStructure* one = gst_caps_get_structure(&caps, 0);
    Layout layout;
    layout.format = &format;
    gint width = 0, height = 0;
    gst_structure_get_int(one, "width", &width);
    gst_structure_get_int(one, "height", &height);
    gst_structure_get_fraction(one, "framerate", &layout.rateNumerator, &layout.rateDenominator);
    layout.width = static_cast<guint>(width);
    layout.height = static_cast<guint>(height);
    layout.stride = format.Stride(layout.width);
    layout.size = layout.stride * layout.height;
    if (format.IsRaw()) gst_video_info_from_caps(&layout.video, &caps);
    return layout;
}

Setup SetupOf(const Camera& camera) {
    Setup setup;
    for (const char* name : {"PixelFormat", "Width", "Height"})
        setup[name] = camera[name].Text();
    const FrameRate rate = FrameRateOf(camera);
    if (rate.isKnown && !rate.isVariable) setup[kFrameRate] = camera[kFrameRate].Text();
    return setup;
}

void Configure(Camera& camera, const Layout& layout, Conversion conversion) {
    const std::string format = CameraFormatFor(camera, *layout.format, conversion);
    if (camera["PixelFormat"].Text() != format) camera["PixelFormat"] = format;
    Set(camera["Width"], layout.width);
    Set(camera["Height"], layout.height);
    SetFrameRate(camera, layout.rateNumerator, layout.rateDenominator);
}

} // namespace tavixgst
