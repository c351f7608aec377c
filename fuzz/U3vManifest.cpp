// Tables of files, entry after entry.

#include "u3v/ManifestTable.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<u3v::ManifestEntry> entries;
    for (u3v::ByteView rest(data, size); const auto entry = u3v::DecodeManifestEntry(rest); rest = rest.From(64))
        entries.push_back(*entry);
    if (entries.size() != size / 64) __builtin_trap();
    const u3v::ManifestEntry* best = u3v::FindBestDescription(entries);
    if (best != nullptr && (!best->IsCameraDescription() || best->size == 0 || best->schemaMajor != 1))
        __builtin_trap();
    return 0;
}
