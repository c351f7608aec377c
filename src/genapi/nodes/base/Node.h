#pragma once
// The base of all nodes.

#include "genapi/description/NodeTraits.h"
#include "genapi/formula/FormulaValue.h"
#include "genapi/nodes/access/AccessRule.h"
#include "genapi/nodes/base/Imposable.h"
#include "genapi/nodes/base/NodeDefect.h"
#include "genapi/nodes/base/NodeProperties.h"
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

/// Ties what a node is made of:
///
///   NodeProperties  what its description says
///   NodeDefect      what is wrong with that
///   AccessRule      what takes access away from it
///   Links           what follows from the nodes that it names
///   Denial          why an operation is denied
///   NodeHost        what it shares with all nodes of its map: lock, memories, callbacks
///
/// and shows it to two sides: to applications as INode, and to other nodes as a number or a text. There is one class
/// for both, because a cast of an application walks over each base that there is.
///
/// What an application calls takes the map's lock, but for what is constant once the map is finished: identity,
/// properties and defect. What nodes call among themselves expects the lock held, guards the depth, and throws what is
/// wrong with the node's description. thread-safe
class Node : virtual public GenApi::INode {
public:
    explicit Node(const NodeSeed& seed);
    virtual ~Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    // Identity and properties.
    NodeHost& Host() const { return *m_Seed.pHost; }
    NodeIndex Index() const { return m_Seed.index; }
    NodeType Type() const { return m_Seed.type; }
    std::string_view Name() const { return m_Seed.name; }
    const NodeProperties& Properties() const { return m_Properties; }
    /// As those of the properties.
    const PropertyRecord* FindRecord(PropertyId id) const { return m_Properties.Find(id); }
    std::string_view PropertyText(PropertyId id) const { return m_Properties.Text(id); }
    /// Null when there is none.
    Node* LinkedNode(PropertyId id) const { return Host().NodeAt(m_Properties.Target(id)); }

    // Finalising, by the map.
    void SetProperties(const PropertySpan& properties) { m_Properties = NodeProperties(properties); }
    void MarkAsFeature(bool isFeature) { m_IsFeature = isFeature; }
    void MarkAsDefective(NodeDefect::Kind kind, std::string text) { m_Defect.Mark(kind, std::move(text)); }
    /// A property of a form that its rule refuses does not come here.
    virtual void Bind(const BoundProperty& property);
    /// What the description ought to have given the node and did not; empty when it is complete.
    virtual std::string_view Missing() const { return {}; }

    bool IsDefective() const { return static_cast<bool>(m_Defect); }
    /// Empty when there is none.
    std::string_view Defect() const { return m_Defect.Text(); }
    void ThrowIfDefective(const char* operation) const {
        if (m_Defect) m_Defect.Throw(*this, operation);
    }

    // Access, lock held. What is computed passes on what predicates and ports throw.
    GenApi::EAccessMode Access();
    /// What the nodes leave that it reads and writes.
    virtual GenApi::EAccessMode TargetAccess() { return GenApi::RW; }
    const AccessRule& Rule() const {
        Host().Lock().AssertHeld();
        return m_Rule;
    }
    /// Throw in the name of the operation, as ThrowDenied.
    void RequireReadable(const char* operation);
    void RequireWritable(const char* operation);

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

    // What links lead to, lock held.
    /// Null for all but registers.
    virtual const GenApi::ECachingMode* OwnCachingMode() const { return nullptr; }
    virtual bool IsOwnCacheValid() { return true; }
    /// What is wrong with the node's formulas, compiling them if need be; empty when nothing is.
    virtual std::string CompileError() { return {}; }
    /// Whether the node reads the value that it knows under this name; formulas need not mention all of theirs.
    virtual bool MindsVariable(std::string_view) { return false; }
    /// The node that gives the value at present; null when there is none or it cannot be told.
    virtual Node* ValueTarget() { return LinkedNode(PropertyId::pValue); }
    /// Null for all but registers.
    virtual RegisterNode* AsRegister() { return nullptr; }
    /// It names nodes that report errors of the device after a write.
    bool HasErrorLinks() const { return m_HasErrorLinks; }

    // GenApi::IBase
    GenApi::EAccessMode GetAccessMode() const override;
    // GenApi::INode
    GenICam::gcstring GetName(bool FullQualified = false) const override;
    GenApi::ENameSpace GetNameSpace() const override;
    GenICam::gcstring GetToolTip() const override;
    GenICam::gcstring GetDescription() const override;
    GenICam::gcstring GetDisplayName() const override;
    GenICam::gcstring GetDeviceName() const override;
    GenApi::INodeMap* GetNodeMap() const override;
    GenICam::gcstring GetEventID() const override;
    bool IsStreamable() const override;
    void GetPropertyNames(GenICam::gcstring_vector& PropertyNames) const override;
    bool GetProperty(const GenICam::gcstring& PropertyName, GenICam::gcstring& ValueStr,
                     GenICam::gcstring& AttributeStr) override;
    GenApi::INode* GetAlias() const override;
    GenApi::INode* GetCastAlias() const override;
    GenICam::gcstring GetDocuURL() const override;
    bool IsDeprecated() const override;
    GenApi::EInterfaceType GetPrincipalInterfaceType() const override { return TraitsOf(Type()).face; }
    bool IsFeature() const override { return m_IsFeature; }
    GenApi::EVisibility GetVisibility() const override;
    void InvalidateNode() override;
    bool IsCachable() const override;
    GenApi::EYesNo IsAccessModeCacheable() const override;
    GenApi::ECachingMode GetCachingMode() const override;
    int64_t GetPollingTime() const override;
    void GetChildren(GenApi::NodeList_t& Children, GenApi::ELinkType LinkType) const override;
    void GetParents(GenApi::NodeList_t& Parents) const override;
    GenApi::CallbackHandleType RegisterCallback(GenApi::CNodeCallback* pCallback) override;
    bool DeregisterCallback(GenApi::CallbackHandleType hCallback) override;
    void ImposeAccessMode(GenApi::EAccessMode ImposedAccessMode) override;
    void ImposeVisibility(GenApi::EVisibility ImposedVisibility) override;

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

    const NodeSeed m_Seed;
    NodeProperties m_Properties;
    NodeDefect m_Defect;
    AccessRule m_Rule TAVIX_GUARDED_BY(m_Seed.pHost->Lock());
    Imposable<GenApi::EVisibility> m_Visibility TAVIX_GUARDED_BY(m_Seed.pHost->Lock()){GenApi::Beginner};
    bool m_IsFeature = false;
    bool m_HasErrorLinks = false; ///< pError
};

} // namespace genapi
