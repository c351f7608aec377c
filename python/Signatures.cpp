#include "python/Signatures.h"

#include "python/values/Options.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace py = pybind11;

namespace tavixpython {
namespace {

/// What stands between the outermost parentheses, parted at its commas.
std::vector<std::string_view> ParametersOf(std::string_view signature) {
    std::vector<std::string_view> parts;
    std::size_t begin = signature.find('(') + 1;
    int depth = 0;
    for (std::size_t i = begin; i < signature.size(); ++i) {
        const char c = signature[i];
        if (depth == 0 && (c == ',' || c == ')')) {
            if (i > begin) parts.push_back(signature.substr(begin, i - begin));
            if (c == ')') break;
            begin = i + 2;
        }
        depth += c == '(' || c == '[' ? 1 : c == ')' || c == ']' ? -1 : 0;
    }
    return parts;
}

/// "timeout: object = None" is "timeout=None".
std::string WithoutType(std::string_view parameter) {
    std::string text(parameter.substr(0, parameter.find(':')));
    const std::size_t value = parameter.find(" = ");
    if (value != std::string_view::npos) text += "=" + std::string(parameter.substr(value + std::strlen(" = ")));
    return text;
}

/// The signature in the form of functions that the interpreter has itself, with the text behind it.
std::string Rewritten(std::string_view doc, const std::string& options) {
    const std::size_t line = doc.find('\n');
    std::string text(doc.substr(0, doc.find('(') + 1));
    const char* separator = "";
    for (const std::string_view parameter : ParametersOf(doc.substr(0, line))) {
        const bool isOptions = parameter == "**kwargs" && !options.empty();
        text += separator + (isOptions ? "*, " + options : WithoutType(parameter));
        separator = ", ";
    }
    const std::size_t rest = line == std::string_view::npos ? line : doc.find_first_not_of('\n', line);
    return text + ")\n--\n\n" + std::string(rest == std::string_view::npos ? "" : doc.substr(rest));
}

/// Null for what is no method.
py::object FunctionOf(py::handle method) {
    if (PyInstanceMethod_Check(method.ptr()))
        return py::reinterpret_borrow<py::object>(PyInstanceMethod_Function(method.ptr()));
    return py::isinstance<py::staticmethod>(method) ? py::object(method.attr("__func__")) : py::object();
}

void WriteSignature(py::handle method, const std::string& options) {
    const py::object function = FunctionOf(method);
    if (!function || !PyCFunction_Check(function.ptr())) return;
    PyMethodDef* const definition = reinterpret_cast<PyCFunctionObject*>(function.ptr())->m_ml;
    char* const text = strdup(Rewritten(definition->ml_doc, options).c_str());
    std::free(const_cast<char*>(definition->ml_doc)); // as pybind11 frees it in the end
    definition->ml_doc = text;
}

} // namespace

void WriteSignatures(const py::module_& module) {
    for (const auto& [className, type] : py::dict(module.attr("__dict__"))) {
        if (!PyType_Check(type.ptr())) continue;
        const bool isGroup = className.cast<std::string>() == "Group";
        for (const auto& [name, method] : py::dict(type.attr("__dict__"))) {
            const bool isGrab = name.cast<std::string>() == "grab";
            WriteSignature(method, !isGrab ? std::string() : isGroup ? GroupOptionsText() : GrabOptionsText());
        }
    }
}

} // namespace tavixpython
