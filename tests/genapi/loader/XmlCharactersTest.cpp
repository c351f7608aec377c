#include "genapi/loader/xml/XmlCharacters.h"
#include "genapi/loader/xml/XmlCheck.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace genapi::testkit {
namespace {

// Longer than what is looked at in one go, twice.
constexpr std::size_t kLongest = 150;
constexpr std::size_t kBudget = std::size_t{1} << 20U;

struct Fault {
    std::string reason;
    std::size_t offset = 0;

    friend bool operator==(const Fault& a, const Fault& b) { return a.reason == b.reason && a.offset == b.offset; }
};

std::ostream& operator<<(std::ostream& stream, const Fault& fault) {
    return stream << fault.reason << " at " << fault.offset;
}

Fault FaultOf(std::string_view text) {
    const XmlVerdict verdict = CheckXml(text, kBudget);
    return verdict.fault ? Fault{verdict.fault->reason, verdict.fault->offset} : Fault{"none", 0};
}

TEST(XmlCharacters, FindsTheOneSpecialCharacterWhereverItStands) {
    for (std::size_t size = 1; size < kLongest; ++size) {
        std::string text(size, 'x');
        EXPECT_EQ(FindXmlSpecial(text, 0), size);
        for (std::size_t at = 0; at < size; ++at) {
            text[at] = '&';
            ASSERT_EQ(FindXmlSpecial(text, 0), at) << size;
            ASSERT_EQ(FindXmlSpecial(text, at), at) << size;
            ASSERT_EQ(FindXmlSpecial(text, at + 1), size) << at;
            text[at] = 'x';
        }
    }
}

TEST(XmlCharacters, TellsEveryCharacterInABlockAsItDoesAlone) {
    for (int c = 0; c < 256; ++c) {
        std::string text(kLongest, 'x');
        text[100] = static_cast<char>(c);
        const bool isControl = c < 0x20 && c != '\t' && c != '\n' && c != '\r';
        const bool isSpecial = isControl || c == '&' || c == ']';
        EXPECT_EQ(FindXmlSpecial(text, 0), isSpecial ? 100 : text.size()) << c;
        EXPECT_EQ(FindXmlSpecial(std::string(1, static_cast<char>(c)), 0), isSpecial ? 0U : 1U) << c;
    }
}

TEST(XmlCharacters, LooksAtNothingBehindTheText) {
    const std::string text(kLongest, '&');
    EXPECT_EQ(FindXmlSpecial({text.data(), 0}, 0), 0U);
    for (std::size_t size = 1; size < kLongest; ++size) {
        std::string plain(size, 'x');
        const std::string longer = plain + text;
        ASSERT_EQ(FindXmlSpecial({longer.data(), size}, 0), size);
    }
}

TEST(XmlCharacters, EndsANameWhereTheFirstOtherCharacterStands) {
    for (int c = 0; c < 256; ++c) {
        const auto character = static_cast<char>(c);
        const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        const bool isPart = isLetter || (c >= '0' && c <= '9') || c >= 0x80 || std::strchr("_:-.", c ? c : '?');
        EXPECT_EQ(IsXml(character, kXmlNamePart), isPart) << c;
        for (std::size_t at = 0; at < 20; ++at) {
            std::string name(20, 'z');
            name[at] = character;
            // The end lies in front of more letters, which are none of the text's.
            for (const std::size_t size : {at + 1, std::size_t{19}, std::size_t{20}}) {
                if (size <= at) continue;
                const char* const end = XmlNameEnd(name.data(), name.data() + size);
                ASSERT_EQ(end - name.data(), static_cast<ptrdiff_t>(isPart ? size : at)) << c << " of " << size;
            }
        }
    }
}

// What may stand in no text, in whatever it stands, at each distance from its end.
struct Place {
    const char* name;
    const char* start;
    const char* end;
    std::vector<std::pair<std::string, std::string>> faults; // what stands there, and the reason
};

void PrintTo(const Place& place, std::ostream* stream) {
    *stream << place.name;
}

class XmlCheckAtEachPlace : public ::testing::TestWithParam<Place> {};

TEST_P(XmlCheckAtEachPlace, TellsWhatMayNotStandThere) {
    const Place& place = GetParam();
    for (std::size_t size = 0; size < kLongest; ++size) {
        const std::string front = place.start + std::string(kLongest - size, 'x');
        const std::string back = std::string(size, 'y') + place.end;
        ASSERT_EQ(FaultOf(front + back), (Fault{"none", 0})) << size;
        for (const auto& [what, reason] : place.faults)
            ASSERT_EQ(FaultOf(front + what + back), (Fault{reason, front.size()})) << what << ", " << size;
        for (const char c : {'\t', '\n', '\r', ' ', '>', '\x7F', '\x80', '\xFF'})
            ASSERT_EQ(FaultOf(front + c + back), (Fault{"none", 0})) << int{c} << ", " << size;
    }
}

std::vector<std::pair<std::string, std::string>> Controls() {
    std::vector<std::pair<std::string, std::string>> controls;
    for (int c = 0; c < 0x20; ++c) {
        if (c != '\t' && c != '\n' && c != '\r')
            controls.push_back({{static_cast<char>(c)}, "there is a control character"});
    }
    return controls;
}

std::vector<std::pair<std::string, std::string>> Besides(std::vector<std::pair<std::string, std::string>> others) {
    std::vector<std::pair<std::string, std::string>> faults = Controls();
    faults.insert(faults.end(), others.begin(), others.end());
    return faults;
}

const std::pair<std::string, std::string> kNoReference = {"& ", "a '&' begins no reference"};
const std::pair<std::string, std::string> kUnknown = {"&x;", "an entity is not defined"};

std::string NameOf(const ::testing::TestParamInfo<Place>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    , XmlCheckAtEachPlace,
    ::testing::Values(Place{"Text", "<a>", "</a>",
                            Besides({kNoReference, kUnknown, {"]]>", "']]>' stands in a text"}})},
                      Place{"TextBehindAnElement", "<a><b>&amp;]</b>", "</a>", Besides({kNoReference, kUnknown})},
                      Place{"TextOfAnElement", "<a><bcdefghij>", "</bcdefghij></a>", Besides({kNoReference, kUnknown})},
                      Place{"Value", "<a b='", "'/>",
                            Besides({kNoReference, kUnknown, {"<", "'<' stands in the value of an attribute"}})},
                      Place{"Comment", "<a><!--", "--></a>", Besides({{"--", "'--' stands in a comment"}})},
                      Place{"Section", "<a><![CDATA[", "]]></a>", Controls()},
                      Place{"Instruction", "<a><?b ", "?></a>", Controls()},
                      Place{"DocumentType", "<!DOCTYPE a '", "'><a/>", Controls()}),
    NameOf);

TEST(XmlCheck, DoesNotMindWhatFollowsTheText) {
    const std::string whole = "<?xml version='1.0'?><!DOCTYPE a [<!ENTITY e 'x'>]><!--c--><a b='1' c=\"&e;\"><?p q?>"
                              "<bcd>&lt;]]&#x26;</bcd><![CDATA[&]]><e/></a>\n";
    EXPECT_EQ(FaultOf(whole), (Fault{"none", 0}));
    for (std::size_t size = 0; size + 2 < whole.size(); ++size) {
        const Fault fault = FaultOf(whole.substr(0, size));
        EXPECT_NE(fault.reason, "none") << size;
        EXPECT_EQ(FaultOf({whole.data(), size}), fault) << size;
        const std::string other = whole.substr(0, size) + std::string(kLongest, '>');
        EXPECT_EQ(FaultOf({other.data(), size}), fault) << size;
    }
}

TEST(XmlCheck, TellsTheFirstOfSeveralFaults) {
    const std::string crowd = "<a>" + std::string(kLongest, ']') + "&amp;\x01&x;]]></a>";
    EXPECT_EQ(FaultOf(crowd), (Fault{"there is a control character", crowd.find('\x01')}));
    EXPECT_EQ(FaultOf("<!DOCTYPE a [\x01<!-- \x02 -->]><a/>"), (Fault{"there is a control character", 19}));
    EXPECT_EQ(FaultOf("<!DOCTYPE a [\x01<!-- c -->]><a>&x;</a>"), (Fault{"there is a control character", 13}));
}

std::size_t CostOf(const std::string& text) {
    return CheckXml(text, kBudget).cost;
}

TEST(XmlCheck, CountsPlainElementsAsItDoesOthers) {
    const std::string plain = "<bc>x</bc><bc></bc> <bc>y</bc>";
    const std::size_t cost = CostOf("<a>" + plain + "</a>");
    EXPECT_EQ(cost, CostOf("<a><bc >x</bc><bc>&lt;</bc> <bc>y</bc ></a>"));
    EXPECT_EQ(cost - CostOf("<a></a>"), 3 * (CostOf("<a><b></b></a>") - CostOf("<a></a>")));
    // A formula costs by its length wherever it stands.
    EXPECT_EQ(CostOf("<a>" + plain + "<Formula>12345</Formula></a>") -
                  CostOf("<a>" + plain + "<Formula></Formula></a>"),
              CostOf("<a><Formula >12345</Formula></a>") - CostOf("<a><Formula ></Formula></a>"));
}

TEST(XmlCheck, TellsHowManyElementsThereAre) {
    EXPECT_EQ(CheckXml("<?xml version='1.0'?><a><!-- <b/> --><![CDATA[<b/>]]></a>", kBudget).elements, 1u);
    EXPECT_EQ(CheckXml("<a><b>x</b><b/><b c='1'><d></d></b><Formula>1</Formula></a>", kBudget).elements, 6u);
}

TEST(XmlCheck, StopsAtThePlainElementThatIsTooMuch) {
    const std::string text = "<a><b>x</b><b>y</b></a>";
    const std::size_t cost = CostOf(text);
    EXPECT_FALSE(CheckXml(text, cost).fault);
    const std::size_t atEndTag = text.rfind("</a>") + 4;
    EXPECT_EQ(CheckXml(text, cost - 1).fault->offset, atEndTag);
    const std::size_t left = cost - CostOf("<a></a>") + CostOf("<a>"); // but for the last end tag
    EXPECT_EQ(CheckXml(text, left - 1).fault->offset, text.rfind("</b>") + 4);
    EXPECT_EQ(CheckXml(text, CostOf("<a><b>x</b>")).fault->offset, text.rfind("<b>") + 2);
}

TEST(XmlCheck, TakesOnlyTheWholeNameOfAnEndTag) {
    EXPECT_EQ(FaultOf("<ab></ab></ab>"), (Fault{"an end tag has no start tag", 9}));
    EXPECT_EQ(FaultOf("<ab></ab"), (Fault{"an end tag is malformed", 4}));
    EXPECT_EQ(FaultOf("<ab></ab c>"), (Fault{"an end tag is malformed", 4}));
    EXPECT_EQ(FaultOf("<ab></ab\t>"), (Fault{"none", 0}));
    // Whose names differ is the parser's concern.
    EXPECT_EQ(FaultOf("<ab></abc>"), (Fault{"none", 0}));
    EXPECT_EQ(FaultOf("<ab></a>"), (Fault{"none", 0}));
}

} // namespace
} // namespace genapi::testkit
