#pragma once
// Which features a node's value selects.

#include <GenApi/IBase.h>

namespace GenApi {

// The order of the operations is part of the binary interface. thread-safe
struct ISelector : virtual public IBase {
    virtual bool IsSelector() const = 0;
    virtual void GetSelectedFeatures(FeatureList_t& Features) const = 0;
    virtual void GetSelectingFeatures(FeatureList_t& Features) const = 0;
};

} // namespace GenApi
