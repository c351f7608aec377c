#include "imaging/Layout.h"
#include "imaging/conversion/ColourMatrix.h"
#include "imaging/conversion/Converter.h"
#include "imaging/conversion/Demosaicer.h"
#include "imaging/conversion/PictureWriter.h"
#include "imaging/conversion/SampleReader.h"

#include <algorithm>

namespace Tavix::imaging {
namespace {

BayerPhase Shifted(BayerPhase phase, const PictureView& picture) {
    const bool sideways = picture.offsetX % 2 != 0, down = picture.offsetY % 2 != 0;
    const auto swap = [&phase](BayerPhase a, BayerPhase b) { phase = phase == a ? b : phase == b ? a : phase; };
    if (sideways) {
        swap(BayerPhase::RG, BayerPhase::GR);
        swap(BayerPhase::GB, BayerPhase::BG);
    }
    if (down) {
        swap(BayerPhase::RG, BayerPhase::GB);
        swap(BayerPhase::GR, BayerPhase::BG);
    }
    return phase;
}

template<class T>
void ConvertGrey(SampleReader<T>& reader, const PictureWriter<T>& writer) {
    for (std::uint32_t y = 0; y < reader.Height(); ++y) {
        if (IsGrey(writer.Format())) {
            reader.ReadSamples(y, writer.LineAt(y));
        } else {
            writer.WriteGrey(y, reader.ReadPlanes(y).plane[0]);
        }
    }
}

template<class T>
void ConvertYuv(SampleReader<T>& reader, const PictureWriter<T>& writer, const ColourMatrix& matrix,
                const Kernels<T>& kernels) {
    Row<T> red(reader.Width()), green(reader.Width()), blue(reader.Width()), grey(reader.Width());
    std::fill_n(grey.Get(), reader.Width(), static_cast<T>(matrix.middle));
    Planes<T> colours;
    colours.plane[0] = red.Get();
    colours.plane[1] = green.Get();
    colours.plane[2] = blue.Get();
    for (std::uint32_t y = 0; y < reader.Height(); ++y) {
        const Planes<T> yuv = reader.ReadPlanes(y);
        const bool toGrey = IsGrey(writer.Format()); // then luma alone counts
        kernels.colours(yuv.plane[0], toGrey ? grey.Get() : yuv.plane[1], toGrey ? grey.Get() : yuv.plane[2], matrix,
                        {red.Get(), green.Get(), blue.Get()}, reader.Width());
        writer.WriteColours(y, colours);
    }
}

template<class T>
void ConvertAs(Processor processor, const PictureView& source, const PictureSpan& target, const Layout& layout,
               Demosaicing quality) {
    const Kernels<T>& kernels = KernelsFor<T>(processor);
    const PictureWriter<T> writer(target, source.width, source.height, kernels);
    const PixelFormatInfo& info = layout.Info();
    SampleReader<T> reader(layout, kernels);
    if (info.model == ColourModel::Mono) return ConvertGrey(reader, writer);
    if (info.model == ColourModel::Bayer) {
        Demosaicer<T> demosaicer(reader, kernels, Shifted(info.phase, source), quality);
        for (std::uint32_t y = 0; y < source.height; ++y)
            writer.WriteColours(y, demosaicer.Make(y));
    } else if (info.model == ColourModel::Rgb) {
        for (std::uint32_t y = 0; y < source.height; ++y)
            writer.WriteColours(y, reader.ReadPlanes(y));
    } else {
        ConvertYuv(reader, writer, MatrixFor(info.model, info.bits, 8 * sizeof(T)), kernels);
    }
}

} // namespace

bool IsConvertible(PixelFormat source, PixelFormat target) noexcept {
    const PixelFormatInfo* info = FindPixelFormat(source);
    return info && info->model != ColourModel::None && IsTarget(target);
}

void ConvertOn(Processor processor, const PictureView& source, const PictureSpan& target,
               const ConvertOptions& options) {
    if (!IsConvertible(source.format, target.format))
        throw Error(NameOf(source.format) + " cannot be converted to " + NameOf(target.format));
    const Layout layout(source, *FindPixelFormat(source.format));
    if (SampleBits(target.format) == 16) {
        ConvertAs<std::uint16_t>(processor, source, target, layout, options.demosaicing);
    } else {
        ConvertAs<std::uint8_t>(processor, source, target, layout, options.demosaicing);
    }
}

void Convert(const PictureView& source, const PictureSpan& target, const ConvertOptions& options) {
    ConvertOn(ThisProcessor(), source, target, options);
}

Picture Convert(const PictureView& source, PixelFormat target, const ConvertOptions& options) {
    if (!IsConvertible(source.format, target))
        throw Error(NameOf(source.format) + " cannot be converted to " + NameOf(target));
    const Layout claim(source, *FindPixelFormat(source.format)); // before memory is taken for it
    Picture picture(target, source.width, source.height);
    Convert(source, picture.Span(), options);
    return picture;
}

} // namespace Tavix::imaging
