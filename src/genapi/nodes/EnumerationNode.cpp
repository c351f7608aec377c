#include "genapi/nodes/EnumerationNode.h"

#include "genapi/nodes/base/Throw.h"

#include <algorithm>
#include <cmath>

namespace genapi {

void EnumerationNode::Bind(const BoundProperty& property) {
    if (property.record.id != PropertyId::pEnumEntry) {
        m_Source.Bind(property);
        return ValueNode::Bind(property);
    }
    EnumEntryNode* const pEntry = dynamic_cast<EnumEntryNode*>(property.pTarget);
    if (!pEntry) return;
    m_Entries.push_back(pEntry);
    if (pEntry->FindRecord(PropertyId::NumericValue)) m_HasNumericValues = true;
    const PropertyRecord* const pClears = pEntry->FindRecord(PropertyId::IsSelfClearing);
    if (pClears && ParseYesNo(pClears->value).value_or(false)) m_HasSelfClearing = true;
}

EnumEntryNode* EnumerationNode::FindEntry(std::string_view symbolic) const {
    for (EnumEntryNode* const pEntry : m_Entries) {
        if (pEntry->Symbolic() == symbolic) return pEntry;
    }
    return nullptr;
}

EnumEntryNode* EnumerationNode::FirstEntry(int64_t number) const {
    for (EnumEntryNode* const pEntry : m_Entries) {
        if (pEntry->HasNumber(number)) return pEntry;
    }
    return nullptr;
}

EnumEntryNode* EnumerationNode::FindEntry(int64_t number) {
    EnumEntryNode* const pFirst = FirstEntry(number);
    const auto isEqual = [number](EnumEntryNode* pEntry) { return pEntry->HasNumber(number); };
    const bool isAlone = std::count_if(m_Entries.begin(), m_Entries.end(), isEqual) <= 1;
    if (isAlone || m_IsChoosing) return pFirst;
    struct Guard {
        bool& flag;
        ~Guard() { flag = false; }
    } guard{m_IsChoosing};
    m_IsChoosing = true;
    for (EnumEntryNode* const pEntry : m_Entries) {
        if (isEqual(pEntry) && GenApi::IsAvailable(pEntry->Access())) return pEntry;
    }
    return pFirst;
}

int64_t EnumerationNode::ReadNumberOf(ReadFlags flags) {
    // The device takes such a value back without telling.
    if (m_AwaitsClearing) flags.ignoreCache = true;
    const int64_t number = m_Source.Read(flags);
    if (m_HasSelfClearing) {
        const EnumEntryNode* const pEntry = FirstEntry(number);
        m_AwaitsClearing = pEntry && pEntry->ClearsItself();
    }
    return number;
}

int64_t EnumerationNode::DoReadInteger(ReadFlags flags) {
    const int64_t number = ReadNumberOf(flags);
    if (flags.verify && !FirstEntry(number)) {
        ThrowRuntime(*this, "GetIntValue", "There is no entry for the value " + std::to_string(number) + ".");
    }
    return number;
}

double EnumerationNode::DoReadReal(ReadFlags flags) {
    const int64_t number = DoReadInteger(flags);
    const EnumEntryNode* const pEntry = FindEntry(number);
    return pEntry ? pEntry->NumericNumber() : static_cast<double>(number);
}

std::string EnumerationNode::DoReadText(ReadFlags flags) {
    const EnumEntryNode* const pEntry = FindEntry(DoReadInteger(flags));
    return pEntry ? std::string(pEntry->Symbolic()) : std::string();
}

void EnumerationNode::RequireAvailable(EnumEntryNode& entry) {
    if (GenApi::IsAvailable(entry.Access())) return;
    ThrowAccess(*this, "SetValue", "The entry '" + std::string(entry.Symbolic()) + "' is not available.");
}

EnumEntryNode* EnumerationNode::EntryForWriting(int64_t number) {
    EnumEntryNode* const pEntry = FindEntry(number);
    if (!pEntry) {
        ThrowInvalidArgument(*this, "SetIntValue", "There is no entry for the value " + std::to_string(number) + ".");
    }
    RequireAvailable(*pEntry);
    return pEntry;
}

void EnumerationNode::DoWriteInteger(int64_t value, bool verify) {
    if (verify) EntryForWriting(value);
    m_Source.Write(*this, value, verify);
    const EnumEntryNode* const pEntry = m_HasSelfClearing ? FirstEntry(value) : nullptr;
    m_AwaitsClearing = pEntry && pEntry->ClearsItself();
}

void EnumerationNode::DoWriteReal(double value, bool verify) {
    EnumEntryNode* pNearest = nullptr;
    for (EnumEntryNode* const pEntry : m_Entries) {
        if (!GenApi::IsAvailable(pEntry->Access())) continue;
        const double distance = std::fabs(pEntry->NumericNumber() - value);
        if (!pNearest || distance < std::fabs(pNearest->NumericNumber() - value)) pNearest = pEntry;
    }
    if (!pNearest) ThrowAccess(*this, "SetValue", "No entry is available.");
    DoWriteInteger(pNearest->Number(), verify);
}

void EnumerationNode::DoWriteText(std::string_view text, bool verify) {
    EnumEntryNode* pEntry = FindEntry(text);
    if (!pEntry) pEntry = FindEntry(Trim(text));
    if (!pEntry) ThrowInvalidArgument(*this, "FromString", "There is no entry '" + std::string(text) + "'.");
    pEntry->ThrowIfDefective("SetValue");
    if (verify) RequireAvailable(*pEntry);
    m_Source.Write(*this, pEntry->Number(), verify);
    m_AwaitsClearing = pEntry->ClearsItself();
}

void EnumerationNode::GetSymbolics(GenApi::StringList_t& Symbolics) {
    Symbolics.clear();
    const GenApi::AutoLock lock(Host().Lock());
    for (EnumEntryNode* const pEntry : m_Entries) {
        if (GenApi::IsAvailable(pEntry->Access())) Symbolics.push_back(pEntry->GetSymbolic());
    }
}

void EnumerationNode::GetEntries(GenApi::NodeList_t& Entries) {
    Entries.assign(m_Entries.begin(), m_Entries.end());
}

GenApi::IEnumeration& EnumerationNode::operator=(const GenICam::gcstring& ValueStr) {
    FromString(ValueStr);
    return *this;
}

void EnumerationNode::SetIntValue(int64_t Value, bool Verify) {
    RunChange(*this, Verify, [&] { WriteInteger(Value, Verify); });
}

int64_t EnumerationNode::GetIntValue(bool Verify, bool IgnoreCache) {
    const GenApi::AutoLock lock(Host().Lock());
    return ReadInteger({Verify, IgnoreCache});
}

GenApi::IEnumEntry* EnumerationNode::GetEntryByName(const GenICam::gcstring& Symbolic) {
    return FindEntry(Symbolic.view());
}

GenApi::IEnumEntry* EnumerationNode::GetEntry(int64_t IntValue) {
    const GenApi::AutoLock lock(Host().Lock());
    return FindEntry(IntValue);
}

GenApi::IEnumEntry* EnumerationNode::GetCurrentEntry(bool Verify, bool IgnoreCache) {
    const GenApi::AutoLock lock(Host().Lock());
    return FindEntry(ReadInteger({Verify, IgnoreCache}));
}

} // namespace genapi
