#include "python/Errors.h"

#include "python/threads/Ending.h"
#include "python/values/Values.h"

#include <tavix/camera/Error.h>

#include <new>
#include <string>

namespace py = pybind11;

namespace tavixpython {
namespace {

// Borrowed for the life of the process: exceptions may be thrown until the very end.
PyObject* g_Error;
PyObject* g_NotFound;
PyObject* g_AccessError;
PyObject* g_ValueError;
PyObject* g_Timeout;
PyObject* g_Removed;
PyObject* g_StateError;

PyObject* Make(py::module_& module, const char* name, const char* doc, const py::object& bases) {
    const std::string full = std::string("tavix.") + name;
    PyObject* type = PyErr_NewExceptionWithDoc(full.c_str(), doc, bases.ptr(), nullptr);
    if (!type) throw py::error_already_set();
    module.add_object(name, py::reinterpret_borrow<py::object>(type));
    return type;
}

void Raise(PyObject* type, const Tavix::Error& error, const py::list& suggestions) {
    const py::object exception = py::reinterpret_borrow<py::object>(type)(ToText(error.what()));
    exception.attr("feature") = ToText(error.FeatureName());
    exception.attr("suggestions") = suggestions;
    PyErr_SetObject(type, exception.ptr());
}

py::list SuggestionsOf(const Tavix::NotFound& error) {
    py::list list;
    for (const std::string& name : error.Suggestions())
        list.append(ToText(name));
    return list;
}

void Translate(std::exception_ptr thrown) { // NOLINT(performance-unnecessary-value-param): as pybind11 calls it
    try {
        if (thrown) std::rethrow_exception(thrown);
    } catch (const Tavix::NotFound& e) {
        Raise(g_NotFound, e, SuggestionsOf(e));
    } catch (const Tavix::AccessError& e) {
        Raise(g_AccessError, e, py::list());
    } catch (const Tavix::ValueError& e) {
        Raise(g_ValueError, e, py::list());
    } catch (const Tavix::Timeout& e) {
        Raise(g_Timeout, e, py::list());
    } catch (const Tavix::Removed& e) {
        Raise(g_Removed, e, py::list());
    } catch (const Tavix::StateError& e) {
        if (EndsSilently()) return PyErr_SetNone(PyExc_SystemExit); // what it uses was closed
        Raise(g_StateError, e, py::list());
    } catch (const Tavix::Error& e) {
        Raise(g_Error, e, py::list());
    }
}

} // namespace

void SetError() {
    try {
        Translate(std::current_exception());
    } catch (py::error_already_set& e) {
        e.restore();
    } catch (const py::builtin_exception& e) {
        e.set_error();
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& e) {
        PyErr_SetString(PyExc_RuntimeError, e.what());
    }
}

void WarnOfForgotten(const char* text) noexcept {
    const py::error_scope kept;
    if (PyErr_ResourceWarning(nullptr, 1, "%s", text) != 0) PyErr_WriteUnraisable(nullptr);
}

void BindErrors(py::module_& module) {
    g_Error = Make(module, "Error", "All that fails; `feature` is the name of the feature that refused, or ''.",
                   py::reinterpret_borrow<py::object>(PyExc_Exception));
    const py::handle error(g_Error);
    error.attr("feature") = py::str(); // of those that others make
    error.attr("suggestions") = py::tuple();
    g_NotFound = Make(module, "NotFound", "No camera, feature or event of that name; `suggestions` are the nearest.",
                      py::make_tuple(error, py::handle(PyExc_LookupError)));
    g_AccessError = Make(module, "AccessError", "A camera in use, or a feature that is not accessible now.",
                         error.cast<py::object>());
    g_ValueError = Make(module, "ValueError", "Wrong type, beyond the limits, no such entry.",
                        py::make_tuple(error, py::handle(PyExc_ValueError)));
    g_Timeout = Make(module, "Timeout", "Nothing came in time.", py::make_tuple(error, py::handle(PyExc_TimeoutError)));
    g_Removed = Make(module, "Removed", "The camera is unplugged.", error.cast<py::object>());
    g_StateError = Make(module, "StateError", "A closed camera, a second stream: the call does not fit.",
                        error.cast<py::object>());
    py::register_exception_translator(&Translate);
}

} // namespace tavixpython
