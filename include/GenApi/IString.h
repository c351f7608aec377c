#pragma once
// A text.

#include <GenApi/IValue.h>

namespace GenApi {

// thread-safe
struct IString : virtual public IValue {
    virtual void SetValue(const GenICam::gcstring& Value, bool Verify = true) = 0;
    virtual IString& operator=(const GenICam::gcstring& Value) = 0;
    virtual GenICam::gcstring GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual GenICam::gcstring operator()() = 0;
    virtual GenICam::gcstring operator*() = 0;
    virtual int64_t GetMaxLength() = 0;
};

} // namespace GenApi
