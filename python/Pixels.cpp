#include "python/Pixels.h"

#include <algorithm>
#include <vector>

namespace py = pybind11;

namespace tavixpython {
namespace {

struct Layout {
    std::size_t word = 1;   // bytes of a component
    std::size_t planes = 0; // components side by side; 0: the pixels are no array
};

Layout LayoutOf(const Tavix::Image& image) {
    namespace imaging = Tavix::imaging;
    const auto* format = imaging::FindPixelFormat(static_cast<imaging::PixelFormat>(image.PixelFormatCode()));
    if (!format || format->packing != imaging::Packing::Whole || image.Width() == 0) return {};
    const unsigned bits = format->BitsPerPixel();
    const std::size_t word = format->bits <= 8 ? 1 : 2;
    if (format->bits > 16 || bits % (8 * word) != 0) return {};
    return {word, bits / (8 * word)};
}

} // namespace

py::array ArrayOf(const Tavix::Image& image, const py::object& owner) {
    const Tavix::ByteView data = image.Data();
    const Layout layout = LayoutOf(image);
    if (layout.planes == 0)
        return py::array(py::dtype::of<std::uint8_t>(), {data.size}, {std::size_t(1)}, data.data, owner);
    const std::size_t pixel = layout.word * layout.planes, line = pixel * image.Width();
    const std::size_t stride = image.Stride() ? image.Stride() : line;
    const std::size_t whole = data.size < line ? 0 : (data.size - line) / stride + 1;
    std::vector<std::size_t> shape{std::min<std::size_t>(image.Height(), whole), image.Width()};
    std::vector<std::size_t> strides{stride, pixel};
    if (layout.planes > 1) {
        shape.push_back(layout.planes);
        strides.push_back(layout.word);
    }
    const py::dtype type = layout.word == 1 ? py::dtype::of<std::uint8_t>() : py::dtype::of<std::uint16_t>();
    return py::array(type, shape, strides, data.data, owner);
}

} // namespace tavixpython
