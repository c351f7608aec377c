#pragma once
// The base of all nodes: identity, texts, access, and the faces that nodes show one another.

#include "genapi/description/Description.h"
#include "genapi/description/NodeTraits.h"
#include "genapi/formula/FormulaValue.h"
#include "genapi/nodes/host/NodeHost.h"

#include <GenApi/INode.h>

#include <string>
#include <string_view>

namespace genapi {

class RegisterNode;

/// How a value is to be read.
struct ReadFlags {
    bool verify = false;
    bool ignoreCache = false;
};

/// Where a node comes from. The texts are borrowed from the map.
struct NodeSeed {
    NodeHost* pHost = nullptr;
    NodeIndex index = 0;
    NodeType type = NodeType::Node;
    bool isStandard = false;
    std::string_view name;
};

/// A link or scalar to be taken over by the node.
struct BoundProperty {
    const PropertyRecord& record;
    Node* pTarget = nullptr;       ///< of a link
    Node* pOffsetTarget = nullptr; ///< of a pIndex with pOffset
};

/// What an application calls takes the map's lock; what nodes call among themselves expects it held, guards its depth,
/// and throws what is wrong with the node's description. The links are constant after Bind. thread-safe
class Node : virtual public GenApi::INode {
public:
    explicit Node(const NodeSeed& seed);
    virtual ~Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    // Identity.
    NodeHost& Host() const { return *m_pHost; }
    NodeIndex Index() const { return m_Index; }
    NodeType Type() const { return m_Type; }
    std::string_view Name() const { return m_Name; }
    const PropertySpan& Properties() const { return m_Properties; }

    /// Finalising, by the map. A property of a form that its rule refuses does not come here.
    void SetProperties(const PropertySpan& properties) { m_Properties = properties; }
    virtual void Bind(const BoundProperty& property);
    void MarkAsFeature(bool isFeature) { m_IsFeature = isFeature; }
    /// The node keeps its place in the map and throws the text of its first defect when it is used: PropertyException
    /// for a property, RuntimeException for a link.
    enum class DefectKind : uint8_t { Property, Link };
    void MarkAsDefective(DefectKind kind, std::string text);
    bool IsDefective() const { return m_pDefect != nullptr; }
    void ThrowIfDefective(const char* operation) const {
        if (m_pDefect) ThrowDefect(operation);
    }
    std::string_view Defect() const { return m_pDefect ? std::string_view(m_pDefect->text) : std::string_view(); }

    /// Access, lock held.
    GenApi::EAccessMode Access();
    /// The three parts of it, for those who explain. They pass on what predicates and ports throw.
    GenApi::EAccessMode OwnAccess();
    virtual GenApi::EAccessMode TargetAccess() { return GenApi::RW; }
    GenApi::EAccessMode ImposedAccess() const;
    Node* ImplementedBy() const { return m_pIsImplemented; }
    Node* AvailableBy() const { return m_pIsAvailable; }
    Node* LockedBy() const { return m_pIsLocked; }

    /// Numbers, lock held. A node that holds none throws AccessException.
    int64_t ReadInteger(ReadFlags flags);
    double ReadReal(ReadFlags flags);
    /// In the node's own kind; an enumeration gives its numeric value where reals are wanted.
    Value ReadNumber(ReadFlags flags, bool wantsReal);
    bool ReadTruth();
    void WriteInteger(int64_t value, bool verify);
    void WriteReal(double value, bool verify);
    int64_t IntegerMin();
    int64_t IntegerMax();
    int64_t IntegerInc();
    double RealMin();
    double RealMax();
    bool HasRealInc();
    double RealInc();
    /// Whether ReadNumber gives reals.
    virtual bool IsReal() const { return false; }

    /// Texts, lock held.
    std::string ReadText(ReadFlags flags);
    void WriteText(std::string_view text, bool verify);
    int64_t MaxTextLength();

    /// What presentation inherits along pValue.
    virtual GenApi::ERepresentation Representation() { return GenApi::PureNumber; }
    virtual std::string_view Unit() { return {}; }
    virtual GenApi::EDisplayNotation Notation() { return GenApi::fnAutomatic; }
    virtual int64_t Precision() { return 6; }

    /// Reads the nodes that report errors of the device; throws RuntimeException with what they say.
    void CheckErrorNodes();
    /// Throw in the name of the operation: what is wrong with the description when that is why, of the node itself or
    /// of one that it needs; else AccessException.
    void RequireReadable(const char* operation);
    void RequireWritable(const char* operation);

    /// The first property of that name; null when there is none.
    const PropertyRecord* FindRecord(PropertyId id) const;
    std::string_view PropertyText(PropertyId id) const;
    Node* LinkedNode(PropertyId id) const;

    // GenApi::IBase
    GenApi::EAccessMode GetAccessMode() const override;
    // GenApi::INode
    GenICam::gcstring GetName(bool FullQualified = false) const override;
    GenApi::ENameSpace GetNameSpace() const override;
    GenApi::EVisibility GetVisibility() const override;
    void InvalidateNode() override;
    bool IsCachable() const override;
    GenApi::EYesNo IsAccessModeCacheable() const override;
    GenApi::ECachingMode GetCachingMode() const override;
    int64_t GetPollingTime() const override;
    GenICam::gcstring GetToolTip() const override;
    GenICam::gcstring GetDescription() const override;
    GenICam::gcstring GetDisplayName() const override;
    GenICam::gcstring GetDeviceName() const override;
    void GetChildren(GenApi::NodeList_t& Children, GenApi::ELinkType LinkType) const override;
    void GetParents(GenApi::NodeList_t& Parents) const override;
    GenApi::CallbackHandleType RegisterCallback(GenApi::CNodeCallback* pCallback) override;
    bool DeregisterCallback(GenApi::CallbackHandleType hCallback) override;
    GenApi::INodeMap* GetNodeMap() const override;
    GenICam::gcstring GetEventID() const override;
    bool IsStreamable() const override;
    void GetPropertyNames(GenICam::gcstring_vector& PropertyNames) const override;
    bool GetProperty(const GenICam::gcstring& PropertyName, GenICam::gcstring& ValueStr,
                     GenICam::gcstring& AttributeStr) override;
    void ImposeAccessMode(GenApi::EAccessMode ImposedAccessMode) override;
    void ImposeVisibility(GenApi::EVisibility ImposedVisibility) override;
    GenApi::INode* GetAlias() const override;
    GenApi::INode* GetCastAlias() const override;
    GenICam::gcstring GetDocuURL() const override;
    bool IsDeprecated() const override;
    GenApi::EInterfaceType GetPrincipalInterfaceType() const override { return TraitsOf(m_Type).face; }
    bool IsFeature() const override { return m_IsFeature; }

    /// Lock held. Registers answer for themselves, others for what they read.
    GenApi::ECachingMode CachingMode() const;
    virtual const GenApi::ECachingMode* OwnCachingMode() const { return nullptr; }
    virtual bool IsOwnCacheValid() { return true; }
    /// What is wrong with the node's formulas, compiling them if need be; empty when nothing is. Lock held.
    virtual std::string CompileError() { return {}; }
    /// Whether the node reads the value that it knows under this name; formulas need not mention all of theirs. Lock
    /// held.
    virtual bool MindsVariable(std::string_view) { return false; }
    /// The node that gives the value at present; null when there is none or it cannot be told.
    virtual Node* ValueTarget() { return LinkedNode(PropertyId::pValue); }
    /// Null for all but registers.
    virtual RegisterNode* AsRegister() { return nullptr; }
    /// Whether a plain read would be served without the port.
    bool IsCacheValid();
    /// What the description ought to have given the node and did not; empty when it is complete.
    virtual std::string_view Missing() const { return {}; }

protected:
    /// Kinds implement these; they are called with the depth guarded and the description sound.
    virtual int64_t DoReadInteger(ReadFlags flags);
    virtual double DoReadReal(ReadFlags flags) { return static_cast<double>(DoReadInteger(flags)); }
    virtual void DoWriteInteger(int64_t value, bool verify);
    virtual void DoWriteReal(double value, bool verify);
    virtual int64_t DoIntegerMin();
    virtual int64_t DoIntegerMax();
    virtual int64_t DoIntegerInc() { return 1; }
    virtual double DoRealMin() { return static_cast<double>(DoIntegerMin()); }
    virtual double DoRealMax() { return static_cast<double>(DoIntegerMax()); }
    virtual bool DoHasRealInc() { return true; }
    virtual double DoRealInc() { return static_cast<double>(DoIntegerInc()); }
    virtual std::string DoReadText(ReadFlags flags);
    virtual void DoWriteText(std::string_view text, bool verify);
    virtual int64_t DoMaxTextLength();

private:
    GenApi::EAccessMode ComputeAccess(AccessMemory& modes);
    [[noreturn]] void ThrowDefect(const char* operation) const;
    enum class Permission : uint8_t { Read, Write };
    static bool Grants(GenApi::EAccessMode mode, Permission permission);
    static bool Hinders(Node& target, Permission permission);
    [[noreturn]] void ThrowDenied(const char* operation, const char* text, Permission permission);
    Node* FindFaulty(Permission permission);
    std::vector<Node*> AccessTargets(Permission permission);

    NodeHost* m_pHost;
    std::string_view m_Name;
    PropertySpan m_Properties;
    Node* m_pIsImplemented = nullptr;
    Node* m_pIsAvailable = nullptr;
    Node* m_pIsLocked = nullptr;
    struct NodeDefect {
        DefectKind kind;
        std::string text;
    };
    std::unique_ptr<NodeDefect> m_pDefect;
    NodeIndex m_Index;
    NodeType m_Type;
    bool m_IsStandard;
    bool m_IsFeature = false;
    bool m_HasErrorLinks = false;                     ///< pError
    GenApi::EAccessMode m_ImposedByFile = GenApi::RW; ///< constant after Bind
    GenApi::EAccessMode m_ImposedByCode TAVIX_GUARDED_BY(m_pHost->Lock()) = GenApi::RW;
    GenApi::EVisibility m_Visibility = GenApi::Beginner;
    GenApi::EVisibility m_ImposedVisibility TAVIX_GUARDED_BY(m_pHost->Lock()) = GenApi::Beginner;
};

} // namespace genapi
