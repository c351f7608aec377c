#pragma once
// Reading of zip archives.

#include "core/Export.h"

#include <cstddef>
#include <string>

namespace Tavix {

/// A file out of an archive, or why there is none. Re-entrant.
struct Unzipped {
    enum class Verdict { Good, Bad, TooLarge };

    Verdict verdict = Verdict::Bad;
    std::string name;
    std::string text;
    std::string reason; ///< empty when all is well
};

/// The first member that is no folder, stored or deflated, of at most `limit` bytes. Padding behind the archive is
/// tolerated. What the archive states of a size is a claim: memory grows as bytes come. Re-entrant.
[[nodiscard]] TAVIX_CORE_API Unzipped UnzipFirst(const void* data, std::size_t size, std::size_t limit);

} // namespace Tavix
