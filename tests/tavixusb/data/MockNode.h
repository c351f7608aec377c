#pragma once
// A camera's enumeration node and node map of which every call is expected beforehand.

#include <GenApi/GenApi.h>
#include <GenApi/Synch/Lock.h>

#include <gmock/gmock.h>

namespace support {

/// Bound to a thread.
class MockNode : public GenApi::INode, public GenApi::ISelector, public GenApi::IEnumeration {
public:
    using gcstring = GenICam::gcstring;
    MOCK_METHOD(GenApi::EAccessMode, GetAccessMode, (), (const, override));

    MOCK_METHOD(gcstring, GetName, (bool), (const, override));
    MOCK_METHOD(GenApi::ENameSpace, GetNameSpace, (), (const, override));
    MOCK_METHOD(GenApi::EVisibility, GetVisibility, (), (const, override));
    MOCK_METHOD(void, InvalidateNode, (), (override));
    MOCK_METHOD(bool, IsCachable, (), (const, override));
    MOCK_METHOD(GenApi::EYesNo, IsAccessModeCacheable, (), (const, override));
    MOCK_METHOD(GenApi::ECachingMode, GetCachingMode, (), (const, override));
    MOCK_METHOD(int64_t, GetPollingTime, (), (const, override));
    MOCK_METHOD(gcstring, GetToolTip, (), (const, override));
    MOCK_METHOD(gcstring, GetDescription, (), (const, override));
    MOCK_METHOD(gcstring, GetDisplayName, (), (const, override));
    MOCK_METHOD(gcstring, GetDeviceName, (), (const, override));
    MOCK_METHOD(void, GetChildren, (GenApi::NodeList_t&, GenApi::ELinkType), (const, override));
    MOCK_METHOD(void, GetParents, (GenApi::NodeList_t&), (const, override));
    MOCK_METHOD(GenApi::CallbackHandleType, RegisterCallback, (GenApi::CNodeCallback*), (override));
    MOCK_METHOD(bool, DeregisterCallback, (GenApi::CallbackHandleType), (override));
    MOCK_METHOD(GenApi::INodeMap*, GetNodeMap, (), (const, override));
    MOCK_METHOD(gcstring, GetEventID, (), (const, override));
    MOCK_METHOD(bool, IsStreamable, (), (const, override));
    MOCK_METHOD(void, GetPropertyNames, (GenICam::gcstring_vector&), (const, override));
    MOCK_METHOD(bool, GetProperty, (const gcstring&, gcstring&, gcstring&), (override));
    MOCK_METHOD(void, ImposeAccessMode, (GenApi::EAccessMode), (override));
    MOCK_METHOD(void, ImposeVisibility, (GenApi::EVisibility), (override));
    MOCK_METHOD(GenApi::INode*, GetAlias, (), (const, override));
    MOCK_METHOD(GenApi::INode*, GetCastAlias, (), (const, override));
    MOCK_METHOD(gcstring, GetDocuURL, (), (const, override));
    MOCK_METHOD(bool, IsDeprecated, (), (const, override));
    MOCK_METHOD(GenApi::EInterfaceType, GetPrincipalInterfaceType, (), (const, override));
    MOCK_METHOD(bool, IsFeature, (), (const, override));

    MOCK_METHOD(bool, IsSelector, (), (const, override));
    MOCK_METHOD(void, GetSelectedFeatures, (GenApi::FeatureList_t&), (const, override));
    MOCK_METHOD(void, GetSelectingFeatures, (GenApi::FeatureList_t&), (const, override));

    MOCK_METHOD(GenApi::INode*, GetNode, (), (override));
    MOCK_METHOD(gcstring, ToString, (bool, bool), (override));
    MOCK_METHOD(void, FromString, (const gcstring&, bool), (override));
    MOCK_METHOD(bool, IsValueCacheValid, (), (const, override));
    MOCK_METHOD(void, GetSymbolics, (GenApi::StringList_t&), (override));
    MOCK_METHOD(void, GetEntries, (GenApi::NodeList_t&), (override));
    MOCK_METHOD(GenApi::IEnumeration&, Assign, (const gcstring&));
    GenApi::IEnumeration& operator=(const gcstring& value) override { return Assign(value); }
    MOCK_METHOD(void, SetIntValue, (int64_t, bool), (override));
    MOCK_METHOD(gcstring, Value, ());
    gcstring operator*() override { return Value(); }
    MOCK_METHOD(int64_t, GetIntValue, (bool, bool), (override));
    MOCK_METHOD(GenApi::IEnumEntry*, GetEntryByName, (const gcstring&), (override));
    MOCK_METHOD(GenApi::IEnumEntry*, GetEntry, (int64_t), (override));
    MOCK_METHOD(GenApi::IEnumEntry*, GetCurrentEntry, (bool, bool), (override));
};

/// Bound to a thread.
class MockNodeMap : public GenApi::INodeMap {
public:
    using gcstring = GenICam::gcstring;
    MOCK_METHOD(void, GetNodes, (GenApi::NodeList_t&), (const, override));
    MOCK_METHOD(GenApi::INode*, GetNode, (const gcstring&), (const, override));
    MOCK_METHOD(void, InvalidateNodes, (), (const, override));
    MOCK_METHOD(bool, ConnectByName, (GenApi::IPort*, const gcstring&), (const));
    MOCK_METHOD(bool, ConnectDevice, (GenApi::IPort*), (const));
    bool Connect(GenApi::IPort* port, const gcstring& name) const override { return ConnectByName(port, name); }
    bool Connect(GenApi::IPort* port) const override { return ConnectDevice(port); }
    MOCK_METHOD(gcstring, GetDeviceName, (), (const, override));
    MOCK_METHOD(void, Poll, (int64_t), (override));
    MOCK_METHOD(GenApi::CLock&, GetLock, (), (const, override));
    MOCK_METHOD(uint64_t, GetNumNodes, (), (const, override));
};

} // namespace support
