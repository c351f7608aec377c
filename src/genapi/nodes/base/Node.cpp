#include "genapi/nodes/base/Node.h"

#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/host/Descent.h"
#include "genapi/nodes/text/Convert.h"

namespace genapi {

namespace {

constexpr const char* kGet = "GetValue";
constexpr const char* kSet = "SetValue";

} // namespace

Node::Node(const NodeSeed& seed)
    : m_pHost(seed.pHost), m_Name(seed.name), m_Index(seed.index), m_Type(seed.type), m_IsStandard(seed.isStandard) {}

Node::~Node() = default;

void Node::Bind(const BoundProperty& property) {
    const std::string_view value = property.record.value;
    switch (property.record.id) {
    case PropertyId::pIsImplemented:
        m_pIsImplemented = property.pTarget;
        break;
    case PropertyId::pIsAvailable:
        m_pIsAvailable = property.pTarget;
        break;
    case PropertyId::pIsLocked:
        m_pIsLocked = property.pTarget;
        break;
    case PropertyId::pError:
        m_HasErrorLinks = true;
        break;
    case PropertyId::ImposedAccessMode:
        m_ImposedByFile = ParseKeywordAs<GenApi::EAccessMode>(Keyword::AccessMode, value).value_or(GenApi::RW);
        break;
    case PropertyId::Visibility:
        m_Visibility = ParseKeywordAs<GenApi::EVisibility>(Keyword::Visibility, value).value_or(GenApi::Beginner);
        break;
    default:
        break;
    }
}

int64_t Node::ReadInteger(ReadFlags flags) {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective(kGet);
    if (flags.verify) RequireReadable(kGet);
    return DoReadInteger(flags);
}

double Node::ReadReal(ReadFlags flags) {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective(kGet);
    if (flags.verify) RequireReadable(kGet);
    return DoReadReal(flags);
}

Value Node::ReadNumber(ReadFlags flags, bool wantsReal) {
    const bool isReal = IsReal() || (wantsReal && m_Type == NodeType::Enumeration);
    return isReal ? Value::Real(ReadReal(flags)) : Value::Integer(ReadInteger(flags));
}

bool Node::ReadTruth() {
    return IsReal() ? ReadReal({}) != 0.0 : ReadInteger({}) != 0;
}

void Node::WriteInteger(int64_t value, bool verify) {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective(kSet);
    if (verify) RequireWritable(kSet);
    DoWriteInteger(value, verify);
}

void Node::WriteReal(double value, bool verify) {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective(kSet);
    if (verify) RequireWritable(kSet);
    DoWriteReal(value, verify);
}

int64_t Node::IntegerMin() {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective("GetMin");
    return DoIntegerMin();
}

int64_t Node::IntegerMax() {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective("GetMax");
    return DoIntegerMax();
}

int64_t Node::IntegerInc() {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective("GetInc");
    return DoIntegerInc();
}

double Node::RealMin() {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective("GetMin");
    return DoRealMin();
}

double Node::RealMax() {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective("GetMax");
    return DoRealMax();
}

bool Node::HasRealInc() {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective("HasInc");
    return DoHasRealInc();
}

double Node::RealInc() {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective("GetInc");
    return DoRealInc();
}

std::string Node::ReadText(ReadFlags flags) {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective(kGet);
    if (flags.verify) RequireReadable(kGet);
    return DoReadText(flags);
}

void Node::WriteText(std::string_view text, bool verify) {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective(kSet);
    if (verify) RequireWritable(kSet);
    DoWriteText(text, verify);
}

int64_t Node::MaxTextLength() {
    const Descent descent(*this, *m_pHost);
    ThrowIfDefective("GetMaxLength");
    return DoMaxTextLength();
}

int64_t Node::DoReadInteger(ReadFlags) {
    ThrowAccess(*this, kGet, "The node holds no number.");
}

void Node::DoWriteInteger(int64_t, bool) {
    ThrowAccess(*this, kSet, "The node takes no number.");
}

void Node::DoWriteReal(double value, bool verify) {
    DoWriteInteger(RoundToInteger(value), verify);
}

int64_t Node::DoIntegerMin() {
    return std::numeric_limits<int64_t>::min();
}

int64_t Node::DoIntegerMax() {
    return std::numeric_limits<int64_t>::max();
}

std::string Node::DoReadText(ReadFlags) {
    ThrowAccess(*this, kGet, "The node holds no text.");
}

void Node::DoWriteText(std::string_view, bool) {
    ThrowAccess(*this, kSet, "The node takes no text.");
}

int64_t Node::DoMaxTextLength() {
    ThrowAccess(*this, "GetMaxLength", "The node holds no text.");
}

} // namespace genapi
