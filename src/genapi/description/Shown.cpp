#include "genapi/description/Shown.h"

#include <core/Printable.h>

#include <algorithm>

namespace genapi {

namespace {

constexpr std::size_t kMostShown = 4096;

} // namespace

std::string Shown(std::string_view text) {
    if (text.size() <= kMostShown) return Tavix::Printable(text);
    return Tavix::Printable(text.substr(0, kMostShown)) + "...";
}

std::string_view NameFault(std::string_view name) {
    if (name.size() > kMaxName) return "too long a name";
    const bool isPlain = std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return isPlain || Tavix::Printable(name) == name ? "" : "a name that cannot be shown";
}

} // namespace genapi
