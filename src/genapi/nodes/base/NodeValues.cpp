// What nodes ask of one another. Each question is a step of an operation.
#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/host/Descent.h"
#include "genapi/nodes/text/RoundToInteger.h"

#include <limits>

namespace genapi {

namespace {

constexpr const char* kGet = "GetValue";
constexpr const char* kSet = "SetValue";

} // namespace

int64_t Node::ReadInteger(ReadFlags flags) {
    const Descent descent(*this, Host());
    ThrowIfDefective(kGet);
    if (flags.verify) RequireReadable(kGet);
    return DoReadInteger(flags);
}

double Node::ReadReal(ReadFlags flags) {
    const Descent descent(*this, Host());
    ThrowIfDefective(kGet);
    if (flags.verify) RequireReadable(kGet);
    return DoReadReal(flags);
}

Value Node::ReadNumber(ReadFlags flags, bool wantsReal) {
    const bool isReal = IsReal() || (wantsReal && Type() == NodeType::Enumeration);
    return isReal ? Value::Real(ReadReal(flags)) : Value::Integer(ReadInteger(flags));
}

bool Node::ReadTruth() {
    return IsReal() ? ReadReal({}) != 0.0 : ReadInteger({}) != 0;
}

void Node::WriteInteger(int64_t value, bool verify) {
    const Descent descent(*this, Host());
    ThrowIfDefective(kSet);
    if (verify) RequireWritable(kSet);
    DoWriteInteger(value, verify);
}

void Node::WriteReal(double value, bool verify) {
    const Descent descent(*this, Host());
    ThrowIfDefective(kSet);
    if (verify) RequireWritable(kSet);
    DoWriteReal(value, verify);
}

int64_t Node::IntegerMin() {
    const Descent descent(*this, Host());
    ThrowIfDefective("GetMin");
    return DoIntegerMin();
}

int64_t Node::IntegerMax() {
    const Descent descent(*this, Host());
    ThrowIfDefective("GetMax");
    return DoIntegerMax();
}

int64_t Node::IntegerInc() {
    const Descent descent(*this, Host());
    ThrowIfDefective("GetInc");
    return DoIntegerInc();
}

double Node::RealMin() {
    const Descent descent(*this, Host());
    ThrowIfDefective("GetMin");
    return DoRealMin();
}

double Node::RealMax() {
    const Descent descent(*this, Host());
    ThrowIfDefective("GetMax");
    return DoRealMax();
}

bool Node::HasRealInc() {
    const Descent descent(*this, Host());
    ThrowIfDefective("HasInc");
    return DoHasRealInc();
}

double Node::RealInc() {
    const Descent descent(*this, Host());
    ThrowIfDefective("GetInc");
    return DoRealInc();
}

std::string Node::ReadText(ReadFlags flags) {
    const Descent descent(*this, Host());
    ThrowIfDefective(kGet);
    if (flags.verify) RequireReadable(kGet);
    return DoReadText(flags);
}

void Node::WriteText(std::string_view text, bool verify) {
    const Descent descent(*this, Host());
    ThrowIfDefective(kSet);
    if (verify) RequireWritable(kSet);
    DoWriteText(text, verify);
}

int64_t Node::MaxTextLength() {
    const Descent descent(*this, Host());
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
