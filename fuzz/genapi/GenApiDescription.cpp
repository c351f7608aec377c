// Description texts: what loads must have unique names, and must load again after it was written.

#include "genapi/loader/Loader.h"

#include <Base/GCException.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Summary = std::vector<std::pair<std::string_view, std::size_t>>;

// Names and numbers of properties, sorted by name.
Summary Summarise(const genapi::Description& description) {
    Summary summary;
    for (const genapi::NodeRecord& node : description.nodes)
        summary.emplace_back(node.name, node.properties.size());
    std::sort(summary.begin(), summary.end());
    return summary;
}

void Require(bool condition) {
    if (!condition) __builtin_trap();
}

bool HasSameName(const Summary::value_type& a, const Summary::value_type& b) {
    return a.first == b.first;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    genapi::Description description;
    try {
        description = genapi::ParseDescription({reinterpret_cast<const char*>(data), size});
    } catch (const GenICam::RuntimeException&) {
        return 0;
    }
    const Summary summary = Summarise(description);
    Require(std::adjacent_find(summary.begin(), summary.end(), HasSameName) == summary.end());
    const std::string text = genapi::WriteDescription(description);
    const genapi::Description again = genapi::ParseDescription(text);
    Require(Summarise(again) == summary);
    return 0;
}
