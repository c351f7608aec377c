// Texts that are no documents of XML, though a lenient parser would take them.

#include "LoaderTesting.h"

#include "genapi/loader/xml/LineIndex.h"

#include <Base/GCException.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace genapi::testkit {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string XmlErrorOf(const std::string& xml) {
    try {
        static_cast<void>(ParseDescription(xml, {}, "camera.xml"));
    } catch (const GenICam::RuntimeException& error) {
        return error.GetDescription();
    }
    return "no error";
}

struct BadText {
    const char* name;
    std::string text;
    std::string error; // behind the name of the source
};

void PrintTo(const BadText& bad, std::ostream* stream) {
    *stream << bad.name;
}

class XmlCheckRefuses : public ::testing::TestWithParam<BadText> {};

TEST_P(XmlCheckRefuses, WithLineAndReason) {
    EXPECT_EQ(XmlErrorOf(GetParam().text), "camera.xml, " + GetParam().error);
}

std::string NameOfBadText(const ::testing::TestParamInfo<BadText>& info) {
    return info.param.name;
}

// The first line ends in front of the content.
std::string InRoot(const std::string& content) {
    return "<RegisterDescription>\n" + content + "</RegisterDescription>";
}
std::string InNode(const std::string& attributes) {
    return InRoot("<Integer Name='A' " + attributes + "/>");
}

const std::string kEmpty = "<RegisterDescription/>\n";
const std::string kOutside = "there is text outside of the root element";

INSTANTIATE_TEST_SUITE_P(
    Document, XmlCheckRefuses,
    ::testing::Values(BadText{"TextBeforeTheRoot", "x\n" + kEmpty, "line 1: " + kOutside},
                      BadText{"TextAfterTheRoot", kEmpty + "x", "line 2: " + kOutside},
                      BadText{"ASectionAfterTheRoot", kEmpty + "<![CDATA[x]]>", "line 2: " + kOutside},
                      BadText{"AReferenceAfterTheRoot", kEmpty + "&#32;", "line 2: " + kOutside},
                      BadText{"ASecondRoot", kEmpty + kEmpty, "line 2: there is a second root element"},
                      BadText{"ASecondRootOfAnotherName", kEmpty + "<x/>", "line 2: there is a second root element"},
                      BadText{"NoRoot", "<!-- -->\n", "line 2: there is no element"},
                      BadText{"AnEndTagAlone", kEmpty + "</x>", "line 2: an end tag has no start tag"},
                      BadText{"AnOpenEnd", "<RegisterDescription>\n<Group>",
                              "line 2: the text ends inside of an element"},
                      BadText{"ASecondDeclaration", "<?xml version='1.0'?>\n<?xml version='1.0'?>" + kEmpty,
                              "line 2: there is a declaration behind the start of the text"},
                      BadText{"ALateDeclaration", "\n<?xml version='1.0'?>" + kEmpty,
                              "line 2: there is a declaration behind the start of the text"},
                      BadText{"ADeclarationInside", InRoot("<?XML version='1.0'?>"),
                              "line 2: there is a declaration behind the start of the text"},
                      BadText{"ALateDocumentType", kEmpty + "<!DOCTYPE x>",
                              "line 2: there is a document type behind the start of the text"},
                      BadText{"ASecondDocumentType", "<!DOCTYPE x>\n<!DOCTYPE x>" + kEmpty,
                              "line 2: there is a document type behind the start of the text"},
                      BadText{"AnOpenDocumentType", "\n<!DOCTYPE x [<!ENTITY a \"]>\">\n" + kEmpty,
                              "line 2: the document type has no end"}),
    NameOfBadText);

INSTANTIATE_TEST_SUITE_P(
    Content, XmlCheckRefuses,
    ::testing::Values(
        BadText{"ARawAmpersand", InRoot("a & b"), "line 2: a '&' begins no reference"},
        BadText{"AnAmpersandAtTheEnd", InRoot("a &"), "line 2: a '&' begins no reference"},
        BadText{"AnUndefinedEntity", InRoot("\n&nbsp;"), "line 3: an entity is not defined"},
        BadText{"AnEntityWithoutAName", InRoot("&;"), "line 2: a '&' begins no reference"},
        BadText{"AReferenceToAControl", InRoot("&#27;"), "line 2: a reference names no character"},
        BadText{"AReferenceToZero", InRoot("&#x0;"), "line 2: a reference names no character"},
        BadText{"AReferenceToASurrogate", InRoot("&#xD800;"), "line 2: a reference names no character"},
        BadText{"AReferenceToTheLastSurrogate", InRoot("&#xDFFF;"), "line 2: a reference names no character"},
        BadText{"AReferenceToTheLastButOneOfAPlane", InRoot("&#xFFFE;"), "line 2: a reference names no character"},
        BadText{"AReferenceToTheLastOfAPlane", InRoot("&#xFFFF;"), "line 2: a reference names no character"},
        BadText{"AReferenceBeyondAllCharacters", InRoot("&#x110000;"), "line 2: a reference names no character"},
        BadText{"AReferenceToNoNumber", InRoot("&#a;"), "line 2: a reference names no character"},
        BadText{"AnEscape", InRoot("\n\x1B[2J"), "line 3: there is a control character"},
        BadText{"AZeroInside", InRoot(std::string("a\0b", 3)), "line 2: there is a control character"},
        BadText{"AnEscapeInAComment", InRoot("<!-- \x1B -->"), "line 2: there is a control character"},
        BadText{"AnEscapeInASection", InRoot("<![CDATA[\x1B]]>"), "line 2: there is a control character"},
        BadText{"TheEndOfASection", InRoot("a]]>b"), "line 2: ']]>' stands in a text"},
        BadText{"TheEndOfASectionAfterBrackets", InRoot("a]]]>b"), "line 2: ']]>' stands in a text"},
        BadText{"DashesInAComment", InRoot("<!-- a -- b -->"), "line 2: '--' stands in a comment"},
        BadText{"ADashAtTheEndOfAComment", InRoot("<!-- a --->"), "line 2: '--' stands in a comment"},
        BadText{"AnOpenComment", InRoot("<!-- a ->"), "line 2: a comment has no end"},
        BadText{"AnOpenSection", InRoot("<![CDATA[ ]]"), "line 2: a CDATA section has no end"},
        BadText{"AnOpenInstruction", InRoot("<?a >"), "line 2: a processing instruction has no end"},
        BadText{"ANamelessInstruction", InRoot("<? a ?>"), "line 2: a processing instruction has no name"},
        BadText{"UnknownMarkup", InRoot("<!ELEMENT a>"), "line 2: there is unknown markup"},
        BadText{"ALessThan", InRoot("1 < 2"), "line 2: a '<' begins no markup"}),
    NameOfBadText);

INSTANTIATE_TEST_SUITE_P(
    Tags, XmlCheckRefuses,
    ::testing::Values(
        BadText{"AnAttributeTwice", InNode("b='1'\n b='2'"), "line 2: an element has an attribute twice"},
        BadText{"ALessThanInAnAttribute", InNode("\nb='<'"), "line 3: '<' stands in the value of an attribute"},
        BadText{"AnAmpersandInAnAttribute", InNode("b='a & b'"), "line 2: a '&' begins no reference"},
        BadText{"AnUndefinedEntityInAnAttribute", InNode("b='&x;'"), "line 2: an entity is not defined"},
        BadText{"AnEscapeInAnAttribute", InNode("b='\x1B'"), "line 2: there is a control character"},
        BadText{"AnAttributeWithoutAValue", InNode("b"), "line 2: an attribute is malformed"},
        BadText{"AnUnquotedValue", InNode("b=1"), "line 2: the value of an attribute is not quoted"},
        BadText{"AnOpenValue", "<RegisterDescription a='x", "line 1: the value of an attribute has no end"},
        BadText{"AttributesThatTouch", InNode("b='1'c='2'"), "line 2: a start tag is malformed"},
        BadText{"AnOpenTag", "<RegisterDescription\n", "line 1: a start tag has no end"},
        BadText{"AMalformedEndTag", InRoot("<a></a b>"), "line 2: an end tag is malformed"},
        BadText{"ADigitAsAName", InRoot("<1/>"), "line 2: a '<' begins no markup"}),
    NameOfBadText);

TEST(XmlCheck, TakesWhatXmlAllows) {
    const Description description = ParseDescription(
        "\xEF\xBB\xBF<?xml version='1.0' encoding=\"utf-8\"?><?go a<b&c?><!-- - -><&--><!DOCTYPE x [ <!-- '> --> "
        "<!ENTITY "
        "e \"<\"><?p >?>]>\n<RegisterDescription ><String Name = 'A'\t\n><ToolTip a=\"'>\" b-c.d='\"]]>'>]] >&#x9;&e;"
        "<![CDATA[<&-- ]] ]]></ToolTip ></String></RegisterDescription\n>\n<!-- end --><?end?>\n");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("ToolTip=]] >\t&e;<&-- ]] "));
    EXPECT_THAT(description.problems, IsEmpty());
}

TEST(XmlCheck, TakesTheFirstAndLastOfTheCharactersThatAReferenceMayName) {
    for (const char* const reference :
         {"&#x20;", "&#xD7FF;", "&#xE000;", "&#xFFFD;", "&#x10000;", "&#x10FFFF;", "&#xfF;", "&#xaA;", "&#1114111;"})
        EXPECT_EQ(XmlErrorOf(InRoot(reference)), "no error") << reference;
}

TEST(XmlCheck, SeesAmongManyAttributesTheOneGivenTwice) {
    std::string attributes;
    for (int i = 0; i < 1000; ++i)
        attributes += "a" + std::to_string(i) + "='' ";
    EXPECT_EQ(XmlErrorOf(InNode(attributes)), "no error");
    EXPECT_THAT(XmlErrorOf(InNode(attributes + "a500=''")), HasSubstr("an attribute twice"));
}

TEST(XmlCheck, RefusesWhatIsInjectedAsWell) {
    EXPECT_THROW(static_cast<void>(ParseDescription(Wrap(""), Wrap("&"))), GenICam::RuntimeException);
}

TEST(XmlCheck, ReadsOtherEncodingsBeforeItLooks) {
    std::string wide = "\xFE\xFF";
    for (const char c : Wrap("\n&x;"))
        wide += {'\0', c};
    EXPECT_EQ(XmlErrorOf(wide), "camera.xml, line 2: an entity is not defined");
    // U+1D11E, and half of it.
    const std::string pair("\xFF\xFE<\0a\0>\0\x34\xD8\x1E\xDD\x34\xD8<\0/\0a\0>\0", 22);
    EXPECT_THAT(XmlErrorOf(pair), HasSubstr("the root element is 'a'"));
}

TEST(LineIndex, TellsTheLineOfEveryPlace) {
    std::string text;
    std::vector<uint32_t> lines;
    for (uint32_t line = 1; line < 200; ++line) {
        const std::string each(line % 70, 'x');
        text += each + "\n";
        lines.insert(lines.end(), each.size() + 1, line);
    }
    const LineIndex index(text);
    for (std::size_t i = 0; i < text.size(); ++i)
        ASSERT_EQ(index.LineAt(i), lines[i]) << i;
    EXPECT_EQ(index.LineAt(text.size()), 200U);
    EXPECT_EQ(index.LineAt(text.size() + 1000), 200U);
    EXPECT_EQ(LineIndex("").LineAt(0), 1U);
    EXPECT_EQ(LineIndex(std::string(64, '\n')).LineAt(64), 65U);
}

} // namespace
} // namespace genapi::testkit
