// Acknowledges of the camera.

#include "u3v/ControlPacket.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto acknowledge = u3v::DecodeAcknowledge({data, size});
    if (!acknowledge) return 0;
    if (acknowledge->data.size > acknowledge->length || acknowledge->data.size + 12 > size) __builtin_trap();
    const bool isShort = acknowledge->data.size < 4;
    const bool tells = u3v::DecodePendingTimeout(*acknowledge) || u3v::DecodeWrittenLength(*acknowledge);
    if (isShort && tells) __builtin_trap();
    return 0;
}
