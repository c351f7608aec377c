#pragma once
// What a check of a description finds.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace genapi {

/// Error: something that the description promises cannot work. Warning: against the schema, or a likely mistake, but
/// usable. Note: worth a look.
enum class Severity : uint8_t { Error, Warning, Note };

/// Kinds of findings. The order is that of the table in Finding.cpp.
enum class Rule : uint8_t {
    MissingRootAttribute,
    BadRootAttribute,
    UnknownNode,
    NamelessNode,
    BadName,
    DuplicateName,
    DuplicateEntry,
    UnknownAttribute,
    BadAttribute,
    UnknownElement,
    MisplacedElement,
    NewerElement,
    WrongOrder,
    RepeatedElement,
    MissingElement,
    AssumedElement,
    BadValue,
    OddValue,
    MinAboveMax,
    ValueOutOfRange,
    BadIncrement,
    SameEntryValue,
    BadLength,
    BitsOutside,
    BitsReversed,
    OnEqualsOff,
    DanglingLink,
    LooseLink,
    WrongTarget,
    OddTarget,
    BadFormula,
    BadVariable,
    ValueCycle,
    LimitCycle,
    AccessCycle,
    CategoryCycle,
    MissingInvalidator,
    SharedBits,
    ReadOnlyCommand,
    NoRoot,
    NoDevicePort,
    UnreachableFeature,
    UnusedNode,
    DefectiveNode,
};

struct RuleFacts {
    std::string_view name; ///< "dangling-link"
    Severity severity;
    std::string_view advice;
};

[[nodiscard]] const RuleFacts& FactsOf(Rule rule);

/// Where in the text something stands.
struct Place {
    uint32_t line = 0;    ///< 0: unknown
    ptrdiff_t offset = 0; ///< parts findings of one line
};

struct Finding {
    Rule rule = Rule::DefectiveNode;
    Place place;
    std::string node;   ///< possibly empty
    std::string text;   ///< what is wrong
    std::string advice; ///< what to do

    [[nodiscard]] Severity GetSeverity() const { return FactsOf(rule).severity; }
};

/// Collects findings. Bound to a thread.
class Findings {
public:
    /// The rule's own advice is taken when none is given. Beyond a very large number findings are left out.
    void Add(Rule rule, Place place, std::string_view node, std::string text, std::string advice = {});

    /// In order of their places, the same thing said twice about one place only once.
    [[nodiscard]] std::vector<Finding> Take();

    [[nodiscard]] const std::vector<Finding>& All() const { return m_Findings; }
    /// Nothing is added any more.
    [[nodiscard]] bool IsFull() const;

private:
    std::vector<Finding> m_Findings;
};

} // namespace genapi
