#pragma once
// A named group of features.

#include <GenApi/IValue.h>

namespace GenApi {

// thread-safe
struct ICategory : virtual public IValue {
    virtual void GetFeatures(FeatureList_t& Features) const = 0;
};

} // namespace GenApi
