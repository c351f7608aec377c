#pragma once
// Bytes at an address of a port.

#include <GenApi/Export.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// thread-safe
struct TAVIX_GENAPI_API IRegister : virtual public IValue {
    /// Length must be the register's length.
    virtual void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) = 0;
    /// A length below the register's gives its first bytes; a length above it throws OutOfRangeException.
    virtual void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false, bool IgnoreCache = false) = 0;
    /// In bytes, as the port gets it; evaluated at each call.
    virtual int64_t GetAddress() = 0;
    /// In bytes; evaluated at each call.
    virtual int64_t GetLength() = 0;
};

} // namespace GenApi
