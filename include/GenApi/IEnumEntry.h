#pragma once
// One of the values of an enumeration.

#include <GenApi/IValue.h>

namespace GenApi {

// thread-safe
struct IEnumEntry : virtual public IValue {
    virtual int64_t GetValue() = 0;
    virtual GenICam::gcstring GetSymbolic() const = 0;
    // The entry's value when the description gives no other number.
    virtual double GetNumericValue() = 0;
    virtual bool IsSelfClearing() = 0;
};

} // namespace GenApi
