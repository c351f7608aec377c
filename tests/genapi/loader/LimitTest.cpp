// How much a description may say.

#include "LoaderTesting.h"

#include "genapi/support/Repeat.h"

#include <Base/GCException.h>
#include <GenApi/GenApi.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

namespace genapi::testkit {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

template<class Step>
std::string ErrorOf(Step step) {
    try {
        step();
    } catch (const GenICam::GenericException& error) {
        return error.GetDescription();
    }
    return "no error";
}

// A folder that goes with the test.
class DescriptionLimit : public ::testing::Test {
protected:
    DescriptionLimit() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tavix_limit_XXXXXX").string();
        m_Folder = ::mkdtemp(pattern.data());
    }
    ~DescriptionLimit() override { std::filesystem::remove_all(m_Folder); }

    std::string Path(const std::string& name) const { return m_Folder / name; }

private:
    std::filesystem::path m_Folder;
};

TEST_F(DescriptionLimit, OfATextIsTheSameOnEveryRoad) {
    const std::string full = Wrap("") + std::string(kMaxDescriptionSize - Wrap("").size(), ' ');
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(ParseDescription(full)); }), "no error");
    const std::string over = full + " ";
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(ParseDescription(over, {}, "camera.xml")); }),
              "camera.xml is longer than 64 MiB");
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(ParseDescription(Wrap(""), over)); }),
              "injected text is longer than 64 MiB");
    GenApi::CNodeMapRef map;
    EXPECT_EQ(ErrorOf([&] { map._LoadXMLFromString(over); }), "description is longer than 64 MiB");
    std::ofstream(Path("a.xml")) << over;
    EXPECT_EQ(ErrorOf([&] { map._LoadXMLFromFile(Path("a.xml")); }),
              "File '" + Path("a.xml") + "' is longer than 64 MiB");
}

TEST_F(DescriptionLimit, HoldsAfterTheEncodingIsChanged) {
    const std::string latin = "<?xml version='1.0' encoding='latin1'?><RegisterDescription/><!--" +
                              std::string(kMaxDescriptionSize / 2, '\xB5') + "-->";
    EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(latin)); }), HasSubstr("longer than 64 MiB"));
}

TEST_F(DescriptionLimit, OfElementsCountsWhatTheyCostInMemory) {
    const char* const tooMany = "the description has more elements than may be kept in memory";
    const std::string open = "<RegisterDescription>" + Repeat("<a>", 10'000'000);
    EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(open)); }), HasSubstr(tooMany));
    const std::string flat = Wrap(Repeat("<a/>", 10'000'000));
    EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(flat)); }), HasSubstr(tooMany));
    const std::string attributes = "<RegisterDescription " + Repeat("a='' ", 10'000'000) + "/>";
    EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(attributes)); }), HasSubstr(tooMany));
    const std::string entities = "<!DOCTYPE x [" + Repeat("<!ENTITY x>", 5'000'000) + "]><RegisterDescription/>";
    EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(entities)); }), HasSubstr(tooMany));
    for (const char* const piece : {"x<!---->", "<![CDATA[]]>", "x<?p?>"}) {
        const std::string pieces = Wrap(Repeat(piece, 5'000'000));
        EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(pieces)); }), HasSubstr(tooMany)) << piece;
    }
}

TEST_F(DescriptionLimit, OfFormulasIsThatOfWhatTheyBecome) {
    constexpr const char* kTooLong = "the description has longer formulas than may be kept in memory";
    const std::string text(12'000'000, '-');
    for (const char* const name : {"Formula", "FormulaTo", "FormulaFrom", "Expression"}) {
        const std::string tag = std::string(name) + ">";
        const std::string plain = Wrap("<IntConverter Name='A'><" + tag + text + "1</" + tag + "</IntConverter>");
        EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(plain)); }), HasSubstr(kTooLong)) << name;
    }
    const std::string section =
        Wrap("<IntSwissKnife Name='A'><Formula><![CDATA[" + text + "1]]></Formula></IntSwissKnife>");
    EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(section)); }), HasSubstr(kTooLong));
    const std::string tip = Wrap("<Integer Name='A'><ToolTip>" + text + "</ToolTip><Value>1</Value></Integer>");
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(ParseDescription(tip)); }), "no error");
}

TEST_F(DescriptionLimit, OfElementsHoldsForBothTextsTogether) {
    const std::string half = Wrap(Repeat("<a/>", 1'000'000));
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(ParseDescription(half)); }), "no error");
    EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(half, half)); }),
                HasSubstr("injected text, line 1: the description has more elements"));
}

TEST_F(DescriptionLimit, OfNamesKeepsThemShort) {
    const std::string longest(1024, 'n');
    EXPECT_THAT(Names(Load("<Port Name='" + longest + "'/>")), ElementsAre(longest));
    const Description tooLong = Load("<Port Name='" + longest + "n'/>");
    EXPECT_THAT(Names(tooLong), IsEmpty());
    EXPECT_THAT(Problems(tooLong), ElementsAre(": Port with too long a name"));
}

TEST_F(DescriptionLimit, OfNamesLeavesOutWhatATerminalObeys) {
    const std::string obeyed = "a\xC2\x9B"
                               "2J"; // CSI in UTF-8
    for (const std::string& name : {obeyed, std::string("a\x9B"), std::string("a\x7F")}) {
        const Description description =
            Load("<Port Name='" + name + "'/><Enumeration Name='E'><EnumEntry Name='" + name + "'/></Enumeration>");
        EXPECT_THAT(Names(description), ElementsAre("E"));
        EXPECT_THAT(Problems(description), ElementsAre(": Port with a name that cannot be shown",
                                                       "E: EnumEntry: entry with a name that cannot be shown"));
    }
    EXPECT_THAT(Names(Load("<Port Name='\xC2\xB5 1-x'/>")), ElementsAre("\xC2\xB5 1-x"));
}

TEST_F(DescriptionLimit, OfSentencesShowsNoControls) {
    GenApi::CNodeMapRef map;
    map._LoadXMLFromString(Wrap("<Integer Name='A'><pValue>B\xC2\x9B</pValue></Integer>").c_str());
    EXPECT_EQ(ErrorOf([&] { GenApi::CIntegerPtr(map._GetNode("A"))->GetValue(); }),
              "The description of the node is faulty: pValue names the unknown node 'B?'");
    const std::string value(10000, 'x');
    GenApi::CNodeMapRef longMap;
    longMap._LoadXMLFromString(Wrap("<Integer Name='A'><Min>" + value + "</Min><Value>1</Value></Integer>").c_str());
    EXPECT_LT(ErrorOf([&] { GenApi::CIntegerPtr(longMap._GetNode("A"))->GetValue(); }).size(), value.size());
}

TEST_F(DescriptionLimit, LetsOnlyRegularFilesIn) {
    ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
    for (const std::string& path : {Path("pipe"), std::string("/dev/zero"), Path("")}) {
        EXPECT_EQ(ErrorOf([&] { static_cast<void>(ReadDescriptionFile(path)); }), "'" + path + "' is no regular file");
    }
}

TEST_F(DescriptionLimit, OfASparseFileIsKnownBeforeItIsRead) {
    std::ofstream(Path("hole")) << "x";
    std::filesystem::resize_file(Path("hole"), std::uintmax_t{1} << 40U);
    EXPECT_THAT(ErrorOf([&] { static_cast<void>(ReadDescriptionFile(Path("hole"))); }),
                HasSubstr("is longer than 64 MiB"));
}

} // namespace
} // namespace genapi::testkit
