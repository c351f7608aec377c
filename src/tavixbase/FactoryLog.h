#pragma once
// Where the factory and what it loads write to.

#include "core/Log.h"

namespace Tavix {

/// Category "tavix.base.Factory".
inline unsigned int FactoryLogCategory() {
    static const unsigned int category = LogGetCatID("tavix.base.Factory");
    return category;
}

} // namespace Tavix
