#include "genapi/description/Lexical.h"
#include "genapi/lint/Grammar.h"
#include "genapi/lint/NameSearch.h"
#include "genapi/lint/check/Checks.h"
#include "genapi/loader/GroupWalk.h"

#include <algorithm>
#include <unordered_set>

namespace genapi {

namespace {

std::string Quote(std::string_view text) {
    return "'" + std::string(text) + "'";
}

bool IsName(std::string_view text) {
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    const auto isPart = [&](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '_'; };
    return !text.empty() && isLetter(text[0]) && std::all_of(text.begin(), text.end(), isPart);
}

bool Contains(std::initializer_list<std::string_view> list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

// Without it the node cannot be used; other missing elements are assumed.
bool IsVital(std::string_view kind, std::string_view slot) {
    if (slot == "Value|pValue") return true;
    if (slot == "Value") return kind == "EnumEntry";
    return Contains({"pPort", "pValue", "Formula", "FormulaTo", "FormulaFrom", "CommandValue|pCommandValue"}, slot);
}

// Compares the elements of a description with the grammar. bound to a thread
class SchemaCheck {
public:
    SchemaCheck(const LintModel& model, Findings& findings) : m_Model(model), m_Findings(findings) {}

    void Run() {
        CheckRoot();
        ForEachInGroups(m_Model.Text().Root(), [this](const pugi::xml_node& element) { Take(element); });
    }

private:
    void Add(Rule rule, const pugi::xml_node& element, std::string text, std::string advice = {}) {
        m_Findings.Add(rule, m_Model.PlaceOf(element), m_Name, std::move(text), std::move(advice));
    }

    void CheckRoot() {
        const pugi::xml_node root = m_Model.Text().Root();
        m_Name = {};
        for (const std::string_view name : kMapPropertyNames) {
            const pugi::xml_attribute attribute = root.attribute(std::string(name).c_str());
            if (!attribute && name != "ToolTip")
                Add(Rule::MissingRootAttribute, root, std::string(name) + " is missing");
            if (attribute) CheckRootAttribute(root, name, Trim(attribute.value()));
        }
        const std::string_view uri = m_Model.Text().NameSpaceUri();
        const bool isKnown =
            uri == "http://www.genicam.org/GenApi/Version_1_0" || uri == "http://www.genicam.org/GenApi/Version_1_1";
        const std::string wanted = m_Model.IsNewSchema() ? "1_1" : "1_0";
        if (!isKnown)
            Add(Rule::BadRootAttribute, root, "the name space " + Quote(uri) + " is none of a description");
        else if (uri.substr(uri.size() - 3) != wanted)
            Add(Rule::BadRootAttribute, root, "the name space " + Quote(uri) + " is not that of the schema version");
    }

    void CheckRootAttribute(const pugi::xml_node& root, std::string_view name, std::string_view value) {
        const bool isVersion = name.size() > 7 && name.substr(name.size() - 7) == "Version";
        if (isVersion && ParseInteger(value).value_or(-1) < 0)
            Add(Rule::BadRootAttribute, root, std::string(name) + " is no version number: " + Quote(value));
        if (name == "SchemaMinorVersion" && ParseInteger(value).value_or(0) > 1)
            Add(Rule::BadRootAttribute, root, "schema version 1." + std::string(value) + " is not known");
        if (name == "StandardNameSpace" && !ParseKeyword(Keyword::StandardName, value))
            Add(Rule::BadRootAttribute, root, Quote(value) + " is no standard name space");
        const bool isPattern = name == "ModelName" || name == "VendorName";
        if (isPattern && !IsName(value))
            Add(Rule::BadRootAttribute, root, std::string(name) + " is no name: " + Quote(value));
    }

    void Take(const pugi::xml_node& element) {
        const std::string_view kind = LocalName(element);
        m_Name = {};
        if (kind == "Group" || kind == "Extension") return;
        if (kind != "StructReg") return CheckNode(element, kind);
        CheckChildren(element, kind);
        for (const pugi::xml_node child : element.children()) {
            if (LocalName(child) == "StructEntry") CheckNode(child, "StructEntry");
        }
    }

    void CheckNode(const pugi::xml_node& element, std::string_view kind) {
        m_Name = AttributeText(element, "Name");
        if (FindGrammar(kind) == nullptr)
            return Add(Rule::UnknownNode, element, "there is no kind of node " + Quote(element.name()),
                       DidYouMeanKind(kind));
        if (m_Name.empty()) return Add(Rule::NamelessNode, element, std::string(kind) + " without a Name");
        if (!IsName(m_Name)) Add(Rule::BadName, element, Quote(m_Name) + " is no name of a node");
        if (!m_Names.insert(m_Name).second) Add(Rule::DuplicateName, element, "there is a node of this name already");
        if (IsNewerKind(kind) && !m_Model.IsNewSchema())
            Add(Rule::NewerElement, element, std::string(kind) + " came with schema 1.1, the file states 1.0");
        CheckAttributes(element);
        CheckChildren(element, kind);
        CheckInner(element, kind);
    }

    // Children that are nodes themselves.
    void CheckInner(const pugi::xml_node& element, std::string_view kind) {
        const std::string_view owner = m_Name;
        std::unordered_set<std::string_view> entries;
        for (const pugi::xml_node child : element.children()) {
            const std::string_view childKind = LocalName(child);
            const bool isEntry = kind == "Enumeration" && childKind == "EnumEntry";
            if (!isEntry && childKind != "IntSwissKnife") continue;
            const std::string_view name = AttributeText(child, "Name");
            if (isEntry && name.empty()) Add(Rule::NamelessNode, child, "entry without a Name");
            if (isEntry && !name.empty() && !entries.insert(name).second)
                Add(Rule::DuplicateEntry, child, "there is an entry " + Quote(name) + " already");
            const std::string full =
                isEntry ? "EnumEntry_" + std::string(owner) + "_" + std::string(name) : std::string(name);
            m_Name = full;
            CheckAttributes(child);
            CheckChildren(child, childKind);
            m_Name = owner;
        }
    }

    void CheckAttributes(const pugi::xml_node& element) {
        for (const pugi::xml_attribute attribute : element.attributes()) {
            const std::string_view name = attribute.name();
            const std::string_view value = Trim(attribute.value());
            if (name.find(':') != std::string_view::npos || name == "xmlns" || name == "Name") continue;
            if (name == "NameSpace" && ParseKeyword(Keyword::NameSpace, value)) continue;
            if (name == "MergePriority" && Contains({"-1", "0", "1", "+1"}, value)) continue;
            if (name == "ExposeStatic" && ParseYesNo(value)) continue;
            if (Contains({"NameSpace", "MergePriority", "ExposeStatic"}, name))
                Add(Rule::BadAttribute, element, std::string(name) + " cannot be " + Quote(value));
            else
                Add(Rule::UnknownAttribute, element, "there is no attribute " + Quote(name));
        }
    }

    void CheckChildren(const pugi::xml_node& element, std::string_view kind) {
        const Grammar& grammar = *FindGrammar(kind);
        std::vector<int> counts(grammar.size(), 0);
        int last = 0;
        bool isInOrder = true;
        for (const pugi::xml_node child : element.children()) {
            if (child.type() != pugi::node_element) continue;
            bool isNewer = false;
            const int slot = FindSlot(grammar, LocalName(child), isNewer);
            if (slot < 0) {
                AddStranger(child, kind);
                continue;
            }
            if (isNewer && !m_Model.IsNewSchema()) AddNewer(child);
            if (slot < last && isInOrder) {
                Add(Rule::WrongOrder, child, std::string(child.name()) + " belongs before what precedes it");
                isInOrder = false; // one slip moves all that follow
            }
            last = std::max(last, slot);
            if (++counts[static_cast<size_t>(slot)] == 2 && !grammar[static_cast<size_t>(slot)].isList)
                Add(Rule::RepeatedElement, child, std::string(child.name()) + " has its place taken already");
            CheckChildAttributes(child);
        }
        for (std::size_t i = 0; i < grammar.size(); ++i) {
            if (grammar[i].isRequired && counts[i] == 0) AddMissing(element, kind, grammar[i].spelling);
        }
        CheckSource(element, kind);
        CheckBits(element);
    }

    void AddStranger(const pugi::xml_node& child, std::string_view kind) {
        const std::string_view name = LocalName(child);
        const bool isKnown = FindProperty(name).has_value() || FindGrammar(name) != nullptr;
        const Rule rule = isKnown ? Rule::MisplacedElement : Rule::UnknownElement;
        std::string text = std::string(kind) + " has no element " + Quote(child.name());
        Add(rule, child, std::move(text), isKnown ? std::string() : DidYouMean(kind, name));
    }

    void AddNewer(const pugi::xml_node& child) {
        Add(Rule::NewerElement, child, std::string(child.name()) + " came with schema 1.1, the file states 1.0");
    }

    void AddMissing(const pugi::xml_node& element, std::string_view kind, std::string_view spelling) {
        std::string names(spelling);
        for (std::size_t bar = names.find('|'); bar != std::string::npos; bar = names.find('|'))
            names.replace(bar, 1, " or ");
        Add(IsVital(kind, spelling) ? Rule::MissingElement : Rule::AssumedElement, element, "there is no " + names);
    }

    void CheckChildAttributes(const pugi::xml_node& child) {
        const std::optional<PropertyId> id = FindProperty(LocalName(child));
        if (!id || LocalName(child) == "EnumEntry") return;
        const AttributeKind taken = AttributeOf(*id);
        if (*id == PropertyId::pIndex && !m_Model.IsNewSchema() && !child.attribute("Offset"))
            Add(Rule::NewerElement, child, "pIndex without Offset came with schema 1.1, the file states 1.0");
        for (const pugi::xml_attribute attribute : child.attributes()) {
            const std::string_view name = attribute.name();
            if (name.find(':') != std::string_view::npos || name == "xmlns") continue;
            const bool isFit = (taken == AttributeKind::Name && name == "Name") ||
                               (taken == AttributeKind::Index && name == "Index") ||
                               (taken == AttributeKind::Offset && (name == "Offset" || name == "pOffset"));
            if (!isFit)
                Add(Rule::UnknownAttribute, child, std::string(child.name()) + " has no attribute " + Quote(name));
        }
    }

    static bool Has(const pugi::xml_node& element, std::string_view name) {
        for (const pugi::xml_node child : element.children()) {
            if (LocalName(child) == name) return true;
        }
        return false;
    }

    // The three ways to get a number, of which a node takes one.
    void CheckSource(const pugi::xml_node& element, std::string_view kind) {
        if (kind != "Integer" && kind != "Float") return;
        const int ways = Has(element, "Value") + Has(element, "pValue") + Has(element, "pIndex");
        if (ways == 0) AddMissing(element, kind, "Value|pValue");
        if (ways > 1) Add(Rule::RepeatedElement, element, "it has more than one of Value, pValue and pIndex");
        if (!Has(element, "pIndex")) return;
        if (!Has(element, "ValueIndexed") && !Has(element, "pValueIndexed"))
            AddMissing(element, kind, "ValueIndexed|pValueIndexed");
        if (!Has(element, "ValueDefault") && !Has(element, "pValueDefault"))
            AddMissing(element, kind, "ValueDefault|pValueDefault");
    }

    void CheckBits(const pugi::xml_node& element) {
        if (Has(element, "Bit") && Has(element, "MSB")) Add(Rule::RepeatedElement, element, "it has both Bit and MSB");
        if (Has(element, "LSB") && !Has(element, "MSB")) AddMissing(element, {}, "MSB");
    }

    static std::string DidYouMean(std::string_view kind, std::string_view name) {
        for (const GrammarSlot& slot : *FindGrammar(kind)) {
            for (const GrammarSlot::Name& candidate : slot.names) {
                if (EditDistance(name, candidate.text, 2) <= 2)
                    return "did you mean " + std::string(candidate.text) + "?";
            }
        }
        return {};
    }

    static std::string DidYouMeanKind(std::string_view kind) {
        for (const std::string_view candidate : kNodeTypeNames) {
            if (EditDistance(kind, candidate, 2) <= 2) return "did you mean " + std::string(candidate) + "?";
        }
        return {};
    }

    const LintModel& m_Model; // borrowed
    Findings& m_Findings;     // borrowed
    std::unordered_set<std::string_view> m_Names;
    std::string_view m_Name; // of the node at hand
};

} // namespace

void CheckSchema(const LintModel& model, Findings& findings) {
    SchemaCheck(model, findings).Run();
}

} // namespace genapi
