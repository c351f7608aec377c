// Every kind of node with every element that it may have, in all the ways in which files write them.
#include "genapi/lint/Grammar.h"
#include "genapi/support/XmlMap.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <ostream>

using genapi::FindGrammar;
using genapi::Grammar;
using genapi::GrammarSlot;
using ::testing::IsEmpty;

namespace {

// An element of a node, by name, attributes and text.
struct Child {
    std::string name;
    std::string text;
    std::string attributes = {};
};
using Children = std::vector<Child>;

// How a file writes its elements.
struct Manner {
    const char* name;
    bool isReversed = false;
    std::string prefix = {};
    std::string head = {};      // before the root
    std::string nameSpace = {}; // attribute of the root
    std::string (*write)(const std::string& text) = [](const std::string& text) { return text; };
    bool changesBlanks = false; // free text keeps its blanks
};

void PrintTo(const Manner& row, std::ostream* to) {
    *to << row.name;
}

std::string Half(const std::string& text, const char* middle) {
    const std::size_t half = text.size() / 2;
    return text.substr(0, half) + middle + text.substr(half);
}

const Manner kManners[] = {
    {"InOrder"},
    {"OutOfOrder", /*isReversed=*/true},
    {"WithPrefix", false, "g:", "", " xmlns:g='http://www.genicam.org/GenApi/Version_1_1'"},
    {"InAForeignNameSpace", false, "", "", " xmlns='urn:other'"},
    {"BehindAMark", false, "", "\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?>\r\n"},
    {"InSections", false, "", "", "", [](const std::string& text) { return "<![CDATA[" + text + "]]>"; }},
    {"AroundSections", false, "", "", "", [](const std::string& text) { return Half(text, "<![CDATA[]]>"); }},
    {"AroundComments", false, "", "", "", [](const std::string& text) { return Half(text, "<!-- not this -->"); }},
    {"AroundInstructions", false, "", "", "", [](const std::string& text) { return Half(text, "<?no this?>"); }},
    {"AsCharacterReferences", false, "", "", "",
     [](const std::string& text) { return "&#" + std::to_string(int{text[0]}) + ";" + text.substr(1); }},
    {"BetweenBlanks", false, "", "", "", [](const std::string& text) { return "\r\n\t " + text + " \n"; }, true},
};

// What a node of the kind cannot do without.
Children Required(const std::string& kind) {
    const Children place = {{"Address", "16"}, {"Length", "4"}, {"AccessMode", "RW"}, {"pPort", "Device"}};
    const Children both = {{"FormulaTo", "FROM"}, {"FormulaFrom", "TO"}, {"pValue", "I"}};
    static const std::map<std::string, Children> kinds = {
        {"Integer", {{"Value", "1"}}},
        {"IntReg", place},
        {"MaskedIntReg", place},
        {"Boolean", {{"Value", "true"}}},
        {"Command", {{"Value", "0"}, {"CommandValue", "1"}}},
        {"Float", {{"Value", "1"}}},
        {"FloatReg", place},
        {"String", {{"Value", "x"}}},
        {"StringReg", place},
        {"Register", place},
        {"Converter", both},
        {"IntConverter", both},
        {"SwissKnife", {{"Formula", "1"}}},
        {"IntSwissKnife", {{"Formula", "1"}}},
        {"Enumeration", {{"Value", "1"}}},
        {"EnumEntry", {{"Value", "1"}}},
        {"ConfRom", place},
        {"AdvFeatureLock", place},
        {"SmartFeature", {{"Address", "16"}, {"pPort", "Device"}}},
    };
    const auto found = kinds.find(kind);
    return found == kinds.end() ? Children() : found->second;
}

// A text that the element may have. Links lead to the nodes of the frame.
std::string TextFor(const std::string& kind, const std::string& element) {
    static const std::map<std::string, std::string> texts = {
        {"ToolTip", "a tip"},
        {"Description", "words"},
        {"DisplayName", "Shown"},
        {"Visibility", "Guru"},
        {"DocuURL", "http://a"},
        {"IsDeprecated", "Yes"},
        {"EventID", "0A0B"},
        {"ImposedAccessMode", "RO"},
        {"pError", "E"},
        {"Streamable", "Yes"},
        {"AccessMode", "RW"},
        {"pPort", "Device"},
        {"Cachable", "NoCache"},
        {"Unit", "um"},
        {"Representation", "Logarithmic"},
        {"DisplayNotation", "Fixed"},
        {"ValidValueSet", "1;5;9"},
        {"Sign", "Signed"},
        {"Endianess", "BigEndian"},
        {"Slope", "Varying"},
        {"IsLinear", "Yes"}, // sic
        {"FormulaTo", "FROM+1"},
        {"FormulaFrom", "TO-1"},
        {"Formula", "1+2"},
        {"Expression", "1+1"},
        {"IsSelfClearing", "Yes"},
        {"ChunkID", "0C0D"},
        {"pChunkID", "S"},
        {"SwapEndianess", "Yes"},
        {"CacheChunkData", "Yes"},
        {"p1212Parser", "Rom"},
        {"FeatureID", "17"},
        {"Symbolic", "Other"},
        {"pEnumEntry", "Entry"},
        {"NumericValue", "1.5"},
    };
    const auto found = texts.find(element);
    if (found != texts.end()) return found->second;
    if (element == "Value" && kind == "Boolean") return "true";
    if (element == "pValue" && kind == "String") return "S";
    return element[0] == 'p' ? "I" : "12";
}

std::string AttributesFor(const std::string& element) {
    if (element == "pVariable" || element == "Constant" || element == "Expression") return " Name='V'";
    if (element == "ValueIndexed" || element == "pValueIndexed") return " Index='3'";
    return element == "pIndex" ? " Offset='8'" : "";
}

bool IsFreeText(const std::string& kind, const std::string& element) {
    return element == "ToolTip" || element == "Description" || element == "DisplayName" ||
           (element == "Value" && kind == "String");
}

bool IsSource(const std::string& element) {
    return element == "pIndex" || element == "ValueIndexed" || element == "pValueIndexed" ||
           element == "ValueDefault" || element == "pValueDefault";
}

// The node with the element in it, elements of the same place left out.
Children ChildrenWith(const std::string& kind, const GrammarSlot& slot, const std::string& element) {
    Children children = Required(kind);
    const bool isIndexed = IsSource(element) && (kind == "Integer" || kind == "Float");
    const auto isReplaced = [&](const Child& child) {
        if (isIndexed && child.name == "Value") return true;
        return std::any_of(slot.names.begin(), slot.names.end(),
                           [&child](const GrammarSlot::Name& name) { return name.text == child.name; });
    };
    if (element != "pValueCopy")
        children.erase(std::remove_if(children.begin(), children.end(), isReplaced), children.end());
    if (isIndexed) {
        if (element != "pIndex") children.push_back({"pIndex", "I"});
        if (element == "pIndex") children.push_back({"ValueDefault", "4"});
    }
    if (element == "MSB") children.push_back({"LSB", "12"});
    if (element == "LSB") children.push_back({"MSB", "12"});
    children.push_back({element, TextFor(kind, element), AttributesFor(element)});
    return children;
}

void Sort(const Grammar& grammar, Children& children) {
    bool isNewer = false;
    std::stable_sort(children.begin(), children.end(), [&](const Child& a, const Child& b) {
        return FindSlot(grammar, a.name, isNewer) < FindSlot(grammar, b.name, isNewer);
    });
}

std::string Tag(const Manner& manner, const std::string& name, const std::string& attributes,
                const std::string& content) {
    return "<" + manner.prefix + name + attributes + ">" + content + "</" + manner.prefix + name + ">";
}

// The whole text. A StructEntry stands in its StructReg, an EnumEntry in its Enumeration.
std::string Write(const Manner& manner, const std::string& kind, Children children, char minor) {
    if (manner.isReversed) std::reverse(children.begin(), children.end());
    std::string content;
    for (const Child& child : children) {
        const bool keepsBlanks = manner.changesBlanks && IsFreeText(kind, child.name);
        content += Tag(manner, child.name, child.attributes, keepsBlanks ? child.text : manner.write(child.text));
    }
    const auto value = [&](const char* text) { return Tag(manner, "Value", "", text); };
    const std::string entry = Tag(manner, "EnumEntry", " Name='Entry'", value("1"));
    std::string node = Tag(manner, kind, " Name='N'", content + (kind == "Enumeration" ? entry : ""));
    if (kind == "EnumEntry") node = Tag(manner, "Enumeration", " Name='X'", node + value("1"));
    if (kind == "StructEntry") {
        std::string place;
        for (const Child& child : Required("IntReg"))
            place += Tag(manner, child.name, "", child.text);
        node = Tag(manner, "StructReg", " Comment='c'", place + node);
    }
    const std::string frame = Tag(manner, "Port", " Name='Device'", "") +
                              Tag(manner, "Integer", " Name='I'", value("3")) +
                              Tag(manner, "String", " Name='S'", value("0E0F")) +
                              Tag(manner, "Enumeration", " Name='E'", entry + value("0")) +
                              Tag(manner, "ConfRom", " Name='Rom'", Tag(manner, "pPort", "", "Device"));
    return manner.head + "<" + manner.prefix + "RegisterDescription" + manner.nameSpace +
           " SchemaMajorVersion='1' SchemaMinorVersion='" + minor + "'>" + frame + node + "</" + manner.prefix +
           "RegisterDescription>";
}

std::string NameOfNode(const std::string& kind) {
    return kind == "EnumEntry" ? "EnumEntry_X_N" : "N";
}

// Loads the node and looks whether the element has arrived.
void ExpectTaken(const Manner& manner, const std::string& kind, const Children& children, const Child& child,
                 char minor) {
    GenApi::CNodeMapRef map;
    ASSERT_NO_THROW(map._LoadXMLFromString(Write(manner, kind, children, minor).c_str()));
    GenICam::gcstring_vector problems;
    dynamic_cast<GenApi::INodeMapDyn&>(*map._Ptr).GetLoadProblems(problems);
    EXPECT_EQ(problems.size(), 0u) << problems[0].c_str();
    GenApi::INode* const pNode = map._GetNode(NameOfNode(kind).c_str());
    ASSERT_NE(pNode, nullptr);
    GenICam::gcstring text;
    GenICam::gcstring attribute;
    ASSERT_TRUE(pNode->GetProperty(child.name.c_str(), text, attribute));
    const std::string all = std::string("\t") + text.c_str() + "\t"; // lists are parted by tabulators
    EXPECT_NE(all.find("\t" + child.text + "\t"), std::string::npos) << text.c_str();
    if (child.attributes.empty()) return;
    const std::size_t quote = child.attributes.find('\'');
    const std::string wanted = child.attributes.substr(quote + 1, child.attributes.size() - quote - 2);
    EXPECT_NE(std::string(attribute.c_str()).find(wanted), std::string::npos) << attribute.c_str();
}

class Elements : public ::testing::TestWithParam<std::tuple<const char*, Manner>> {};

TEST_P(Elements, AreTaken) {
    const std::string kind = std::get<0>(GetParam());
    const Manner& manner = std::get<1>(GetParam());
    const Grammar& grammar = *FindGrammar(kind);
    int tried = 0;
    for (const GrammarSlot& slot : grammar) {
        for (const GrammarSlot::Name& name : slot.names) {
            const std::string element(name.text);
            // These are nodes themselves, or nothing at all.
            const bool isElsewhere = element == "Extension" || element == "IntSwissKnife" || element == "EnumEntry" ||
                                     element == "TextDesc" || element == "IntKey" || element == "pEnumEntry";
            if (isElsewhere) continue;
            Children children = ChildrenWith(kind, slot, element);
            const Child child = children.back();
            Sort(grammar, children);
            for (const char minor : {'0', '1'}) {
                SCOPED_TRACE(kind + "." + element + " in a file of schema 1." + minor);
                ExpectTaken(manner, kind, children, child, minor);
            }
            ++tried;
        }
    }
    EXPECT_GT(tried, 1);
}

// All kinds of both schemas but StructReg, which is no node itself.
constexpr const char* kKinds[] = {
    "Node",         "Category",   "Integer",        "IntReg",       "MaskedIntReg", "StructEntry", "Boolean",
    "Command",      "Float",      "FloatReg",       "String",       "StringReg",    "Register",    "Converter",
    "IntConverter", "SwissKnife", "IntSwissKnife",  "Enumeration",  "EnumEntry",    "Port",        "ConfRom",
    "TextDesc",     "IntKey",     "AdvFeatureLock", "SmartFeature",
};

INSTANTIATE_TEST_SUITE_P(OfEveryKind, Elements,
                         ::testing::Combine(::testing::ValuesIn(kKinds), ::testing::ValuesIn(kManners)),
                         [](const ::testing::TestParamInfo<std::tuple<const char*, Manner>>& which) {
                             return std::string(std::get<0>(which.param)) + std::get<1>(which.param).name;
                         });

// Numbers in all the ways in which files write them.
struct NumberForm {
    const char* name;
    const char* kind;
    const char* element;
    std::vector<const char*> texts;
};

void PrintTo(const NumberForm& row, std::ostream* to) {
    *to << row.name;
}

class NumberForms : public ::testing::TestWithParam<NumberForm> {};

TEST_P(NumberForms, AreTaken) {
    const NumberForm& form = GetParam();
    for (const char* const text : form.texts) {
        for (const GrammarSlot& slot : *FindGrammar(form.kind)) {
            for (const GrammarSlot::Name& name : slot.names) {
                if (name.text != form.element) continue;
                Children children = ChildrenWith(form.kind, slot, form.element);
                children.back().text = text;
                SCOPED_TRACE(text);
                GenApi::CNodeMapRef map;
                map._LoadXMLFromString(Write(kManners[0], form.kind, children, '1').c_str());
                GenICam::gcstring_vector problems;
                dynamic_cast<GenApi::INodeMapDyn&>(*map._Ptr).GetLoadProblems(problems);
                EXPECT_EQ(problems.size(), 0u) << problems[0].c_str();
            }
        }
    }
}

const std::vector<const char*> kPositive = {"4", "0x4", "0X04", "004", " 4 ", "\n4\t"};
const std::vector<const char*> kIntegers = {"4", "0x4", "0XfF", "-4", "007", " -4 ", "0x8000000000000000", "0"};
const std::vector<const char*> kFloats = {"4",   "4.",   ".5",  "-.5e-3", "+1E6", "64512e0",
                                          "INF", "-INF", "NaN", " 1.5 ",  "0x10"};
const NumberForm kForms[] = {
    {"Address", "IntReg", "Address", kIntegers},
    {"Length", "IntReg", "Length", kPositive},
    {"PollingTime", "IntReg", "PollingTime", kPositive},
    {"Bit", "MaskedIntReg", "Bit", kPositive},
    {"IntegerValue", "Integer", "Value", kIntegers},
    {"IntegerMin", "Integer", "Min", kIntegers},
    {"IntegerInc", "Integer", "Inc", kPositive},
    {"IntegerSlot", "Integer", "ValueIndexed", kIntegers},
    {"IntegerConstant", "IntSwissKnife", "Constant", kIntegers},
    {"CommandValue", "Command", "CommandValue", kIntegers},
    {"OnValue", "Boolean", "OnValue", kIntegers},
    {"EntryValue", "EnumEntry", "Value", kIntegers},
    {"NumericValue", "EnumEntry", "NumericValue", kFloats},
    {"FloatValue", "Float", "Value", kFloats},
    {"FloatMax", "Float", "Max", kFloats},
    {"FloatConstant", "SwissKnife", "Constant", kFloats},
    {"DisplayPrecision", "Float", "DisplayPrecision", kPositive},
};
INSTANTIATE_TEST_SUITE_P(OfElements, NumberForms, ::testing::ValuesIn(kForms),
                         [](const ::testing::TestParamInfo<NumberForm>& form) { return form.param.name; });

} // namespace
