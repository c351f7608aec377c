#pragma once
// Property bags that describe transport layers, interfaces and devices.

#include "tavix/Export.h"
#include "tavix/Types.h"

#include <map>

namespace Tavix {

/// Named string values. "_BornFree" and "_sap" are hidden: they tell a transport layer how to reach a device and say
/// nothing about the device itself. Copyable; re-entrant.
class TAVIX_BASE_API CInfoBase {
public:
    virtual ~CInfoBase() = default;

    /// What a getter returns for a property that is not set: "N/A".
    static const char* const PropertyNotAvailable;

    /// Replaces `names` by the names of the properties that are set, in alphabetical order; returns their number.
    int GetPropertyNames(gcstring_vector& names) const;
    bool GetPropertyAvailable(const gcstring& name) const;
    /// False, and `value` set to PropertyNotAvailable, when the property is not set.
    bool GetPropertyValue(const gcstring& name, gcstring& value) const;
    /// Marks the record as user-provided and modified.
    CInfoBase& SetPropertyValue(const gcstring& name, const gcstring& value);
    /// False when the property is not set; otherwise marks the record as SetPropertyValue does.
    bool RemoveProperty(const gcstring& name);

    /// True when every property of `subset` that is not hidden is present here with an equal value.
    bool IsSubset(const CInfoBase& subset) const;
    /// Compares all properties and no flags.
    bool operator==(const CInfoBase& other) const { return m_Properties == other.m_Properties; }
    bool operator!=(const CInfoBase& other) const { return !(*this == other); }

    /// False for records that a transport layer produced; true once a caller built or changed one.
    bool IsUserProvided() const { return m_UserProvided; }
    void ClearUserProvided() { m_UserProvided = false; }
    /// True when a property was set or removed since the record was made or ClearModified was called.
    bool IsModified() const { return m_Modified; }
    void ClearModified() { m_Modified = false; }

protected:
    CInfoBase() = default;
    CInfoBase(const CInfoBase&) = default;
    CInfoBase& operator=(const CInfoBase&) = default;
    gcstring Get(const char* name) const;
    /// For setters that can be chained.
    template<class Info>
    static Info& Set(Info& info, const char* name, const gcstring& value) {
        info.SetPropertyValue(name, value);
        return info;
    }

private:
    std::map<gcstring, gcstring> m_Properties;
    bool m_UserProvided = true;
    bool m_Modified = false;
};

/// What all infos have: names and the class of device they belong to. Property names are the accessors' without Get.
/// Re-entrant.
class TAVIX_BASE_API CCommonInfo : public CInfoBase {
public:
    gcstring GetFriendlyName() const { return Get("FriendlyName"); }
    gcstring GetFullName() const { return Get("FullName"); }
    gcstring GetVendorName() const { return Get("VendorName"); }
    gcstring GetDeviceClass() const { return Get("DeviceClass"); }
    bool IsFriendlyNameAvailable() const { return GetPropertyAvailable("FriendlyName"); }
    bool IsFullNameAvailable() const { return GetPropertyAvailable("FullName"); }
    bool IsVendorNameAvailable() const { return GetPropertyAvailable("VendorName"); }
    bool IsDeviceClassAvailable() const { return GetPropertyAvailable("DeviceClass"); }
};

/// Describes a transport layer. Re-entrant.
class TAVIX_BASE_API CTlInfo : public CCommonInfo {
public:
    CTlInfo& SetFriendlyName(const gcstring& v) { return Set(*this, "FriendlyName", v); }
    CTlInfo& SetFullName(const gcstring& v) { return Set(*this, "FullName", v); }
    CTlInfo& SetVendorName(const gcstring& v) { return Set(*this, "VendorName", v); }
    CTlInfo& SetDeviceClass(const gcstring& v) { return Set(*this, "DeviceClass", v); }
    /// File name of the library it comes from; set by the factory.
    gcstring GetFileName() const { return Get("FileName"); }
    CTlInfo& SetFileName(const gcstring& v) { return Set(*this, "FileName", v); }
};

/// Describes an interface card or host controller of a transport layer. Re-entrant.
class TAVIX_BASE_API CInterfaceInfo : public CCommonInfo {};

/// Describes a device. Re-entrant.
class TAVIX_BASE_API CDeviceInfo : public CCommonInfo {
public:
    CDeviceInfo& SetFriendlyName(const gcstring& v) { return Set(*this, "FriendlyName", v); }
    CDeviceInfo& SetFullName(const gcstring& v) { return Set(*this, "FullName", v); }
    CDeviceInfo& SetVendorName(const gcstring& v) { return Set(*this, "VendorName", v); }
    CDeviceInfo& SetDeviceClass(const gcstring& v) { return Set(*this, "DeviceClass", v); }
    gcstring GetModelName() const { return Get("ModelName"); }
    gcstring GetSerialNumber() const { return Get("SerialNumber"); }
    gcstring GetUserDefinedName() const { return Get("UserDefinedName"); }
    gcstring GetDeviceFactory() const { return Get("DeviceFactory"); }
    gcstring GetXMLSource() const { return Get("XMLSource"); }
    CDeviceInfo& SetModelName(const gcstring& v) { return Set(*this, "ModelName", v); }
    CDeviceInfo& SetSerialNumber(const gcstring& v) { return Set(*this, "SerialNumber", v); }
    CDeviceInfo& SetUserDefinedName(const gcstring& v) { return Set(*this, "UserDefinedName", v); }
    CDeviceInfo& SetDeviceFactory(const gcstring& v) { return Set(*this, "DeviceFactory", v); }
    CDeviceInfo& SetXMLSource(const gcstring& v) { return Set(*this, "XMLSource", v); }
    bool IsModelNameAvailable() const { return GetPropertyAvailable("ModelName"); }
    bool IsSerialNumberAvailable() const { return GetPropertyAvailable("SerialNumber"); }
    bool IsUserDefinedNameAvailable() const { return GetPropertyAvailable("UserDefinedName"); }
    bool IsDeviceFactoryAvailable() const { return GetPropertyAvailable("DeviceFactory"); }
    bool IsXMLSourceAvailable() const { return GetPropertyAvailable("XMLSource"); }
};

} // namespace Tavix
