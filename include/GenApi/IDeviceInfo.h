#pragma once
// What a description says about itself.

#include <GenApi/Types.h>

namespace GenApi {

// thread-safe
struct IDeviceInfo {
    virtual GenICam::gcstring GetModelName() = 0;
    virtual GenICam::gcstring GetVendorName() = 0;
    virtual GenICam::gcstring GetToolTip() = 0;
    virtual GenICam::gcstring GetStandardNameSpace() = 0;
    virtual void GetGenApiVersion(Version_t& Version, uint16_t& Build) = 0;
    virtual void GetSchemaVersion(Version_t& Version) = 0;
    virtual void GetDeviceVersion(Version_t& Version) = 0;
    virtual GenICam::gcstring GetProductGuid() = 0;
    virtual GenICam::gcstring GetVersionGuid() = 0;

protected:
    virtual ~IDeviceInfo() = default;
};

} // namespace GenApi
