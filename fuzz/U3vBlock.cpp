// Leaders and trailers, of every payload type.

#include "u3v/StreamPacket.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (const auto leader = u3v::DecodeLeader({data, size})) {
        if (leader->size > size || !u3v::HasLeaderMagic({data, size})) __builtin_trap();
        const auto image = u3v::ImageSize(*leader, leader->sizeY);
        if (image && !leader->IsImage()) __builtin_trap();
    }
    for (const uint16_t type : {0x0000, 0x0001, 0x4001, 0x4000, 0x1001, 0x1002}) {
        const auto trailer = u3v::DecodeTrailer({data, size}, type);
        if (trailer && (trailer->size > size || (trailer->sizeY && trailer->size < 32))) __builtin_trap();
    }
    return 0;
}
