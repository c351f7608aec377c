#pragma once
// One of the values of an enumeration.

#include <GenApi/Export.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// thread-safe
struct TAVIX_GENAPI_API IEnumEntry : virtual public IValue {
    /// The number that the enumeration has when this entry is chosen.
    virtual int64_t GetValue() = 0;
    /// The name within the enumeration.
    virtual GenICam::gcstring GetSymbolic() const = 0;
    /// The entry's value when the description gives no other number.
    virtual double GetNumericValue() = 0;
    /// Whether the device returns to another entry by itself.
    virtual bool IsSelfClearing() = 0;
};

} // namespace GenApi
