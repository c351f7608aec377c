#pragma once
// Whether the producer is in use, and its one system.

#include "gentl/module/System.h"

namespace gentl {

/// NOT_INITIALIZED between GCCloseLib and GCInitLib.
void CheckInitialized();
/// RESOURCE_IN_USE the second time.
void InitLibrary();
/// Closes everything that is open.
void CloseLibrary();
/// RESOURCE_IN_USE while it is open.
std::shared_ptr<System> OpenSystem();
void CloseSystem(System& system);

/// Runs the inside of an exported function that needs the library.
template<class Inside>
GC_ERROR Call(Inside&& inside) noexcept {
    return Guarded([&] {
        CheckInitialized();
        inside();
    });
}

/// INVALID_PARAMETER for a null pointer.
template<class T>
T& Needed(T* pointer) {
    if (!pointer) Fail(GC_ERR_INVALID_PARAMETER, "a pointer is null that must not be");
    return *pointer;
}

} // namespace gentl
