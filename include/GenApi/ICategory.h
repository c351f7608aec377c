#pragma once
// A named group of features.

#include <GenApi/Export.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// thread-safe
struct TAVIX_GENAPI_API ICategory : virtual public IValue {
    /// In the order of the description; replaces the content of the list.
    virtual void GetFeatures(FeatureList_t& Features) const = 0;
};

} // namespace GenApi
