#pragma once
// The manifest table and the description files it points at, as they lie in the device's memory.

#include <string>

#include "virtualcam/Bytes.h"
#include "virtualcam/device/FaultScript.h"

namespace virtualcam {

/// The manifest table's bytes, and the bytes of all files from memory::kDescription on.
struct Manifest {
    Bytes table;
    Bytes files;
};

/// Builds both, with whatever is to be wrong about them. Throws std::runtime_error when a description file cannot be
/// read or packed.
Manifest BuildManifest(ManifestFault fault, const std::string& descriptionPath);

/// The built-in description file.
std::string BuiltInDescription();

} // namespace virtualcam
