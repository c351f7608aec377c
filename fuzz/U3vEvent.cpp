// Event messages, taken apart into messages with one event each.

#include "u3v/EventPacket.h"

#include <array>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto packet = u3v::DecodeEvent({data, size});
    if (!packet) return 0;
    std::array<uint8_t, 576> message;
    for (u3v::ByteView rest = packet->entries; const auto entry = u3v::TakeEventEntry(rest);) {
        const auto length = u3v::EncodeSingleEvent(*packet, *entry, message.data(), message.size());
        if (!length) continue;
        const auto again = u3v::DecodeEvent({message.data(), *length});
        if (!again) __builtin_trap();
        u3v::ByteView only = again->entries;
        const auto same = u3v::TakeEventEntry(only);
        if (!same || same->id != entry->id || same->data.size != entry->data.size || only.size != 0) __builtin_trap();
    }
    return 0;
}
