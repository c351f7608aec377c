#pragma once
// What loops ask for each image: attributes and steps as the interpreter's own classes have them. Those of pybind11
// look up types and arguments at each call, which takes longer than all that they do.

#include "python/Errors.h"
#include "python/threads/Fork.h"

#include <pybind11/pybind11.h>

#include <functional>
#include <type_traits>

namespace tavixpython {

/// What is known of a class of this module; set when it gets its first attribute.
template<class T>
inline const pybind11::detail::type_info* g_Class = nullptr;

/// TypeError for an object that was made without its class's consent.
[[noreturn]] inline void RefuseEmptyObject() {
    throw pybind11::type_error("there is nothing in this object");
}

/// The object inside an instance. TypeError for one that was made without its class's consent.
template<class T>
T& Inside(PyObject* self) {
    const auto place = reinterpret_cast<pybind11::detail::instance*>(self)->get_value_and_holder(g_Class<T>);
    if (!place.value_ptr()) RefuseEmptyObject();
    return *static_cast<T*>(place.value_ptr());
}

/// A new reference to what the call gives, for callers in C; null with the exception set when it throws.
template<class Call>
PyObject* Guarded(Call call) {
    try {
        return pybind11::object(call()).release().ptr();
    } catch (...) {
        SetError();
        return nullptr;
    }
}

/// Gives a class a read-only attribute. `Read` gets the object inside, or before it the instance itself.
template<class T, auto Read>
void DefineAttribute(const pybind11::class_<T, Owned<T>>& type, const char* name, const char* doc) {
    auto* const native = reinterpret_cast<PyTypeObject*>(type.ptr());
    g_Class<T> = pybind11::detail::get_type_info(native);
    static PyGetSetDef definition{};
    definition.name = name;
    definition.doc = doc;
    definition.get = [](PyObject* self, void*) {
        return Guarded([&]() -> pybind11::object {
            if constexpr (std::is_invocable_v<decltype(Read), pybind11::handle, T&>) {
                return Read(pybind11::handle(self), Inside<T>(self));
            } else {
                return pybind11::cast(std::invoke(Read, Inside<T>(self)));
            }
        });
    };
    pybind11::setattr(type, name,
                      pybind11::reinterpret_steal<pybind11::object>(PyDescr_NewGetSet(native, &definition)));
}

/// Lets a class that has `__next__` step without a call of it. `Next` gives a null object at the end.
template<class T, auto Next>
void DefineStep(const pybind11::class_<T, Owned<T>>& type) {
    auto* const native = reinterpret_cast<PyTypeObject*>(type.ptr());
    g_Class<T> = pybind11::detail::get_type_info(native);
    native->tp_iternext = [](PyObject* self) {
        return Guarded([&]() -> pybind11::object { return std::invoke(Next, Inside<T>(self)); });
    };
}

} // namespace tavixpython
