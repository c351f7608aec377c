#pragma once
// Node maps that are built in code.

#include <GenApi/Export.h>
#include <GenApi/IBoolean.h>
#include <GenApi/ICategory.h>
#include <GenApi/ICommand.h>
#include <GenApi/IDestroy.h>
#include <GenApi/IDeviceInfo.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IRegister.h>
#include <GenApi/IString.h>

#include <memory>

namespace genapi {
class Map;
class Node;
} // namespace genapi

namespace GenApi {

class CNodeMap;

/// A handle of a node of a CNodeMap. It is empty until CNodeMap::RegisterNode fills it; the map owns the node behind
/// it. Names and values of properties are those of the elements of a description file. Repeated calls append for
/// properties that may occur several times (pFeature, pEnumEntry, pInvalidator, pSelected, pVariable, pDependent,
/// pValueCopy, pError, Address, pAddress, pIndex, Constant, Expression, ...) and replace otherwise. bound to a thread
class TAVIX_GENAPI_API CMapNode {
public:
    /// An unknown property or a value of the wrong form: PropertyException. After FinalConstruct or on an empty handle:
    /// LogicalErrorException.
    void SetProperty(const GenICam::gcstring& PropertyName, const GenICam::gcstring& Value);
    /// The attribute is the variable's name of pVariable, Constant and Expression, the offset of pIndex, the index of
    /// ValueIndexed and pValueIndexed. The offset of a pIndex may be a number or the name of a node.
    void SetProperty(const GenICam::gcstring& PropertyName, const GenICam::gcstring& Value,
                     const GenICam::gcstring& Attribute);
    /// A link.
    void SetProperty(const GenICam::gcstring& PropertyName, const CMapNode& Target);
    void SetProperty(const GenICam::gcstring& PropertyName, const CMapNode& Target, const GenICam::gcstring& Attribute);
    /// No property may be set afterwards. Links are resolved by the map's FinalConstruct.
    void FinalConstruct();

    CMapNode() = default;
    virtual ~CMapNode() = default;
    CMapNode(const CMapNode&) = delete;
    CMapNode& operator=(const CMapNode&) = delete;

    bool IsRegistered() const { return m_pNode != nullptr; }
    /// Null on an empty handle.
    INode* GetNode() const;

protected:
    /// False when the node does not offer the interface of the handle.
    virtual bool Take(INode* pNode) = 0;
    [[noreturn]] static void ThrowEmpty();

private:
    friend class CNodeMap;
    genapi::Map& Registered() const;

    genapi::Map* m_pMap = nullptr;
    genapi::Node* m_pNode = nullptr;
};

/// A handle with the value interface of its type. Using it through -> or * before it is registered throws
/// LogicalErrorException. bound to a thread
template<class Interface>
class CTypedMapNode : public CMapNode {
public:
    Interface* operator->() const { return Get(); }
    Interface& operator*() const { return *Get(); }
    Interface* Get() const {
        if (!m_pInterface) ThrowEmpty();
        return m_pInterface;
    }

protected:
    bool Take(INode* pNode) override {
        m_pInterface = dynamic_cast<Interface*>(pNode);
        return m_pInterface != nullptr;
    }

private:
    Interface* m_pInterface = nullptr;
};

/// One class a node type; the type name given to RegisterNode must fit.
class TAVIX_GENAPI_API CIntegerNode : public CTypedMapNode<IInteger> {};
class TAVIX_GENAPI_API CIntRegNode : public CTypedMapNode<IInteger> {};
class TAVIX_GENAPI_API CMaskedIntRegNode : public CTypedMapNode<IInteger> {};
class TAVIX_GENAPI_API CIntSwissKnifeNode : public CTypedMapNode<IInteger> {};
class TAVIX_GENAPI_API CIntConverterNode : public CTypedMapNode<IInteger> {};
class TAVIX_GENAPI_API CFloatNode : public CTypedMapNode<IFloat> {};
class TAVIX_GENAPI_API CFloatRegNode : public CTypedMapNode<IFloat> {};
class TAVIX_GENAPI_API CSwissKnifeNode : public CTypedMapNode<IFloat> {};
class TAVIX_GENAPI_API CConverterNode : public CTypedMapNode<IFloat> {};
class TAVIX_GENAPI_API CBooleanNode : public CTypedMapNode<IBoolean> {};
class TAVIX_GENAPI_API CCommandNode : public CTypedMapNode<ICommand> {};
class TAVIX_GENAPI_API CEnumerationNode : public CTypedMapNode<IEnumeration> {};
class TAVIX_GENAPI_API CEnumEntryNode : public CTypedMapNode<IEnumEntry> {};
class TAVIX_GENAPI_API CStringNode : public CTypedMapNode<IString> {};
class TAVIX_GENAPI_API CStringRegNode : public CTypedMapNode<IString> {};
class TAVIX_GENAPI_API CRegisterNode : public CTypedMapNode<IRegister> {};
class TAVIX_GENAPI_API CCategoryNode : public CTypedMapNode<ICategory> {};
class TAVIX_GENAPI_API CPortNode : public CTypedMapNode<IPort> {};
class TAVIX_GENAPI_API CPlainNode : public CTypedMapNode<IValue> {};

/// A node map whose nodes are registered and described by calls:
///
///     class Params : public CNodeMap {
///         CIntegerNode MaxNumBuffer;
///         CIntSwissKnifeNode StatusIsLocked;
///         ...
///         Params(const gcstring& deviceName) : CNodeMap(deviceName) {
///             SetProperty("ModelName", "Params");
///             RegisterNode(MaxNumBuffer, "Integer", "MaxNumBuffer", "Custom");
///             MaxNumBuffer.SetProperty("Value", "0x10");
///             MaxNumBuffer.SetProperty("pIsLocked", StatusIsLocked); // or "StatusIsLocked"
///             ...
///             FinalConstruct();
///         }
///     };
///
/// thread-safe after FinalConstruct, bound to a thread before
class TAVIX_GENAPI_API CNodeMap : virtual public INodeMap, public IDeviceInfo, public IDestroy {
public:
    explicit CNodeMap(const GenICam::gcstring& DeviceName = "Device");
    virtual ~CNodeMap();
    CNodeMap(const CNodeMap&) = delete;
    CNodeMap& operator=(const CNodeMap&) = delete;

    /// A property of the map itself: an attribute of a description's root element such as "ModelName" or
    /// "SchemaMajorVersion". PropertyException when unknown or malformed.
    void SetProperty(const GenICam::gcstring& PropertyName, const GenICam::gcstring& Value);
    /// Makes the node and fills the handle. TypeName is the element's name in a description file ("IntReg"), NameSpace
    /// "Custom" or "Standard". The order of registration is that of GetNodes. RuntimeException for a name that is taken
    /// or an unknown type, DynamicCastException when the type does not fit the handle's class.
    void RegisterNode(CMapNode& Node, const GenICam::gcstring& TypeName, const GenICam::gcstring& NodeName,
                      const GenICam::gcstring& NameSpace = "Custom");
    /// Resolves all links, builds what nodes depend on, and marks the features below the category RootName. Finishes
    /// nodes whose FinalConstruct was not called. RuntimeException for a link without target. Touches no port.
    void FinalConstruct(const GenICam::gcstring& RootName = "Root");

    void GetNodes(NodeList_t& Nodes) const override;
    INode* GetNode(const GenICam::gcstring& Name) const override;
    void InvalidateNodes() const override;
    bool Connect(IPort* pPort, const GenICam::gcstring& PortName) const override;
    bool Connect(IPort* pPort) const override;
    GenICam::gcstring GetDeviceName() const override;
    void Poll(int64_t ElapsedTime) override;
    CLock& GetLock() const override;
    uint64_t GetNumNodes() const override;

    GenICam::gcstring GetModelName() override;
    GenICam::gcstring GetVendorName() override;
    GenICam::gcstring GetToolTip() override;
    GenICam::gcstring GetStandardNameSpace() override;
    void GetGenApiVersion(Version_t& Version, uint16_t& Build) override;
    void GetSchemaVersion(Version_t& Version) override;
    void GetDeviceVersion(Version_t& Version) override;
    GenICam::gcstring GetProductGuid() override;
    GenICam::gcstring GetVersionGuid() override;

    void Destroy() override;

protected:
    genapi::Map& GetMap() const { return *m_pMap; }

private:
    std::unique_ptr<genapi::Map> m_pMap;
};

} // namespace GenApi
