#include "layers/LayerTable.h"

#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

using namespace layers;

namespace {

LayerTable Parse(const char* text) {
    std::istringstream stream(text);
    return LayerTable(stream);
}

constexpr const char* kTable = "# comment\n"
                               "ground include/ground src/ground : boost\n"
                               "\n"
                               "house include/house include/House.h src/house : ground # why\n"
                               "cellar include/house/cellar tool :\n";

} // namespace

TEST(LayerTable, ReadsNamesFoldersAndArrows) {
    const LayerTable table = Parse(kTable);
    ASSERT_EQ(table.GetLayers().size(), 3u);
    const Layer& house = table.GetLayers()[1];
    EXPECT_EQ(house.name, "house");
    EXPECT_EQ(house.folders, (std::vector<std::string>{"include/house", "include/House.h", "src/house"}));
    EXPECT_TRUE(MayInclude(house, "ground"));
    EXPECT_TRUE(MayInclude(house, "house"));
    EXPECT_FALSE(MayInclude(house, "boost"));
    EXPECT_FALSE(MayInclude(table.GetLayers()[2], "ground"));
}

TEST(LayerTable, KnowsWhoseFileAPathIs) {
    const LayerTable table = Parse(kTable);
    EXPECT_EQ(table.FindByPath("src/house/a/b.cpp")->name, "house");
    EXPECT_EQ(table.FindByPath("include/House.h")->name, "house");
    EXPECT_EQ(table.FindByPath("include/house/cellar/x.h")->name, "cellar") << "the longest folder wins";
    EXPECT_EQ(table.FindByPath("src/household/x.h"), nullptr);
    EXPECT_EQ(table.FindByPath("docs/x.md"), nullptr);
}

TEST(LayerTable, KnowsWhoseHeaderAnIncludeNames) {
    const LayerTable table = Parse(kTable);
    EXPECT_EQ(table.FindByIncludeName("ground/x.h")->name, "ground");
    EXPECT_EQ(table.FindByIncludeName("House.h")->name, "house");
    EXPECT_EQ(table.FindByIncludeName("house/cellar/x.h")->name, "cellar");
    EXPECT_EQ(table.FindByIncludeName("tool/x.h")->name, "cellar");
    EXPECT_EQ(table.FindByIncludeName("x.h"), nullptr);
}

TEST(LayerTable, RefusesWhatItCannotMean) {
    EXPECT_THROW(Parse("ground include/ground\n"), std::runtime_error) << "no colon";
    EXPECT_THROW(Parse("ground : boost\n"), std::runtime_error) << "no folder";
    EXPECT_THROW(Parse("a x :\na y :\n"), std::runtime_error) << "a library twice";
    EXPECT_THROW(Parse("a x :\nb x :\n"), std::runtime_error) << "a folder twice";
    EXPECT_THROW(Parse("a x : b\n"), std::runtime_error) << "an arrow to nowhere";
}

TEST(LayerTable, FindsCircles) {
    EXPECT_TRUE(Parse(kTable).FindCircles().empty());
    EXPECT_EQ(Parse("a x : b\nb y : c\nc z : a\nd w : a\n").FindCircles(), (std::vector<std::string>{"a", "b", "c"}));
}

TEST(LayerTable, KnowsTheHeadersOfOtherLibraries) {
    EXPECT_EQ(OutsideLibraryOf("libusb.h"), "libusb");
    EXPECT_EQ(OutsideLibraryOf("libusb-1.0/libusb.h"), "libusb");
    EXPECT_EQ(OutsideLibraryOf("pugixml.hpp"), "pugixml");
    EXPECT_EQ(OutsideLibraryOf("zip.h"), "zip");
    EXPECT_EQ(OutsideLibraryOf("log4cpp/Category.hh"), "log4cpp");
    EXPECT_EQ(OutsideLibraryOf("boost/shared_ptr.hpp"), "boost");
    EXPECT_EQ(OutsideLibraryOf("CLI/CLI.hpp"), "cli11");
    EXPECT_EQ(OutsideLibraryOf("png.h"), "png");
    EXPECT_EQ(OutsideLibraryOf("jpeglib.h"), "jpeg");
    EXPECT_EQ(OutsideLibraryOf("tiffio.h"), "tiff");
    EXPECT_EQ(OutsideLibraryOf("nlohmann/json.hpp"), "json");
    EXPECT_EQ(OutsideLibraryOf("openssl/sha.h"), "openssl");
}

TEST(LayerTable, KnowsTheSystemsOwnHeaders) {
    for (const char* header : {"vector", "cstdint", "poll.h", "sys/eventfd.h", "linux/usb/ch9.h"})
        EXPECT_EQ(OutsideLibraryOf(header), "") << header;
    for (const char* header : {"stranger/x.h", "stranger.hpp"})
        EXPECT_EQ(OutsideLibraryOf(header), "?") << header;
}
