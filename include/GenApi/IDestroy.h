#pragma once
// How to end a node map's life.

#include "GenApi/Export.h"

namespace GenApi {

/// bound to a thread
struct TAVIX_GENAPI_API IDestroy {
    /// Deletes the object. Adapters over a node map go first, the map last.
    virtual void Destroy() = 0;

protected:
    virtual ~IDestroy() = default;
};

} // namespace GenApi
