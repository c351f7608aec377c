#include "LoaderTesting.h"

#include <Base/GCException.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <zip.h>

#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace genapi::testkit {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

struct MemberText {
    std::string name;
    std::string text;
    int method = ZIP_CM_DEFLATE;
};

std::string Zip(const std::vector<MemberText>& members) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* const target = zip_source_buffer_create(nullptr, 0, 0, &error);
    zip_t* const archive = zip_open_from_source(target, ZIP_TRUNCATE, &error);
    zip_source_keep(target);
    for (const MemberText& member : members) {
        if (member.name.back() == '/') {
            zip_dir_add(archive, member.name.c_str(), 0);
            continue;
        }
        zip_source_t* const source = zip_source_buffer(archive, member.text.data(), member.text.size(), 0);
        const zip_int64_t index = zip_file_add(archive, member.name.c_str(), source, 0);
        zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), member.method, 9);
    }
    EXPECT_EQ(zip_close(archive), 0);
    zip_stat_t size;
    zip_stat_init(&size);
    zip_source_stat(target, &size);
    std::string bytes(size.size, '\0');
    zip_source_open(target);
    zip_source_read(target, bytes.data(), bytes.size());
    zip_source_close(target);
    zip_source_free(target);
    zip_error_fini(&error);
    return bytes;
}

std::string Unzip(const std::string& bytes) {
    return UnzipDescription(bytes.data(), bytes.size());
}

std::string UnzipError(const std::string& bytes) {
    try {
        static_cast<void>(Unzip(bytes));
    } catch (const GenICam::RuntimeException& error) {
        return error.GetDescription();
    }
    return "no error";
}

TEST(Unzip, GivesTheFirstMemberStoredOrDeflated) {
    const std::string text(100000, 'x');
    EXPECT_EQ(Unzip(Zip({{"a.xml", text, ZIP_CM_DEFLATE}, {"b.xml", "b"}})), text);
    EXPECT_EQ(Unzip(Zip({{"a.xml", text, ZIP_CM_STORE}, {"b.xml", "b"}})), text);
    EXPECT_EQ(Unzip(Zip({{"noextension", "n"}})), "n");
}

TEST(Unzip, PassesFolders) {
    EXPECT_EQ(Unzip(Zip({{"folder/", ""}, {"folder/a.xml", "text"}})), "text");
    EXPECT_THAT(UnzipError(Zip({{"folder/", ""}})), HasSubstr("holds no file"));
}

TEST(Unzip, ToleratesPaddingOfAnySize) {
    const std::string archive = Zip({{"a.xml", "text"}});
    for (const std::size_t size : {1, 3, 22, 1000, 65535, 65558, 300000}) {
        EXPECT_EQ(Unzip(archive + std::string(size, '\0')), "text") << size;
        EXPECT_EQ(Unzip(archive + std::string(size, 'P')), "text") << size;
    }
}

TEST(Unzip, RefusesEveryTruncation) {
    const std::string archive = Zip({{"a.xml", "text text text text"}});
    for (std::size_t size = 0; size < archive.size(); ++size) {
        EXPECT_NE(UnzipError(archive.substr(0, size)), "no error") << size;
    }
}

TEST(Unzip, RefusesDamagedData) {
    std::string archive = Zip({{"a.xml", "text text", ZIP_CM_STORE}});
    archive[archive.find("text")] = 'T';
    EXPECT_THAT(UnzipError(archive), HasSubstr("CRC"));
}

TEST(Unzip, RefusesWhatIsNoArchive) {
    EXPECT_THAT(UnzipError("<RegisterDescription/>"), HasSubstr("Cannot unzip the description"));
    EXPECT_THROW(static_cast<void>(UnzipDescription(nullptr, 5)), GenICam::RuntimeException);
}

TEST(Unzip, RefusesBombs) {
    const std::string archive = Zip({{"a.xml", std::string(kMaxDescriptionSize + 1, ' ')}});
    EXPECT_LT(archive.size(), 100000U);
    EXPECT_THAT(UnzipError(archive), HasSubstr("too large"));
}

// The directory's size may lie; what comes out counts.
TEST(Unzip, RefusesBombsThatClaimToBeSmall) {
    std::string archive = Zip({{"a.xml", std::string(kMaxDescriptionSize + 1, ' ')}});
    const std::size_t directory = archive.rfind("PK\1\2");
    ASSERT_NE(directory, std::string::npos);
    for (std::size_t i = 24; i < 28; ++i)
        archive[directory + i] = i == 24 ? 100 : 0;
    EXPECT_NE(UnzipError(archive), "no error");
}

TEST(Loader, UnpacksArchiveFiles) {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("tavix_unzip_test_" + std::to_string(::getpid()) + ".zip");
    std::ofstream(path, std::ios::binary) << Zip({{"a.xml", Wrap("<Integer Name='A'/>")}});
    EXPECT_THAT(Names(ParseDescriptionFile(path)), ElementsAre("A"));
    std::filesystem::remove(path);
}

} // namespace
} // namespace genapi::testkit
