#include "python/ImageDoor.h"

#include "python/Lock.h"
#include "python/Pixels.h"
#include "python/Values.h"

#include <tavix/camera/Image.h>

#include <pybind11/stl/filesystem.h>

#include <filesystem>

namespace py = pybind11;

namespace tavixpython {
namespace {

using Tavix::HostTime;
using Tavix::Image;
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

py::array AsArray(const py::object& self, const py::object& type) {
    const py::array array = ArrayOf(self.cast<const Image&>(), self);
    return type.is_none() ? array : array.attr("astype")(type).cast<py::array>();
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

} // namespace

void BindImage(py::module_& module) {
    BindHostTime(module);
    py::class_<Image>(module, "Image",
                      "One image, in memory of its stream that nobody else writes to while the image or an array of "
                      "it lives.")
        .def_property_readonly("number", &Image::Number, "Counts the images of a stream, from 0.")
        .def_property_readonly("block_id", &Image::BlockId, "The camera's count; a gap is an image that never came.")
        .def_property_readonly("missed_before", &Image::MissedBefore, "Images that were lost just before this one.")
        .def_property_readonly("width", &Image::Width, "Columns; 0 for data that is no image.")
        .def_property_readonly("height", &Image::Height, "Lines; 0 for data that is no image.")
        .def_property_readonly("pixel_format", &Image::PixelFormat, "'Mono8', 'BayerRG12p', ...")
        .def_property_readonly("is_whole", &Image::IsWhole, "Whether all of it came.")
        .def_property_readonly("defect", &Image::Defect, "What is missing, as a sentence; '' for a whole image.")
        .def_property_readonly("camera_time", &Image::CameraTime, "Nanoseconds of the camera's clock.")
        .def_property_readonly("host_time", &Image::Time, LockFree(),
                               "The same moment on the host's clocks, a HostTime.")
        .def_property_readonly("chunks", &ChunksOf, "The chunk values by name, without their prefix 'Chunk': a dict.")
        .def_property_readonly(
            "array", [](const py::object& self) { return AsArray(self, py::none()); },
            "The pixels as a NumPy view, no copy, which keeps the image's memory: uint8 or uint16 of shape (height, "
            "width), or (height, width, components); packed formats as bytes in a row.")
        .def("__array__", &AsArray, py::arg("dtype") = py::none())
        .def(
            "__dlpack__",
            [](const py::object& self, const py::object& stream) {
                return AsArray(self, py::none()).attr("__dlpack__")(py::arg("stream") = stream);
            },
            py::arg("stream") = py::none())
        .def("__dlpack_device__",
             [](const py::object& self) { return AsArray(self, py::none()).attr("__dlpack_device__")(); })
        .def("convert", &Image::Convert, py::arg("pixel_format"), LockFree(),
             "A copy as Mono8, Mono16, RGB8, BGR8, RGBa8 or BGRa8. ValueError for what cannot be converted.")
        .def(
            "save", [](const Image& image, const std::filesystem::path& path) { image.Save(path.string()); },
            py::arg("path"), LockFree(),
            "Writes .png .tif .jpg .pgm .ppm or .raw, told by the ending. Error when it cannot be written.")
        .def("__repr__", &Repr);
}

} // namespace tavixpython
