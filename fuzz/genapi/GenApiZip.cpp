// Archives of descriptions.

#include "genapi/loader/Loader.h"

#include <Base/GCException.h>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        if (genapi::UnzipDescription(data, size).size() > genapi::kMaxDescriptionSize) __builtin_trap();
    } catch (const GenICam::RuntimeException&) {
        return 0;
    }
    return 0;
}
