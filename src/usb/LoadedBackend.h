#pragma once
// Backends that live in a shared library of their own and are loaded by path.

#include "usb/Backend.h"

#include <memory>
#include <string>

namespace usb {

/// Loads the shared library `path`, asks it for a backend with `settings` and keeps the library loaded as long as the
/// backend lives. Null with a text in `reason` when the library cannot be loaded, exports no kCreateBackendSymbol or
/// refuses the settings; throws Tavix::NoThread when it has no thread. Thread-safe.
[[nodiscard]] std::unique_ptr<Backend> LoadBackend(const std::string& path, const std::string& settings,
                                                   std::string& reason);

} // namespace usb
