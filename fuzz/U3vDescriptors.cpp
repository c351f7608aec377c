// Configuration and device descriptors.

#include "u3v/CameraFunction.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    (void)u3v::DecodeDeviceDescriptor({data, size});
    (void)u3v::DecodeDeviceInfo({data, size});
    for (const u3v::CameraFunction& function : u3v::FindCameraFunctions({data, size})) {
        const bool directions = (function.controlIn.address & 0x80) != 0 && (function.controlOut.address & 0x80) == 0;
        if (!directions || function.controlIn.packetSize == 0) __builtin_trap();
        for (const u3v::DataInterface& stream : function.streams)
            if ((stream.in.address & 0x80) == 0 || stream.in.packetSize == 0) __builtin_trap();
    }
    return 0;
}
