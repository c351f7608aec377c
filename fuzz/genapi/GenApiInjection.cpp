// Two description texts, parted by a zero byte: the second is injected into the first, subtrees are cut out of both.

#include "genapi/loader/Loader.h"

#include <Base/GCException.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t split = input.find('\0');
    const std::string_view target = input.substr(0, split);
    const std::string_view inject = split == std::string_view::npos ? std::string_view() : input.substr(split + 1);
    genapi::Description description;
    try {
        description = genapi::ParseDescription(target, inject);
    } catch (const GenICam::RuntimeException&) {
        return 0;
    }
    constexpr std::size_t kMostSubtrees = 3;
    for (std::size_t i = 0; i < description.nodes.size() && i < kMostSubtrees; ++i) {
        const std::string_view root = description.nodes[i].name;
        const genapi::Description subtree = genapi::ParseDescription(genapi::ExtractSubtree(target, inject, root));
        bool hasRoot = false;
        for (const genapi::NodeRecord& node : subtree.nodes)
            hasRoot = hasRoot || node.name == root;
        if (!hasRoot) __builtin_trap();
    }
    return 0;
}
