// How much a description may say.

#include "LoaderTesting.h"

#include <Base/GCException.h>
#include <GenApi/GenApi.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

namespace genapi::testing {
namespace {

using ::testing::HasSubstr;

template<class Step>
std::string ErrorOf(Step step) {
    try {
        step();
    } catch (const GenICam::RuntimeException& error) {
        return error.GetDescription();
    }
    return "no error";
}

std::string Repeat(std::string_view part, std::size_t count) {
    std::string text;
    text.reserve(part.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        text += part;
    return text;
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
    const std::string pieces = Wrap(Repeat("x<!---->", 5'000'000));
    EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(pieces)); }), HasSubstr(tooMany));
}

TEST_F(DescriptionLimit, OfElementsHoldsForBothTextsTogether) {
    const std::string half = Wrap(Repeat("<a/>", 1'000'000));
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(ParseDescription(half)); }), "no error");
    EXPECT_THAT(ErrorOf([&] { static_cast<void>(ParseDescription(half, half)); }),
                HasSubstr("injected text, line 1: the description has more elements"));
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
} // namespace genapi::testing
