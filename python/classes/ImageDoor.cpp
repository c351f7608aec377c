#include "python/classes/ImageDoor.h"

#include "python/Direct.h"
#include "python/Errors.h"
#include "python/threads/Fork.h"
#include "python/threads/Lock.h"
#include "python/values/OwnMemory.h"
#include "python/values/Pixels.h"
#include "python/values/Values.h"

#include <tavix/camera/Error.h>
#include <tavix/camera/Image.h>
#include <tavix/imaging/Convert.h>
#include <tavix/imaging/ImageFile.h>

#include <pybind11/stl/filesystem.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace py = pybind11;

namespace tavixpython {
namespace {

using Tavix::HostTime;
using Tavix::Image;
using ImageClass = py::class_<Image, Owned<Image>>;
using LockFree = py::call_guard<WithoutLock>;

template<class Moment>
std::int64_t Nanoseconds(Moment moment) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(moment.time_since_epoch()).count();
}

// Without the prefix that all of them have.
py::dict ChunksOf(const Image& image) {
    constexpr std::string_view kPrefix = "Chunk";
    py::dict chunks;
    for (const std::string& name : Unlocked([&] { return image.ChunkNames(); })) {
        const bool hasPrefix = name.compare(0, kPrefix.size(), kPrefix) == 0;
        chunks[py::str(hasPrefix ? name.substr(kPrefix.size()) : name)] =
            ToPython(Unlocked([&] { return image.Chunk(name); }));
    }
    return chunks;
}

py::object ArrayOfInstance(py::handle self, const Image& image) {
    return ArrayOf(image, self);
}

py::array ViewOf(const py::object& self) {
    return ArrayOf(self.cast<const Image&>(), self);
}

// A copy where the type is another one, or where one is asked for.
py::object AsArray(const py::object& self, const py::object& type, const py::object& copy) {
    const py::array view = ViewOf(self);
    const int truth = PyObject_IsTrue(copy.ptr());
    if (truth < 0) throw py::error_already_set();
    const bool isForced = truth > 0;
    const bool isOther = !type.is_none() && !py::dtype::from_args(type).equal(view.dtype());
    if (isOther && !copy.is_none() && !isForced)
        throw py::value_error("numbers of another type cannot be had without a copy");
    return isOther || isForced ? view.attr("astype")(isOther ? type : py::object(view.dtype())) : py::object(view);
}

// Later consumers give more arguments than NumPy's own arrays may know, all of which only ever ask for less.
py::object AsDlpack(const py::object& self, const py::object& stream, const py::kwargs& more) {
    if (more.contains("copy") && more["copy"].ptr() == Py_True) {
        const py::object copy = ViewOf(self).attr("copy")();
        return copy.attr("__dlpack__")(py::arg("stream") = stream);
    }
    return ViewOf(self).attr("__dlpack__")(py::arg("stream") = stream);
}

py::buffer_info BufferOf(Image& image) {
    const py::array view = ArrayOf(image, py::none());
    const std::string format = view.itemsize() == 1 ? "B" : "H";
    return {const_cast<void*>(view.data()),
            view.itemsize(),
            format,
            view.ndim(),
            std::vector<py::ssize_t>(view.shape(), view.shape() + view.ndim()),
            std::vector<py::ssize_t>(view.strides(), view.strides() + view.ndim())};
}

// What pybind11 does lets exceptions out into callers in C.
void LetBuffersFail(const ImageClass& type) {
    static getbufferproc begin;
    PyBufferProcs* const buffers = reinterpret_cast<PyTypeObject*>(type.ptr())->tp_as_buffer;
    begin = buffers->bf_getbuffer;
    buffers->bf_getbuffer = [](PyObject* self, Py_buffer* view, int flags) {
        try {
            return begin(self, view, flags);
        } catch (...) {
            SetError();
            return -1;
        }
    };
}

py::array PayloadOf(const py::object& self) {
    const Tavix::ByteView bytes = self.cast<const Image&>().Payload();
    Tavix::imaging::PictureView row;
    row.data = bytes.data;
    row.size = bytes.size;
    return ArrayOf(row, self);
}

// What imaging does with an image that is no picture, or of a format that it does not know.
template<class Call>
auto OfImaging(const Image& image, const char* what, Call call) {
    try {
        return Unlocked(call);
    } catch (const Tavix::imaging::Error& e) {
        throw Tavix::ValueError("cannot " + std::string(what) + " " + image.PixelFormat() + ": " + e.what());
    }
}

py::array Unpack(const py::object& self) {
    namespace imaging = Tavix::imaging;
    const Image& image = self.cast<const Image&>();
    const imaging::PixelFormat format = image.Picture().format;
    if (format != imaging::PixelFormat::Undefined && imaging::UnpackedFormat(format) == format)
        return ViewOf(self).attr("copy")();
    auto picture = std::make_unique<imaging::Picture>(
        OfImaging(image, "unpack", [&] { return imaging::Unpack(image.Picture()); }));
    const imaging::PictureView view = picture->View();
    const py::capsule owner(picture.get(), [](void* kept) { delete static_cast<imaging::Picture*>(kept); });
    static_cast<void>(picture.release());
    return ArrayOf(view, owner);
}

Tavix::imaging::Demosaicing DemosaicingOf(const std::string& name) {
    if (name == "bilinear") return Tavix::imaging::Demosaicing::Bilinear;
    if (name == "edge_aware") return Tavix::imaging::Demosaicing::EdgeAware;
    throw Tavix::ValueError("colours are found 'bilinear' or 'edge_aware', not '" + name + "'");
}

Image Convert(const Image& image, const std::string& pixelFormat, const std::string& demosaicing) {
    const Tavix::imaging::ConvertOptions options{DemosaicingOf(demosaicing)};
    return Unlocked([&] { return image.Convert(pixelFormat, options); });
}

/// How to save, by the names of Python's arguments.
struct Saving {
    std::string demosaicing;
    int quality, compression;
    bool facts;
};

void Save(const Image& image, const std::filesystem::path& path, const Saving& saving) {
    const Tavix::imaging::FileOptions options{DemosaicingOf(saving.demosaicing), saving.quality, saving.compression,
                                              saving.facts};
    Unlocked([&] { image.Save(path.string(), options); });
}

std::vector<std::uint8_t> Preview(const Image& image, std::uint32_t largest) {
    namespace imaging = Tavix::imaging;
    constexpr std::size_t kPixel = 3;
    const Image colours = image.Convert("RGB8");
    const std::uint32_t width = colours.Width(), height = colours.Height();
    const std::uint32_t step = std::max(1U, (std::max(width, height) + largest - 1) / largest);
    std::vector<std::uint8_t> pixels;
    for (std::uint32_t y = 0; y < height; y += step) {
        for (std::uint32_t x = 0; x < width; x += step) {
            const std::uint8_t* pixel = colours.Data().data + y * colours.Stride() + x * kPixel;
            pixels.insert(pixels.end(), pixel, pixel + kPixel);
        }
    }
    const imaging::PictureView picture{pixels.data(), pixels.size(), imaging::PixelFormat::RGB8,
                                       (width + step - 1) / step, (height + step - 1) / step};
    return imaging::Encode(imaging::FileFormat::Png, picture);
}

// With lines and columns left out until neither is more than `largest`.
py::bytes PngOf(const Image& image, std::uint32_t largest) {
    const std::vector<std::uint8_t> file = Unlocked([&] { return Preview(image, largest); });
    return py::bytes(reinterpret_cast<const char*>(file.data()), file.size());
}

py::object ChecksumOf(const Image& image) {
    const Tavix::Checksum checksum = Unlocked([&] { return image.ChunkChecksum(); });
    if (checksum == Tavix::Checksum::None) return py::none();
    return py::bool_(checksum == Tavix::Checksum::Right);
}

std::string Repr(const Image& image) {
    return "<tavix.Image " + std::to_string(image.Number()) + ": " + image.PixelFormat() + ", " +
           std::to_string(image.Width()) + " x " + std::to_string(image.Height()) + ">";
}

void BindHostTime(py::module_& module) {
    py::class_<HostTime>(module, "HostTime", "A moment on both clocks of the host.")
        .def_property_readonly(
            "monotonic_ns", [](const HostTime& t) { return Nanoseconds(t.monotonic); },
            "Nanoseconds of CLOCK_MONOTONIC, as time.monotonic_ns().")
        .def_property_readonly(
            "real_ns", [](const HostTime& t) { return Nanoseconds(t.real); },
            "Nanoseconds since 1970, as time.time_ns().")
        .def_property_readonly(
            "bound_ns",
            [](const HostTime& t) -> py::object {
                return t.IsKnown() ? py::object(py::int_(t.bound.count())) : py::none();
            },
            "The true moment is at most so far away; None when only the arrival is known.")
        .def("__float__", [](const HostTime& t) { return static_cast<double>(Nanoseconds(t.real)) / 1e9; })
        .def("__repr__",
             [](const HostTime& t) { return "<tavix.HostTime " + std::to_string(Nanoseconds(t.real)) + " ns>"; });
}

void BindWhatLoopsAsk(const ImageClass& type) {
    DefineAttribute<Image, &Image::Number>(type, "number", "Counts the images of a stream, from 0.");
    DefineAttribute<Image, &Image::BlockId>(type, "block_id", "The camera's count; a gap is an image that never came.");
    DefineAttribute<Image, &Image::MissedBefore>(type, "missed_before", "Images that were lost just before this one.");
    DefineAttribute<Image, &Image::Width>(type, "width", "Columns; 0 for data that is no image.");
    DefineAttribute<Image, &Image::Height>(type, "height", "Lines; 0 for data that is no image.");
    DefineAttribute<Image, &Image::IsWhole>(type, "is_whole", "Whether all of it came.");
    DefineAttribute<Image, &Image::CameraTime>(type, "camera_time", "Nanoseconds of the camera's clock.");
    DefineAttribute<Image, &Image::Time>(type, "host_time", "The same moment on the host's clocks, a HostTime.");
    DefineAttribute<Image, &ArrayOfInstance>(
        type, "array",
        "The pixels as a NumPy view, no copy, which keeps the image's memory: uint8 or uint16 of shape (height, "
        "width), or (height, width, components); packed formats as bytes in a row.");
}

void BindLayout(ImageClass& type) {
    type.def_property_readonly("offset_x", &Image::OffsetX, "First column, on the sensor.")
        .def_property_readonly("offset_y", &Image::OffsetY, "First line, on the sensor.")
        .def_property_readonly("stride", &Image::Stride,
                               "Bytes from one line to the next, padding included; 0 when lines do not begin at whole "
                               "bytes.")
        .def_property_readonly("pixel_format", &Image::PixelFormat, "'Mono8', 'BayerRG12p', ...")
        .def_property_readonly("pixel_format_code", &Image::PixelFormatCode,
                               "The number of the pixel format, as the standard has it.");
}

void BindContents(ImageClass& type) {
    type.def_property_readonly("payload", &PayloadOf,
                               "All bytes that came, chunk data included: a NumPy view, which keeps the memory.")
        .def_property_readonly("memory", &OwnMemoryOf,
                               "The object that the stream's `allocator` gave for it; None for memory of the "
                               "library. It is written to again once the image and its arrays have gone.")
        .def_property_readonly("missing_bytes", &Image::MissingBytes, "Bytes that did not come; 0 for a whole image.")
        .def_property_readonly("defect", &Image::Defect, "What is missing, in words; '' for a whole image.")
        .def_property_readonly("chunks", &ChunksOf, "The chunk values by name, without their prefix 'Chunk': a dict.")
        .def_property_readonly("chunk_checksum", &ChecksumOf,
                               "Whether the chunk data came as it was sent: True or False, None without a checksum.");
}

void BindArray(ImageClass& type) {
    type.def_buffer(&BufferOf)
        .def("__array__", &AsArray, py::arg("dtype") = py::none(), py::kw_only(), py::arg("copy") = py::none())
        .def("__dlpack__", &AsDlpack, py::kw_only(), py::arg("stream") = py::none())
        .def("__dlpack_device__", [](const py::object& self) { return ViewOf(self).attr("__dlpack_device__")(); });
    LetBuffersFail(type);
}

void BindCopies(ImageClass& type) {
    type.def("_png", &PngOf)
        .def("clone", &Image::Clone, LockFree(), "A copy in memory of its own, which does not belong to the stream.")
        .def("convert", &Convert, py::arg("pixel_format"), py::kw_only(), py::arg("demosaicing") = "bilinear",
             "A copy as Mono8, Mono16, RGB8, BGR8, RGBa8 or BGRa8, white as white: Mono16 of 12 bits goes up to 65535. "
             "Colours of a Bayer image are found 'bilinear' or 'edge_aware', which takes longer. "
             "ValueError for what cannot be converted.")
        .def("unpack", &Unpack,
             "The numbers that the camera sent, a NumPy array of their own: of Mono12p up to 4095, of BayerRG12p the "
             "mosaic. Shape and type as those of `array`. ValueError for formats that are no such numbers.")
        .def(
            "save",
            [](const Image& image, const std::filesystem::path& path, const std::string& demosaicing, int quality,
               int compression, bool facts) {
                Save(image, path, {demosaicing, quality, compression, facts});
            },
            py::arg("path"), py::kw_only(), py::arg("demosaicing") = "edge_aware", py::arg("quality") = 90,
            py::arg("compression") = 1, py::arg("facts") = true,
            "Writes .png .tif .jpg .pgm .ppm or .raw, told by the ending. Colours of a Bayer image are found "
            "'edge_aware' or 'bilinear', which is faster; `quality` of JPEG is 1 to 100, `compression` of PNG and TIFF "
            "0 (none) to 9 (smallest, slowest). Without `facts` the file does not tell camera, time and chunk values. "
            "ValueError for another demosaicing, Error when it cannot be written.");
}

} // namespace

void BindImage(py::module_& module) {
    BindHostTime(module);
    ImageClass type(
        module, "Image", py::buffer_protocol(),
        "One image, in memory of its stream that nobody else writes to while the image or an array of it lives.");
    BindWhatLoopsAsk(type);
    BindLayout(type);
    BindContents(type);
    BindArray(type);
    BindCopies(type);
    type.def_property_readonly(
            "gap_before", [](const Image& image) { return static_cast<double>(image.GapBefore().count()) / 1e9; },
            "Seconds that the camera was away just before this image; 0.0 when it was not.")
        .def_property_readonly(
            "arrival_ns", [](const Image& image) { return Nanoseconds(image.Arrival()); },
            "When all of it had come: nanoseconds of CLOCK_MONOTONIC, as time.monotonic_ns().")
        .def("__repr__", &Repr);
}

} // namespace tavixpython
