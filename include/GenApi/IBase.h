#pragma once
// What every node and value can do.

#include <GenApi/Export.h>
#include <GenApi/Types.h>

namespace GenApi {

/// All interfaces derive from it virtually, so that an object of several interfaces has one access mode. thread-safe
struct TAVIX_GENAPI_API IBase {
    /// What may be done now; it is asked anew, down to the port. Throws what a node that decides it throws.
    virtual EAccessMode GetAccessMode() const = 0;

protected:
    virtual ~IBase() = default;
};

/// A null pointer is none of these.
inline bool IsReadable(const IBase* pBase) {
    return pBase && IsReadable(pBase->GetAccessMode());
}
inline bool IsWritable(const IBase* pBase) {
    return pBase && IsWritable(pBase->GetAccessMode());
}
inline bool IsImplemented(const IBase* pBase) {
    return pBase && IsImplemented(pBase->GetAccessMode());
}
inline bool IsAvailable(const IBase* pBase) {
    return pBase && IsAvailable(pBase->GetAccessMode());
}
inline bool IsReadable(const IBase& base) {
    return IsReadable(base.GetAccessMode());
}
inline bool IsWritable(const IBase& base) {
    return IsWritable(base.GetAccessMode());
}
inline bool IsImplemented(const IBase& base) {
    return IsImplemented(base.GetAccessMode());
}
inline bool IsAvailable(const IBase& base) {
    return IsAvailable(base.GetAccessMode());
}

} // namespace GenApi
