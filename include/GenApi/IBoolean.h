#pragma once
// A yes or a no.

#include <GenApi/Export.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// thread-safe
struct TAVIX_GENAPI_API IBoolean : virtual public IValue {
    /// AccessException when Verify finds the node not writable.
    virtual void SetValue(bool Value, bool Verify = true) = 0;
    /// SetValue with Verify.
    virtual IBoolean& operator=(bool Value) = 0;
    /// AccessException when Verify finds the node not readable. A number that stands for neither is false.
    virtual bool GetValue(bool Verify = false, bool IgnoreCache = false) const = 0;
    /// GetValue without Verify.
    virtual bool operator()() const = 0;
};

} // namespace GenApi
