#include "genapi/loader/Loader.h"

#include <core/Unzip.h>

#include <Base/GCException.h>

namespace genapi {

std::string UnzipDescription(const void* data, std::size_t size) {
    Tavix::Unzipped file = Tavix::UnzipFirst(data, size, kMaxDescriptionSize);
    if (file.verdict == Tavix::Unzipped::Verdict::Good) return std::move(file.text);
    throw RUNTIME_EXCEPTION("Cannot unzip the description: %hs", file.reason.c_str());
}

} // namespace genapi
