#include "python/values/Values.h"

#include "python/threads/Lock.h"

#include <tavix/camera/Error.h>

#include <string>
#include <variant>
#include <vector>

namespace py = pybind11;

namespace tavixpython {
namespace {

std::vector<std::uint8_t> BytesOf(const py::bytes& bytes) {
    const std::string text = bytes;
    return std::vector<std::uint8_t>(text.begin(), text.end());
}

// Not every str has a form in UTF-8, and Python says best why.
std::string TextOf(const py::object& value) {
    py::ssize_t size = 0;
    const char* text = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
    if (!text) throw py::error_already_set();
    return {text, static_cast<std::size_t>(size)};
}

/// A number that is larger than any is refused like others beyond the limits.
void WriteWhole(Tavix::Feature& feature, const py::object& value) {
    const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    int isBeyond = 0;
    const long long whole = number ? PyLong_AsLongLongAndOverflow(number.ptr(), &isBeyond) : -1;
    if (PyErr_Occurred()) throw py::error_already_set();
    const std::string text = isBeyond != 0 ? py::str(number) : py::str();
    const WithoutLock unlocked;
    if (isBeyond == 0) return feature.SetInt(whole);
    const Tavix::FeatureType type = feature.Type();
    if (type == Tavix::FeatureType::Text || type == Tavix::FeatureType::Register)
        throw Tavix::ValueError("cannot set " + feature.Name() + " to " + text + ": it takes no whole number",
                                feature.Name());
    feature.SetText(text); // is refused by all others
}

void WriteFloat(Tavix::Feature& feature, double number) {
    const WithoutLock unlocked;
    try {
        feature.SetFloat(number);
    } catch (const Tavix::ValueError& e) {
        if (feature.Type() != Tavix::FeatureType::Integer) throw;
        throw Tavix::ValueError(e.what() + std::string("; int() makes a whole number, set_nearest() an allowed one"),
                                e.FeatureName());
    }
}

bool IsArray(const py::object& value) {
    return py::hasattr(value, "ndim") && py::hasattr(value, "item");
}

/// NumPy's arrays without dimensions are what they hold.
py::object ScalarOf(const py::object& value) {
    if (!IsArray(value)) return value;
    return py::object(value.attr("ndim")).equal(py::int_(0)) ? py::object(value.attr("item")()) : value;
}

void WriteNumber(Tavix::Feature& feature, const py::object& value) {
    const bool isArray = IsArray(value); // of several, for those of one were taken out
    if (!isArray && PyIndex_Check(value.ptr())) return WriteWhole(feature, value);
    if (isArray || !py::hasattr(value, "__float__"))
        throw py::type_error(feature.Name() + " takes bool, int, float, str or bytes, not " +
                             std::string(py::str(py::type::of(value).attr("__name__"))));
    const double number = PyFloat_AsDouble(value.ptr());
    if (PyErr_Occurred()) throw py::error_already_set();
    WriteFloat(feature, number);
}

} // namespace

py::str ToText(const std::string& text) {
    PyObject* decoded = PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace");
    if (!decoded) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(decoded);
}

py::object ToPython(const Tavix::Value& value) {
    if (const auto* text = std::get_if<std::string>(&value.Get())) return ToText(*text);
    return std::visit([](const auto& data) -> py::object { return py::cast(data); }, value.Get());
}

py::object Read(const Tavix::Feature& feature) {
    using Type = Tavix::FeatureType;
    const Type type = Unlocked([&] { return feature.Type(); });
    if (type == Type::Command || type == Type::Category) return py::cast(feature);
    if (type == Type::Register) {
        const std::vector<std::uint8_t> bytes = Unlocked([&] { return feature.Bytes(); });
        return py::bytes(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    return ToPython(Unlocked([&] { return feature.Read(); }));
}

void Write(Tavix::Feature feature, const py::object& given) {
    const py::object value = ScalarOf(given);
    const std::string type = py::str(py::type::of(value).attr("__name__"));
    if (py::isinstance<py::bool_>(value) || type == "bool_") {
        const bool flag = value.cast<bool>();
        const WithoutLock unlocked;
        feature.SetBool(flag);
    } else if (py::isinstance<py::str>(value)) {
        const std::string text = TextOf(value);
        const WithoutLock unlocked;
        feature.SetText(text);
    } else if (py::isinstance<py::bytes>(value)) {
        const auto bytes = BytesOf(value);
        const WithoutLock unlocked;
        feature.SetBytes(bytes);
    } else {
        WriteNumber(feature, value);
    }
}

} // namespace tavixpython
