#include "layers/LayerCheck.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace layers;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

TEST(Layers, TreeObeysItsTable) {
    const fs::path root = TAVIX_SOURCE_ROOT;
    std::ifstream text(root / "cmake/layers.txt");
    const LayerTable table(text);
    ASSERT_GE(table.GetLayers().size(), 11u) << "the table was read";
    EXPECT_THAT(table.FindCircles(), IsEmpty());
    for (const std::string& fault : CheckTree(table, root))
        ADD_FAILURE() << fault;
}

// A small tree of its own, to see the check fail.
class LayerCheck : public testing::Test {
protected:
    void SetUp() override {
        std::string folder = testing::TempDir() + "layers.XXXXXX";
        ASSERT_NE(mkdtemp(folder.data()), nullptr);
        m_Root = folder;
        Write("include/ground/Ground.h", "#pragma once\n");
        Write("src/ground/Ground.cpp", "#include \"ground/Ground.h\"\n#include <vector>\n");
        Write("include/house/House.h", "#include <ground/Ground.h>\n");
        Write("src/house/rooms/Room.h", "\n");
        Write("src/house/House.cpp", "#include \"house/House.h\"\n#include \"rooms/Room.h\"\n");
    }
    void TearDown() override { fs::remove_all(m_Root); }

    void Write(const std::string& path, const std::string& text) const {
        fs::create_directories((m_Root / path).parent_path());
        std::ofstream(m_Root / path) << text;
    }

    std::vector<std::string> Check() const {
        std::istringstream text("ground include/ground src/ground : boost\n"
                                "house include/house src/house : ground\n");
        return CheckTree(LayerTable(text), m_Root);
    }

    fs::path m_Root;
};

TEST_F(LayerCheck, AcceptsArrowsThatPointDown) {
    EXPECT_THAT(Check(), IsEmpty());
}

TEST_F(LayerCheck, NamesFileAndLineOfAForbiddenArrow) {
    Write("src/ground/Bad.cpp", "\n#include <vector>\n#include \"house/House.h\"\n#include <house/House.h>\n");
    EXPECT_THAT(Check(), ElementsAre("src/ground/Bad.cpp:3: ground may not include 'house/House.h' of house",
                                     "src/ground/Bad.cpp:4: ground may not include 'house/House.h' of house"));
}

TEST_F(LayerCheck, SeesThroughRelativePaths) {
    Write("src/ground/Bad.cpp", "#include \"../house/rooms/Room.h\"\n");
    EXPECT_THAT(Check(), ElementsAre("src/ground/Bad.cpp:1: ground may not include '../house/rooms/Room.h' of house"));
}

TEST_F(LayerCheck, FindsForbiddenLibrariesOfOthers) {
    Write("src/house/Bad.cpp", "#include <boost/shared_ptr.hpp>\n#include <libusb-1.0/libusb.h>\n");
    Write("src/ground/Good.cpp", "#include <boost/shared_ptr.hpp>\n");
    EXPECT_THAT(Check(), ElementsAre("src/house/Bad.cpp:1: house may not include 'boost/shared_ptr.hpp' of boost",
                                     "src/house/Bad.cpp:2: house may not include 'libusb-1.0/libusb.h' of libusb"));
}

TEST_F(LayerCheck, FindsHeadersThatNobodyHas) {
    Write("src/house/Bad.cpp", "#include <stranger/x.h>\n#include SOME_HEADER\n");
    EXPECT_THAT(Check(), ElementsAre("src/house/Bad.cpp:1: nobody has 'stranger/x.h'",
                                     "src/house/Bad.cpp:2: cannot tell what 'SOME_HEADER' includes"));
}

TEST_F(LayerCheck, FindsFoldersOutsideTheTable) {
    Write("src/attic/Attic.cpp", "#include \"house/House.h\"\n");
    EXPECT_THAT(Check(), ElementsAre("src/attic/Attic.cpp:0: belongs to no library of the table"));
}

TEST_F(LayerCheck, FindsFoldersThatAreNotThere) {
    fs::remove_all(m_Root / "include/house");
    EXPECT_THAT(Check(), ElementsAre("include/house:0: is in the table, but not there"));
}

TEST_F(LayerCheck, LooksAtHeadersAndTemplatesAsWell) {
    Write("include/ground/Bad.h", "#include \"house/House.h\"\n");
    Write("src/ground/Bad.h.in", "#include \"house/House.h\"\n");
    EXPECT_EQ(Check().size(), 2u);
}
