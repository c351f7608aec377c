#pragma once
// A yes or a no.

#include <GenApi/IValue.h>

namespace GenApi {

// thread-safe
struct IBoolean : virtual public IValue {
    virtual void SetValue(bool Value, bool Verify = true) = 0;
    virtual IBoolean& operator=(bool Value) = 0;
    virtual bool GetValue(bool Verify = false, bool IgnoreCache = false) const = 0;
    virtual bool operator()() const = 0;
};

} // namespace GenApi
