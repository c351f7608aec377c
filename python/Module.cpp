// The native half of the package `tavix`.
#include "python/Direct.h"
#include "python/Errors.h"
#include "python/Signatures.h"
#include "python/classes/CameraDoor.h"
#include "python/classes/Door.h"
#include "python/classes/FeatureDoor.h"
#include "python/classes/GroupDoor.h"
#include "python/classes/ImageDoor.h"
#include "python/classes/InfoDoor.h"
#include "python/classes/SettingsDoor.h"
#include "python/classes/StreamDoor.h"
#include "python/threads/Callbacks.h"
#include "python/threads/Ending.h"
#include "python/threads/Errand.h"
#include "python/threads/Fork.h"
#include "python/threads/Lock.h"

namespace py = pybind11;

namespace {

// Daemons do not come back to the interpreter, and stay where they are, with what they have opened meanwhile.
void AfterInterpreter() {
    if (tavixpython::IsLeftToParent()) return;
    if (tavixpython::InLibrary::Living() > 0 || tavixpython::Door::IsAnyOpen()) tavixpython::LeaveLibraries();
}

// Of objects that were made without their class's consent pybind11 makes the inside when it is first asked for, as
// bytes that mean nothing.
void RefuseEmptyObjects(const py::module_& module) {
    for (const auto& item : py::dict(module.attr("__dict__"))) {
        if (!PyType_Check(item.second.ptr())) continue;
        auto* const known = py::detail::get_type_info(reinterpret_cast<PyTypeObject*>(item.second.ptr()));
        if (known) known->operator_new = [](std::size_t) -> void* { tavixpython::RefuseEmptyObject(); };
    }
}

// The classes are those of the package, and say so in all texts.
void Fill(py::module_& module) {
    const py::object name = module.attr("__name__");
    module.attr("__name__") = "tavix";
    tavixpython::BindErrors(module);
    tavixpython::BindSubscription(module);
    tavixpython::BindFeature(module);
    tavixpython::BindImage(module);
    tavixpython::BindStream(module);
    tavixpython::BindInfo(module);
    tavixpython::BindSettings(module);
    tavixpython::BindCamera(module);
    tavixpython::BindGroup(module);
    RefuseEmptyObjects(module);
    tavixpython::WriteSignatures(module);
    module.attr("__version__") = TAVIX_VERSION;
    module.def("_end_waits", [](bool all, unsigned long mainThread) {
        tavixpython::EndWaits(all ? tavixpython::Ended::AllThreads : tavixpython::Ended::ThreadsThatAreJoined,
                              mainThread);
    });
    module.def("_leave_at_closing", &tavixpython::LeaveAtClosing);
    module.def("_warn_of_forgotten", &tavixpython::WarnOfForgotten);
    module.def("_await_callbacks", &tavixpython::AwaitCallbacks);
    module.def("_await_errands", &tavixpython::AwaitErrands);
    module.def("_leave_to_parent", &tavixpython::LeaveToParent);
    module.attr("__name__") = name;
    Py_AtExit(&AfterInterpreter);
}

} // namespace

// PYBIND11_MODULE, with a look at the interpreter before: in a subinterpreter the first call of pybind11 never returns.
extern "C" PYBIND11_EXPORT PyObject* PyInit__tavix() {
    if (PyInterpreterState_Get() != PyInterpreterState_Main()) {
        PyErr_SetString(PyExc_ImportError, "tavix works in the main interpreter only");
        return nullptr;
    }
    PYBIND11_CHECK_PYTHON_VERSION
    PYBIND11_ENSURE_INTERNALS_READY
    static py::module_::module_def definition;
    auto module = py::module_::create_extension_module("_tavix", nullptr, &definition);
    try {
        Fill(module);
        return module.ptr();
    }
    PYBIND11_CATCH_INIT_EXCEPTIONS
}
