// Names of images: no image takes the place of another.

#include "tests/tools/support/TestFolder.h"

#include "tools/tavix/images/ImageNames.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using namespace tooltest;
using tool::ImageNames;

/// Writes a file with that text as the image with that block id; gives its name.
std::string Place(ImageNames& names, std::uint64_t blockId, const std::string& text) {
    Tavix::NewFile file(names.Wanted(blockId, ".x"), "choose another", Tavix::NewFile::Links::Replaced);
    file.Write(text.data(), text.size());
    const std::string path = names.Place(file, blockId, ".x");
    return path.substr(path.rfind('/') + 1);
}

Tavix::CameraInfo Camera(const char* model, const char* serial, const char* guid, const char* path) {
    Tavix::CameraInfo info;
    info.model = model;
    info.serial = serial;
    info.guid = guid;
    info.path = path;
    return info;
}

std::set<std::string> Prefixes(const std::vector<Tavix::CameraInfo>& cameras) {
    std::set<std::string> prefixes;
    for (const auto& camera : cameras)
        prefixes.insert(tool::ImagePrefix(camera, cameras));
    return prefixes;
}

TEST(ImageNames, AreTheBlockIds) {
    const TestFolder folder;
    ImageNames names(folder.Path("p"));
    EXPECT_EQ(Place(names, 0, "a"), "p_000000.x");
    EXPECT_EQ(Place(names, 7, "b"), "p_000007.x");
    EXPECT_EQ(Place(names, 12345678, "c"), "p_12345678.x");
}

TEST(ImageNames, DifferWhereTheBlockIdDoesNot) {
    for (const bool overwrites : {false, true}) {
        const TestFolder folder;
        ImageNames names(folder.Path("p"), overwrites);
        for (const char* text : {"a", "b", "c"})
            Place(names, 5, text);
        EXPECT_EQ(folder.Read("p_000005.x") + folder.Read("p_000005-2.x") + folder.Read("p_000005-3.x"), "abc");
    }
}

TEST(ImageNames, DifferWhereTheBlockIdGoesBack) {
    const TestFolder folder;
    ImageNames names(folder.Path("p"), /*overwrites=*/true);
    for (const std::uint64_t block : {8, 9, 8, 9})
        Place(names, block, "x");
    EXPECT_EQ(folder.Files(".x").size(), 4u);
}

TEST(ImageNames, LeaveTheImagesOfAnEarlierGrab) {
    const TestFolder folder;
    for (const char* text : {"first", "second", "third"}) {
        ImageNames names(folder.Path("p"));
        for (const std::uint64_t block : {0, 1})
            Place(names, block, text);
    }
    EXPECT_EQ(folder.Read("p_000001.x"), "first");
    EXPECT_EQ(folder.Read("p_000001-2.x"), "second");
    EXPECT_EQ(folder.Read("p_000000-3.x"), "third");
    EXPECT_EQ(folder.Files(".x").size(), 6u);
}

TEST(ImageNames, TakeThoseOfAnEarlierGrabWhenAskedTo) {
    const TestFolder folder;
    folder.Write("p_000000.x", "old");
    folder.Write("p_000001.x", "old");
    ImageNames names(folder.Path("p"), /*overwrites=*/true);
    EXPECT_EQ(Place(names, 0, "new"), "p_000000.x");
    EXPECT_EQ(folder.Read("p_000000.x"), "new");
    EXPECT_EQ(folder.Read("p_000001.x"), "old");
}

TEST(ImageNames, FollowNoLink) {
    for (const bool overwrites : {false, true}) {
        const TestFolder folder;
        folder.Write("victim", "whole");
        std::filesystem::create_symlink("victim", folder.Path("p_000000.x"));
        ImageNames names(folder.Path("p"), overwrites);
        Place(names, 0, "image");
        EXPECT_EQ(folder.Read("victim"), "whole");
        EXPECT_EQ(std::filesystem::is_symlink(folder.Path("p_000000.x")), !overwrites);
    }
}

TEST(ImagePrefix, IsModelAndSerialNumberAsAFileMayBeCalled) {
    EXPECT_EQ(Prefixes({Camera("A/B 7", "1", "9", "p")}), (std::set<std::string>{"A_B_7_1"}));
}

TEST(ImagePrefix, HidesNoFile) {
    EXPECT_EQ(Prefixes({Camera(".x", "1", "9", "p"), Camera("../../x", "2", "8", "q"), Camera("", ".y", "7", "r")}),
              (std::set<std::string>{"_x_1", "_._.._x_2", "_.y"}));
}

TEST(ImagePrefix, TellsCamerasApartThatAreCalledAlike) {
    EXPECT_EQ(Prefixes({Camera("A B", "1", "98", "p"), Camera("A_B", "1", "99", "q")}),
              (std::set<std::string>{"A_B_1_98", "A_B_1_99"}));
    EXPECT_EQ(Prefixes({Camera("A", "1", "9", "p:1"), Camera("A", "1", "9", "p:2"), Camera("A", "2", "9", "p:3")}),
              (std::set<std::string>{"A_1_9_p_1", "A_1_9_p_2", "A_2"}));
}

} // namespace
