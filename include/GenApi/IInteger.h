#pragma once
// A whole number of 64 bits.

#include <GenApi/Autovector.h>
#include <GenApi/Export.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// thread-safe
struct TAVIX_GENAPI_API IInteger : virtual public IValue {
    /// AccessException when the node is not writable, OutOfRangeException for a value beyond Min, Max or off the
    /// increment; without Verify nothing is checked and the value is cut to what fits.
    virtual void SetValue(int64_t Value, bool Verify = true) = 0;
    /// SetValue with Verify.
    virtual IInteger& operator=(int64_t Value) = 0;
    /// With Verify, AccessException when the node is not readable and OutOfRangeException for a value beyond Min and
    /// Max. IgnoreCache reads the port.
    virtual int64_t GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    /// GetValue without Verify.
    virtual int64_t operator()() = 0;
    /// GetValue without Verify.
    virtual int64_t operator*() = 0;
    /// Evaluated at each call, as are the other limits.
    virtual int64_t GetMin() = 0;
    virtual int64_t GetMax() = 0;
    /// 1 when every whole number will do.
    virtual int64_t GetInc() = 0;
    /// How the number is best shown; taken over from the node below when the node itself says nothing, else PureNumber.
    virtual ERepresentation GetRepresentation() = 0;
    /// Such as "us"; UTF-8, empty when there is none.
    virtual GenICam::gcstring GetUnit() = 0;
    /// listIncrement when the description lists the valid values.
    virtual EIncMode GetIncMode() = 0;
    /// The values that a verified write accepts when the mode is listIncrement; bounded leaves out those beyond
    /// Min and Max.
    virtual int64_autovector_t GetListOfValidValues(bool bounded = true) = 0;
};

} // namespace GenApi
