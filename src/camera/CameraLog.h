#pragma once
// The category that the camera classes log to.

#include "core/Log.h"

namespace Tavix::detail {

inline unsigned int LogCategoryCamera() {
    static const unsigned int category = LogGetCatID("Tavix.Camera");
    return category;
}

} // namespace Tavix::detail
