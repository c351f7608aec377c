#pragma once
// What a description says about itself.

#include <GenApi/Export.h>
#include <GenApi/Types.h>

namespace GenApi {

/// thread-safe
struct TAVIX_GENAPI_API IDeviceInfo {
    /// The texts are attributes of the root element, empty when it has none.
    virtual GenICam::gcstring GetModelName() = 0;
    virtual GenICam::gcstring GetVendorName() = 0;
    virtual GenICam::gcstring GetToolTip() = 0;
    virtual GenICam::gcstring GetStandardNameSpace() = 0;
    /// Of this interface and of its build.
    virtual void GetGenApiVersion(Version_t& Version, uint16_t& Build) = 0;
    /// Of the language of the description.
    virtual void GetSchemaVersion(Version_t& Version) = 0;
    /// Of the description itself.
    virtual void GetDeviceVersion(Version_t& Version) = 0;
    /// Changes with descriptions that are not compatible.
    virtual GenICam::gcstring GetProductGuid() = 0;
    /// Belongs to one text alone.
    virtual GenICam::gcstring GetVersionGuid() = 0;

protected:
    virtual ~IDeviceInfo() = default;
};

} // namespace GenApi
