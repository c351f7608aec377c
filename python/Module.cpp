// The native half of the package `tavix`.
#include "python/Callbacks.h"
#include "python/CameraDoor.h"
#include "python/Errors.h"
#include "python/FeatureDoor.h"
#include "python/ImageDoor.h"
#include "python/StreamDoor.h"

PYBIND11_MODULE(_tavix, module) {
    if (PyInterpreterState_Get() != PyInterpreterState_Main())
        throw pybind11::import_error("tavix works in the main interpreter only");
    tavixpython::BindErrors(module);
    tavixpython::BindSubscription(module);
    tavixpython::BindFeature(module);
    tavixpython::BindImage(module);
    tavixpython::BindStream(module);
    tavixpython::BindCamera(module);
}
