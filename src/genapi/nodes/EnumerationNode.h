#pragma once
// The node types Enumeration and EnumEntry.

#include "genapi/nodes/ValueSource.h"
#include "genapi/nodes/base/ValueNode.h"

#include <GenApi/IEnumeration.h>

#include <functional>
#include <optional>
#include <vector>

namespace genapi {

/// One named value. thread-safe
class EnumEntryNode final : public ValueNode, virtual public GenApi::IEnumEntry {
public:
    using ValueNode::ValueNode;

    void Bind(const BoundProperty& property) override;
    std::string_view Missing() const override { return m_HasValue ? "" : "Value"; }

    /// False for all numbers when the entry's own is not known.
    bool HasNumber(int64_t number) const { return m_Value == number && !IsDefective(); }
    int64_t Number() const { return m_Value; }
    double NumericNumber() const { return m_HasNumericValue ? m_NumericValue : static_cast<double>(m_Value); }
    std::string_view Symbolic() const { return m_Symbolic.empty() ? Name() : m_Symbolic; }
    bool ClearsItself() const { return m_ClearsItself; }

    // GenApi::IEnumEntry
    int64_t GetValue() override {
        ThrowIfDefective("GetValue");
        return m_Value;
    }
    GenICam::gcstring GetSymbolic() const override { return GenICam::gcstring(Symbolic()); }
    double GetNumericValue() override {
        ThrowIfDefective("GetNumericValue");
        return NumericNumber();
    }
    bool IsSelfClearing() override { return m_ClearsItself; }

protected:
    int64_t DoReadInteger(ReadFlags) override { return m_Value; }
    double DoReadReal(ReadFlags) override { return NumericNumber(); }
    std::string DoReadText(ReadFlags) override { return std::string(Symbolic()); }

private:
    int64_t m_Value = 0;
    double m_NumericValue = 0.0;
    std::string_view m_Symbolic;
    bool m_HasValue = false;
    bool m_HasNumericValue = false;
    bool m_ClearsItself = false;
};

/// A number of which some have names. Reading it never looks at the access of entries, unless several entries have its
/// number: their access may depend on the enumeration itself. thread-safe
class EnumerationNode final : public ValueNode, virtual public GenApi::IEnumeration {
public:
    using ValueNode::ValueNode;

    void Bind(const BoundProperty& property) override;
    std::string_view Missing() const override { return m_Source.IsComplete() ? "" : "Value or pValue"; }
    GenApi::EAccessMode TargetAccess() override { return m_Source.Access(); }

    const std::vector<EnumEntryNode*>& Entries() const { return m_Entries; }
    /// Null when there is none.
    EnumEntryNode* FindEntry(std::string_view symbolic) const;
    EnumEntryNode* FindEntry(int64_t number);
    bool HasSelfClearingEntries() const { return m_HasSelfClearing; }
    /// Whether the last value known is one that the device takes back by itself.
    bool AwaitsClearing() const { return m_AwaitsClearing; }

    // GenApi::IEnumeration
    void GetSymbolics(GenApi::StringList_t& Symbolics) override;
    void GetEntries(GenApi::NodeList_t& Entries) override;
    GenApi::IEnumeration& operator=(const GenICam::gcstring& ValueStr) override;
    void SetIntValue(int64_t Value, bool Verify = true) override;
    GenICam::gcstring operator*() override { return ToString(); }
    int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) override;
    GenApi::IEnumEntry* GetEntryByName(const GenICam::gcstring& Symbolic) override;
    GenApi::IEnumEntry* GetEntry(int64_t IntValue) override;
    GenApi::IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) override;

protected:
    int64_t DoReadInteger(ReadFlags flags) override;
    double DoReadReal(ReadFlags flags) override;
    void DoWriteInteger(int64_t value, bool verify) override;
    void DoWriteReal(double value, bool verify) override;
    int64_t DoIntegerMin() override { return LimitOf(&EnumEntryNode::Number, IsLess, ValueNode::DoIntegerMin()); }
    int64_t DoIntegerMax() override { return LimitOf(&EnumEntryNode::Number, IsGreater, ValueNode::DoIntegerMax()); }
    /// Of the numbers that reals are read as.
    double DoRealMin() override { return LimitOf(&EnumEntryNode::NumericNumber, IsLess, ValueNode::DoRealMin()); }
    double DoRealMax() override { return LimitOf(&EnumEntryNode::NumericNumber, IsGreater, ValueNode::DoRealMax()); }
    bool DoHasRealInc() override { return !m_HasNumericValues; }
    std::string DoReadText(ReadFlags flags) override;
    void DoWriteText(std::string_view text, bool verify) override;

private:
    static constexpr std::less<> IsLess{};
    static constexpr std::greater<> IsGreater{};
    /// The first of the entries' numbers in that order; `unlimited` without entries.
    template<class Number, class Order>
    Number LimitOf(Number (EnumEntryNode::*pNumber)() const, Order order, Number unlimited) const {
        std::optional<Number> limit;
        for (const EnumEntryNode* const pEntry : m_Entries) {
            const Number number = (pEntry->*pNumber)();
            if (!pEntry->IsDefective() && (!limit || order(number, *limit))) limit = number;
        }
        return limit.value_or(unlimited);
    }

    EnumEntryNode* FirstEntry(int64_t number) const;
    EnumEntryNode* EntryForWriting(int64_t number);
    void RequireAvailable(EnumEntryNode& entry);
    int64_t ReadNumberOf(ReadFlags flags);

    ValueSource<int64_t> m_Source;
    std::vector<EnumEntryNode*> m_Entries;
    bool m_HasNumericValues = false;
    bool m_HasSelfClearing = false;
    bool m_AwaitsClearing = false; ///< guarded by the map's lock
    bool m_IsChoosing = false;     ///< guarded by the map's lock
};

} // namespace genapi
