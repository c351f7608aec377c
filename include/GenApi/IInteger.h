#pragma once
// A whole number of 64 bits.

#include <GenApi/Autovector.h>
#include <GenApi/IValue.h>

namespace GenApi {

// thread-safe
struct IInteger : virtual public IValue {
    virtual void SetValue(int64_t Value, bool Verify = true) = 0;
    virtual IInteger& operator=(int64_t Value) = 0;
    virtual int64_t GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual int64_t operator()() = 0;
    virtual int64_t operator*() = 0;
    virtual int64_t GetMin() = 0;
    virtual int64_t GetMax() = 0;
    virtual int64_t GetInc() = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual GenICam::gcstring GetUnit() = 0;
    virtual EIncMode GetIncMode() = 0;
    // The values that a verified write accepts when the mode is listIncrement; bounded leaves out those beyond
    // Min and Max.
    virtual int64_autovector_t GetListOfValidValues(bool bounded = true) = 0;
};

} // namespace GenApi
