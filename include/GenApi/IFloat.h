#pragma once
// A floating-point number.

#include <GenApi/Autovector.h>
#include <GenApi/Export.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// thread-safe
struct TAVIX_GENAPI_API IFloat : virtual public IValue {
    /// AccessException when the node is not writable, OutOfRangeException for a value beyond Min and Max. The increment
    /// is not enforced. Not-a-number is refused always.
    virtual void SetValue(double Value, bool Verify = true) = 0;
    /// SetValue with Verify.
    virtual IFloat& operator=(double Value) = 0;
    /// With Verify, AccessException when the node is not readable and OutOfRangeException for a value beyond Min and
    /// Max. IgnoreCache reads the port.
    virtual double GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    /// GetValue without Verify.
    virtual double operator()() = 0;
    /// GetValue without Verify.
    virtual double operator*() = 0;
    /// Evaluated at each call, as are the other limits. What it returns is accepted by SetValue.
    virtual double GetMin() = 0;
    virtual double GetMax() = 0;
    /// Whether the node, or the one below, has an increment.
    virtual bool HasInc() = 0;
    virtual EIncMode GetIncMode() = 0;
    /// Throws LogicalErrorException when HasInc is false.
    virtual double GetInc() = 0;
    /// Always empty.
    virtual double_autovector_t GetListOfValidValues(bool bounded = true) = 0;
    /// How the number is best shown; taken over from the node below when the node itself says nothing, else PureNumber.
    virtual ERepresentation GetRepresentation() = 0;
    /// Such as "dB"; UTF-8, empty when there is none.
    virtual GenICam::gcstring GetUnit() const = 0;
    virtual EDisplayNotation GetDisplayNotation() const = 0;
    /// Digits in the text form; 6 when nobody says otherwise.
    virtual int64_t GetDisplayPrecision() const = 0;
};

} // namespace GenApi
