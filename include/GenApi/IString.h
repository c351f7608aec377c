#pragma once
// A text.

#include <GenApi/Export.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// thread-safe
struct TAVIX_GENAPI_API IString : virtual public IValue {
    /// AccessException when the node is not writable, OutOfRangeException for a longer text than fits; without Verify
    /// it is cut.
    virtual void SetValue(const GenICam::gcstring& Value, bool Verify = true) = 0;
    /// SetValue with Verify.
    virtual IString& operator=(const GenICam::gcstring& Value) = 0;
    /// UTF-8, up to the first zero byte. AccessException when Verify finds the node not readable.
    virtual GenICam::gcstring GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    /// GetValue without Verify.
    virtual GenICam::gcstring operator()() = 0;
    /// GetValue without Verify.
    virtual GenICam::gcstring operator*() = 0;
    /// In bytes.
    virtual int64_t GetMaxLength() = 0;
};

} // namespace GenApi
