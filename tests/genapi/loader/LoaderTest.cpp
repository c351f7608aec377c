// Texts as they come: well-formed, odd, broken, large.

#include "LoaderTesting.h"

#include "genapi/support/Repeat.h"

#include <Base/GCException.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace genapi::testkit {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string ErrorOf(const std::string& xml, const std::string& inject = {}) {
    try {
        static_cast<void>(ParseDescription(xml, inject, "camera.xml"));
    } catch (const GenICam::RuntimeException& error) {
        return error.GetDescription();
    }
    return "no error";
}

TEST(Loader, ReadsTheRootAttributes) {
    const Description description = ParseDescription(Wrap("", R"(SchemaMinorVersion="1" ToolTip=" t ")"));
    EXPECT_EQ(description.Info(MapProperty::ModelName), "M");
    EXPECT_EQ(description.Info(MapProperty::VendorName), "V");
    EXPECT_EQ(description.Info(MapProperty::ToolTip), " t ");
    EXPECT_EQ(description.Info(MapProperty::StandardNameSpace), "None");
    EXPECT_EQ(description.Info(MapProperty::SchemaMajorVersion), "1");
    EXPECT_EQ(description.Info(MapProperty::SchemaMinorVersion), "1");
    EXPECT_EQ(description.Info(MapProperty::SchemaSubMinorVersion), "0");
    EXPECT_EQ(description.Info(MapProperty::MajorVersion), "1");
    EXPECT_EQ(description.Info(MapProperty::MinorVersion), "2");
    EXPECT_EQ(description.Info(MapProperty::SubMinorVersion), "3");
    EXPECT_EQ(description.Info(MapProperty::ProductGuid), "P");
    EXPECT_EQ(description.Info(MapProperty::VersionGuid), "G");
    EXPECT_EQ(description.nameSpaceUri, "http://www.genicam.org/GenApi/Version_1_1");
}

TEST(Loader, TakesTheSchemaVersionFromTheNameSpaceWhenNotStated) {
    const Description description =
        ParseDescription("<RegisterDescription xmlns='http://www.genicam.org/GenApi/Version_1_1' MajorVersion='x'/>");
    EXPECT_EQ(description.Info(MapProperty::SchemaMajorVersion), "1");
    EXPECT_EQ(description.Info(MapProperty::SchemaMinorVersion), "1");
    EXPECT_EQ(description.Info(MapProperty::MajorVersion), "0");
    EXPECT_THAT(Problems(description), ElementsAre(HasSubstr("MajorVersion is no number")));
}

TEST(Loader, NeedsNoNameSpaceAndNoDeclaration) {
    const Description description = ParseDescription("<RegisterDescription><Integer Name='A'/></RegisterDescription>");
    EXPECT_EQ(description.Info(MapProperty::SchemaMajorVersion), "1");
    EXPECT_THAT(Names(description), ElementsAre("A"));
}

TEST(Loader, IgnoresNameSpacePrefixes) {
    const Description description = ParseDescription(
        "<g:RegisterDescription xmlns:g='http://other'><g:Group><g:Integer Name='A'><g:Value>1</g:Value>"
        "</g:Integer></g:Group></g:RegisterDescription>");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Value=1"));
}

TEST(Loader, TakesElementsOfALaterMinorSchema) {
    const Description description =
        ParseDescription(Wrap("<String Name='S'><DocuURL>x</DocuURL></String>", "SchemaMinorVersion='0'"));
    EXPECT_THAT(Properties(description, "S"), ElementsAre("DocuURL=x"));
}

TEST(Loader, RefusesOtherMajorSchemas) {
    EXPECT_EQ(ErrorOf("<RegisterDescription SchemaMajorVersion='2'/>"),
              "camera.xml, line 1: schema version 2 is not supported");
    EXPECT_THAT(ErrorOf("<RegisterDescription xmlns='x/Version_2_0'/>"), HasSubstr("schema version 2"));
}

TEST(Loader, RefusesOtherRoots) {
    EXPECT_EQ(ErrorOf("<!-- c -->\n<Camera/>"),
              "camera.xml, line 2: the root element is 'Camera', not RegisterDescription");
}

TEST(Loader, NamesSourceLineAndReasonOfBrokenText) {
    EXPECT_THAT(ErrorOf("<RegisterDescription>\n<Integer>\n</Float>\n</RegisterDescription>"),
                HasSubstr("camera.xml, line 3: "));
    EXPECT_THAT(ErrorOf("<RegisterDescription>\n<Integer"), HasSubstr("camera.xml, line 2: "));
    EXPECT_THAT(ErrorOf(""), HasSubstr("camera.xml, line 1: "));
    EXPECT_THAT(ErrorOf("no description"), HasSubstr("camera.xml, line 1: "));
    EXPECT_THAT(ErrorOf(std::string("\0\0\0", 3)), HasSubstr("camera.xml, line 1: "));
    EXPECT_THAT(ErrorOf(Wrap(""), "<x>"), HasSubstr("injected text, line 1: "));
}

TEST(Loader, RefusesEveryTruncation) {
    const std::string xml = Wrap("<Integer Name='A'><!-- c --><Value><![CDATA[1]]></Value></Integer>");
    for (std::size_t size = 0; size < xml.size(); ++size)
        EXPECT_NE(ErrorOf(xml.substr(0, size)), "no error") << size;
}

TEST(Loader, JoinsTextAroundCommentsAndSections) {
    const Description description =
        Load("<Integer Name='A'><Min>1<!-- one -->2</Min><Max><!-- all -->3<![CDATA[4]]>5<?pi x?>6</Max>"
             "<Inc><![CDATA[ 7 ]]></Inc><Value><!-- none --></Value><Unit>a<b/>c</Unit></Integer>");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Min=12", "Max=3456", "Inc=7", "Value=", "Unit=ac"));
}

TEST(Loader, ResolvesEntitiesOnce) {
    const Description description =
        Load("<IntSwissKnife Name='A'><Formula>A &amp;&amp; B &lt;&gt; &#49;&#x32;</Formula>"
             "<ToolTip>&amp;lt;&quot;&apos;</ToolTip></IntSwissKnife>"
             "<IntSwissKnife Name='B'><Formula><![CDATA[A &amp; B < 1]]></Formula>"
             "</IntSwissKnife>");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Formula=A && B <> 12", "ToolTip=&lt;\"'"));
    EXPECT_THAT(Properties(description, "B"), ElementsAre("Formula=A &amp; B < 1"));
}

TEST(Loader, TrimsAllButFreeText) {
    const Description description = Load("<String Name=' A '><ToolTip> t\r\nu </ToolTip><Description> d</Description>"
                                         "<DisplayName>n </DisplayName><pIsLocked>\r\n\tL \n</pIsLocked>"
                                         "<Value>  </Value></String>"
                                         "<Integer Name='B'><Value>\t 5 </Value></Integer>");
    EXPECT_THAT(Properties(description, "A"),
                ElementsAre("ToolTip= t\nu ", "Description= d", "DisplayName=n ", "pIsLocked=L", "Value=  "));
    EXPECT_THAT(Properties(description, "B"), ElementsAre("Value=5"));
}

TEST(Loader, PassesOtherBytesThrough) {
    const Description description = Load("<Float Name='A'><Unit>\xC2\xB0"
                                         "C</Unit></Float><Float Name='B'><Unit>\xB5s\xFF</Unit></Float>");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Unit=\xC2\xB0"
                                                          "C"));
    EXPECT_THAT(Properties(description, "B"), ElementsAre("Unit=\xB5s\xFF"));
}

TEST(Loader, SkipsAByteOrderMark) {
    const Description description = ParseDescription("\xEF\xBB\xBF" + Wrap("\n<Integer Name='A'/>"));
    EXPECT_THAT(Names(description), ElementsAre("A"));
    EXPECT_EQ(description.nodes[0].line, 2U);
}

TEST(Loader, ConvertsOtherEncodings) {
    const std::string latin = "<?xml version='1.0' encoding='ISO-8859-1'?><RegisterDescription><Float Name='A'>"
                              "<Unit>\xB0"
                              "C</Unit></Float></RegisterDescription>";
    EXPECT_THAT(Properties(ParseDescription(latin), "A"), ElementsAre("Unit=\xC2\xB0"
                                                                      "C"));
    std::string wide = "\xFF\xFE";
    for (const char c : Wrap("<Integer Name='A'/>"))
        wide += {c, '\0'};
    EXPECT_THAT(Names(ParseDescription(wide)), ElementsAre("A"));
}

// Characters of one to four bytes in UTF-8, with bits that differ from their neighbours'.
constexpr std::u32string_view kPoints = U"C\u03A9\u20AC\U0001F6B5";
constexpr std::u16string_view kPairs = u"C\u03A9\u20AC\U0001F6B5";
constexpr std::string_view kBytes = "C\xCE\xA9\xE2\x82\xAC\xF0\x9F\x9A\xB5";

template<class Text>
std::string Wide(Text text, std::size_t size, bool isBigEndian) {
    std::string bytes;
    for (const auto unit : text) {
        for (std::size_t i = 0; i < size; ++i)
            bytes += static_cast<char>(unit >> 8 * (isBigEndian ? size - 1 - i : i));
    }
    return bytes;
}

TEST(Loader, ReadsTheSameCharactersInEveryEncoding) {
    const std::string xml = Wrap("<Float Name='A'><Unit>@</Unit></Float>");
    const std::string_view start = std::string_view(xml).substr(0, xml.find('@'));
    const std::string_view end = std::string_view(xml).substr(start.size() + 1);
    for (const std::size_t size : {std::size_t{2}, std::size_t{4}}) {
        for (const bool isBigEndian : {true, false}) {
            const std::string unit = size == 2 ? Wide(kPairs, size, isBigEndian) : Wide(kPoints, size, isBigEndian);
            const std::string text = Wide(start, size, isBigEndian) + unit + Wide(end, size, isBigEndian);
            const std::string mark = Wide(std::u32string_view(U"\uFEFF"), size, isBigEndian);
            for (const std::string& all : {text, mark + text}) {
                EXPECT_THAT(Properties(ParseDescription(all), "A"), ElementsAre("Unit=" + std::string(kBytes)))
                    << size << (isBigEndian ? ", big" : ", little");
            }
        }
    }
}

TEST(Loader, ToleratesPaddingAfterTheRoot) {
    for (const std::string& padding : {std::string("\n \n"), std::string(100, '\0'), std::string("<!-- end -->")}) {
        EXPECT_THAT(Names(ParseDescription(Wrap("<Integer Name='A'/>") + padding)), ElementsAre("A"));
    }
}

TEST(Loader, IgnoresADocumentTypeAndItsEntities) {
    const Description description = ParseDescription(
        "<!DOCTYPE x [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\">]><RegisterDescription><String Name='A'>"
        "<Value>&b;</Value></String></RegisterDescription>");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Value=&b;"));
}

TEST(Loader, KeepsTextsWhenTheDescriptionMoves) {
    std::string xml = Wrap("<Enumeration Name='A'><EnumEntry Name='X'/></Enumeration>");
    Description first = ParseDescription(xml);
    xml.assign(xml.size(), '?');
    const Description second = std::move(first);
    EXPECT_THAT(Properties(second, "A"), ElementsAre("pEnumEntry=EnumEntry_A_X"));
    EXPECT_THAT(Properties(second, "EnumEntry_A_X"), ElementsAre("Symbolic=X"));
}

TEST(Loader, SurvivesDeepNesting) {
    constexpr std::size_t kDepth = 100000;
    const Description groups =
        Load(Repeat("<Group>", kDepth) + "<Integer Name='A'/>" + Repeat("</Group>", kDepth) + "<Integer Name='B'/>");
    EXPECT_THAT(Names(groups), ElementsAre("A", "B"));
    const Description other =
        Load("<Integer Name='A'>" + Repeat("<x>", kDepth) + Repeat("</x>", kDepth) + "<Value>1</Value></Integer>");
    EXPECT_THAT(Properties(other, "A"), ElementsAre("Value=1"));
}

TEST(Loader, LoadsManyNodesInLinearTime) {
    std::string nodes;
    for (int i = 0; i < 50000; ++i) {
        const std::string number = std::to_string(i);
        nodes += "<IntReg Name='R" + number + "'><Address>" + number + "</Address><pInvalidator>R" + number +
                 "</pInvalidator></IntReg>\n";
    }
    const auto start = std::chrono::steady_clock::now();
    const Description description = Load(nodes, nodes.empty() ? "" : "<Integer Name='More'/>");
    const auto time = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(description.nodes.size(), 50001U);
    EXPECT_EQ(description.nodes[49999].line, 50000U);
    EXPECT_LT(time, std::chrono::seconds(10)) << "quadratic cost takes minutes";
}

TEST(Loader, KeepsNoMoreRoomForPropertiesThanTheTextHasElements) {
    const std::string nodes = Repeat("<IntReg Name='A'><Address>1</Address><Length>4</Length></IntReg>", 10) +
                              "<Integer Name='B'><Value>1</Value></Integer>";
    const Description description = Load(nodes, "<Integer Name='C'><Min>1</Min><Max>2</Max></Integer>");
    EXPECT_LE(description.properties.capacity(), 25U) << "23 and two roots";
    EXPECT_GE(description.properties.capacity(), description.properties.size());
}

TEST(Loader, LimitsTheNumberOfReports) {
    const Description description = Load(Repeat("<Integer Name='A'/>", 5000));
    EXPECT_EQ(description.nodes.size(), 1U);
    EXPECT_EQ(description.problems.size(), 1000U);
}

TEST(Loader, ReadsFiles) {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("tavix_loader_test_" + std::to_string(::getpid()) + ".xml");
    std::ofstream(path) << Wrap("<Integer Name='A'/>");
    EXPECT_THAT(Names(ParseDescriptionFile(path)), ElementsAre("A"));
    std::ofstream(path) << "<RegisterDescription>";
    try {
        static_cast<void>(ParseDescriptionFile(path));
        ADD_FAILURE() << "broken file was taken";
    } catch (const GenICam::RuntimeException& error) {
        EXPECT_THAT(error.GetDescription(), HasSubstr(path.string() + ", line 1"));
    }
    std::filesystem::remove(path);
}

TEST(Loader, NamesFilesThatItCannotRead) {
    try {
        static_cast<void>(ParseDescriptionFile("/does/not/exist.xml"));
        ADD_FAILURE() << "missing file was taken";
    } catch (const GenICam::RuntimeException& error) {
        EXPECT_THAT(error.GetDescription(), HasSubstr("'/does/not/exist.xml'"));
    }
    EXPECT_THROW(static_cast<void>(ParseDescriptionFile("/")), GenICam::RuntimeException);
}

} // namespace
} // namespace genapi::testkit
