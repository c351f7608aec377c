#pragma once
// What a thread has looked for in vain.

#include <string_view>

namespace genapi {

/// Remembers that no node has the name. Thread-safe; lets no exception out.
void NoteUnknown(std::string_view name) noexcept;

} // namespace genapi
