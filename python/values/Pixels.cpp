#include "python/values/Pixels.h"

#include "core/Mutex.h"
#include "python/threads/Fork.h"
#include "python/threads/Lock.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <optional>

namespace py = pybind11;

namespace tavixpython {
namespace {

namespace imaging = Tavix::imaging;

struct Layout {
    std::size_t word = 1;   // bytes of a component
    std::size_t planes = 0; // components side by side; 0: the pixels are no array
};

Layout LayoutOf(imaging::PixelFormat code) {
    const auto* format = imaging::FindPixelFormat(code);
    if (!format || format->packing != imaging::Packing::Whole) return {};
    const unsigned bits = format->BitsPerPixel();
    const std::size_t word = format->bits <= 8 ? 1 : 2;
    if (format->bits > 16 || bits % (8 * word) != 0) return {};
    return {word, bits / (8 * word)};
}

/// As NumPy counts: one to three dimensions.
struct Shape {
    int dimensions = 0;
    std::array<Py_intptr_t, 3> lengths{}, strides{};

    void Add(std::size_t length, std::size_t stride) {
        lengths[static_cast<std::size_t>(dimensions)] = static_cast<Py_intptr_t>(length);
        strides[static_cast<std::size_t>(dimensions)] = static_cast<Py_intptr_t>(stride);
        ++dimensions;
    }
};

Shape ShapeOf(const imaging::PictureView& picture, const Layout& layout) {
    Shape shape;
    if (layout.planes == 0 || picture.width == 0) {
        shape.Add(picture.size, 1);
        return shape;
    }
    const std::size_t pixel = layout.word * layout.planes, line = pixel * picture.width;
    const std::size_t stride = picture.stride ? picture.stride : line;
    const std::size_t whole = picture.size < line ? 0 : (picture.size - line) / stride + 1;
    shape.Add(std::min<std::size_t>(picture.height, whole), stride);
    shape.Add(picture.width, pixel);
    if (layout.planes > 1) shape.Add(layout.planes, layout.word);
    return shape;
}

using Api = py::detail::npy_api;

/// NumPy's functions. They are looked up under a lock of C++, and whoever waits for that keeps the interpreter's, which
/// the import needs: so it is done before, and one thread at a time looks up, the others without the interpreter's
/// lock.
const Api& Numpy() {
    static std::atomic<bool> isKnown{false};
    static Tavix::Mutex turn;
    if (isKnown) return Api::get();
    py::module_::import("numpy.core.multiarray");
    if (IsLeftToParent()) return Api::get(); // the only thread; others may have been amid this in the parent
    std::optional<Tavix::MutexLock> lock;
    Unlocked([&] { lock.emplace(turn); });
    const Api& numpy = Api::get();
    isKnown = true;
    return numpy;
}

} // namespace

void PrepareArrays() {
    try {
        Numpy();
    } catch (const py::error_already_set& e) {
        if (!e.matches(PyExc_ImportError)) throw;
    }
}

py::array ArrayOf(const imaging::PictureView& picture, py::handle owner) {
    const Api& numpy = Numpy(); // pybind11's own array class takes vectors for a shape
    const Layout layout = LayoutOf(picture.format);
    const Shape shape = ShapeOf(picture, layout);
    py::dtype type = layout.word == 1 ? py::dtype::of<std::uint8_t>() : py::dtype::of<std::uint16_t>();
    auto array = py::reinterpret_steal<py::array>(numpy.PyArray_NewFromDescr_(
        numpy.PyArray_Type_, type.release().ptr(), shape.dimensions, shape.lengths.data(), shape.strides.data(),
        const_cast<std::uint8_t*>(picture.data), Api::NPY_ARRAY_WRITEABLE_, nullptr));
    if (!array || numpy.PyArray_SetBaseObject_(array.ptr(), owner.inc_ref().ptr()) != 0) throw py::error_already_set();
    return array;
}

py::array ArrayOf(const Tavix::Image& image, py::handle owner) {
    return ArrayOf(image.Picture(), owner);
}

} // namespace tavixpython
