#include "genapi/description/Shown.h"
#include "genapi/nodes/base/Node.h"

#include <Base/GCException.h>
#include <GenApi/EnumClasses.h>
#include <GenApi/Why.h>

namespace genapi {

namespace {

std::string Quote(const Node& node) {
    return "'" + std::string(node.Name()) + "'";
}

std::string ModeText(GenApi::EAccessMode mode) {
    return GenApi::EAccessModeClass::ToString(mode).str();
}

std::string WithValue(Node& node) {
    return Quote(node) + " is " + node.ReadText({});
}

// What somebody sees in a list of features. What is computed cannot be set, so it is no answer to a person.
bool IsForPeople(const Node& node) {
    const bool isComputed = node.Type() == NodeType::IntSwissKnife || node.Type() == NodeType::SwissKnife;
    return node.IsFeature() && !isComputed && node.GetVisibility() != GenApi::Invisible;
}

// The nodes of all kinds that a value is made from, for people or not; beyond those for people it is not looked.
std::vector<bool> SourcesOf(Node& start) {
    std::vector<bool> isMet(start.Host().Nodes().size(), false);
    isMet[start.Index()] = true;
    for (std::vector<Node*> left{&start}; !left.empty();) {
        Node& node = *left.back();
        left.pop_back();
        for (const PropertyRecord& record : node.Properties()) {
            const bool isSource = record.id == PropertyId::pValue || record.id == PropertyId::pVariable ||
                                  record.id == PropertyId::pIndex;
            Node* const pSource = isSource ? node.Host().NodeAt(record.target) : nullptr;
            if (!pSource || isMet[pSource->Index()]) continue;
            isMet[pSource->Index()] = true;
            if (!IsForPeople(*pSource)) left.push_back(pSource);
        }
    }
    return isMet;
}

// " ('ExposureAuto' is Continuous)": the features that an internal node's value comes from, or that stand upon it.
std::string Causes(Node& predicate) {
    constexpr int kMost = 3;
    if (IsForPeople(predicate)) return {};
    const std::vector<bool> isSource = SourcesOf(predicate);
    std::string text;
    int count = 0;
    for (Node* const pNode : predicate.Host().Nodes()) {
        if (!pNode || !IsForPeople(*pNode) || !GenApi::IsReadable(pNode->Access())) continue;
        Node* const pValue = pNode->LinkedNode(PropertyId::pValue);
        const bool isCause = isSource[pNode->Index()] || (pValue && isSource[pValue->Index()]);
        if (isCause && count++ < kMost) text += (text.empty() ? " (" : ", ") + WithValue(*pNode);
    }
    return text.empty() ? text : text + ")";
}

// A predicate, its present value, and what a person can change to change that.
std::string Because(const char* what, Node& predicate) {
    return std::string(what) + " because " + WithValue(predicate) + Causes(predicate);
}

// One step of an explanation: a reason, or the node that the reason has to be looked for at. bound to a thread
struct Step {
    std::string text;
    Node* pNext = nullptr;
    bool isForGood = false; // no setting makes it writable
};

Step ExplainRegister(Node& node) {
    Node* const pPort = node.LinkedNode(PropertyId::pPort);
    if (pPort && pPort->Access() != GenApi::RW) return {"it lies behind the port " + Quote(*pPort), pPort};
    const std::string_view mode = node.PropertyText(PropertyId::AccessMode);
    const bool isReadOnly = mode.empty() || mode == "RO";
    return {"the register is " + (isReadOnly ? std::string("RO") : std::string(mode)), nullptr, isReadOnly};
}

Step ExplainLinks(Node& node) {
    Node* const pSelected = node.LinkedNode(PropertyId::pIndex) ? node.ValueTarget() : nullptr;
    for (const PropertyRecord& record : node.Properties()) {
        const bool isValue = record.id == PropertyId::pValue || record.id == PropertyId::pValueCopy;
        const bool isVariable = record.id == PropertyId::pVariable && node.MindsVariable(record.attribute);
        const bool isRead = isVariable || record.id == PropertyId::pIndex;
        Node* const pTarget = isValue || isRead ? node.Host().NodeAt(record.target) : nullptr;
        if (!pTarget) continue;
        const GenApi::EAccessMode mode = pTarget->Access();
        if (isValue && mode != GenApi::RW) return {"its value is that of " + Quote(*pTarget), pTarget};
        if (isRead && !GenApi::IsReadable(mode)) return {"it needs " + Quote(*pTarget), pTarget};
    }
    if (pSelected) return {"its value is at present that of " + Quote(*pSelected), pSelected};
    return {};
}

Step ExplainTarget(Node& node) {
    if (node.Type() == NodeType::Port) {
        const GenApi::EAccessMode mode = node.TargetAccess();
        return {mode == GenApi::NI ? "nothing is connected to the port"
                                   : "what is connected to the port is " + ModeText(mode),
                nullptr};
    }
    if (node.AsRegister()) return ExplainRegister(node);
    const std::string error = node.CompileError();
    if (!error.empty()) return {"its formula is faulty: " + error, nullptr};
    Step step = ExplainLinks(node);
    if (!step.text.empty()) return step;
    if (node.Type() == NodeType::IntSwissKnife || node.Type() == NodeType::SwissKnife) {
        return {"it is computed by a formula", nullptr, /*isForGood=*/true};
    }
    if (node.Type() == NodeType::Category) return {"it is a group of features", nullptr};
    return {"the node that it selects at present is " + ModeText(node.TargetAccess()), nullptr};
}

Step ExplainNode(Node& node) {
    if (node.IsDefective()) return {std::string(node.Defect()), nullptr};
    const GenApi::EAccessMode target = node.TargetAccess();
    Node* const pImplemented = node.Rule().ImplementedBy();
    const bool isMissing = target == GenApi::NA && node.Access() == GenApi::NI;
    if (!GenApi::IsAvailable(target) && !isMissing) return ExplainTarget(node);
    if (pImplemented && !pImplemented->ReadTruth()) return {Because("not implemented", *pImplemented), nullptr};
    Node* const pAvailable = node.Rule().AvailableBy();
    if (pAvailable && !pAvailable->ReadTruth()) return {Because("not available", *pAvailable), nullptr};
    Node* const pLocked = node.Rule().LockedBy();
    const bool isLocked = pLocked && pLocked->ReadTruth();
    if (isLocked && GenApi::IsWritable(target)) return {Because("locked", *pLocked), nullptr};
    const GenApi::EAccessMode imposed = node.Rule().Imposed();
    if (GenApi::Combine(imposed, target) != target)
        return {"restricted to " + ModeText(imposed), nullptr, imposed == GenApi::RO};
    return ExplainTarget(node);
}

// Follows the reasons down, each node once; the length of a chain is bounded as that of reading is.
Step Explain(Node& start) {
    const GenApi::EAccessMode mode = start.Access();
    if (mode == GenApi::RW) return {};
    Step whole{Quote(start) + " is " + ModeText(mode)};
    std::vector<bool> isMet(start.Host().Nodes().size(), false);
    for (Node* pNode = &start; pNode && !isMet[pNode->Index()];) {
        isMet[pNode->Index()] = true;
        const Step step = ExplainNode(*pNode);
        whole.text += ": " + step.text;
        whole.isForGood = step.isForGood;
        pNode = step.pNext;
    }
    return whole;
}

} // namespace

} // namespace genapi

namespace GenApi {

GenICam::gcstring ExplainAccess(INode* pNode) {
    if (!pNode) return "there is no node";
    genapi::Node* const pOwn = dynamic_cast<genapi::Node*>(pNode);
    try {
        if (pOwn) {
            const AutoLock lock(pOwn->Host().Lock());
            return genapi::Shown(genapi::Explain(*pOwn).text);
        }
        // A wrapper of another engine: only its mode can be told.
        const EAccessMode mode = pNode->GetAccessMode();
        return mode == RW ? GenICam::gcstring() : "'" + pNode->GetName() + "' is " + EAccessModeClass::ToString(mode);
    } catch (const GenICam::GenericException& exception) {
        return "'" + pNode->GetName() + "' cannot be asked: " + exception.GetDescription();
    }
}

bool IsForReadingOnly(INode* pNode) {
    genapi::Node* const pOwn = dynamic_cast<genapi::Node*>(pNode);
    if (!pOwn) return false;
    try {
        const AutoLock lock(pOwn->Host().Lock());
        return pOwn->Access() == RO && genapi::Explain(*pOwn).isForGood;
    } catch (const GenICam::GenericException&) {
        return false; // the fault is told by whoever reads it
    }
}

} // namespace GenApi
