#pragma once
// Which features a node's value selects.

#include <GenApi/Export.h>
#include <GenApi/IBase.h>

namespace GenApi {

/// The order of the operations is part of the binary interface. thread-safe
struct TAVIX_GENAPI_API ISelector : virtual public IBase {
    /// Whether the node selects anything.
    virtual bool IsSelector() const = 0;
    /// Replaces the content of the list, in the order of the description.
    virtual void GetSelectedFeatures(FeatureList_t& Features) const = 0;
    /// The nodes that select this one.
    virtual void GetSelectingFeatures(FeatureList_t& Features) const = 0;
};

} // namespace GenApi
