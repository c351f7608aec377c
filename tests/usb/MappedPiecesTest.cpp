#include "usb/libusb/MappedPieces.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using usb::MapPieces;
using usb::UnmapPieces;

constexpr std::size_t kPiece = 64u << 10;

/// A file in memory, which maps each piece from its beginning.
class MappedPieces : public testing::Test {
protected:
    MappedPieces() : m_File(memfd_create("pieces", MFD_CLOEXEC)) { EXPECT_EQ(ftruncate(m_File, kPiece), 0); }
    ~MappedPieces() override { close(m_File); }

    const int m_File;
};

TEST_F(MappedPieces, LieOneBehindTheOther) {
    std::uint8_t* const memory = MapPieces(m_File, 2 * kPiece + 100, kPiece);
    ASSERT_NE(memory, nullptr);
    std::memset(memory, 1, 100);
    EXPECT_EQ(memory[kPiece + 99], 1) << "the second piece begins where the first one ends, with the file's first byte";
    EXPECT_EQ(memory[2 * kPiece + 99], 1);
    UnmapPieces(memory, 2 * kPiece + 100);
}

TEST_F(MappedPieces, AreAllThereOrNone) {
    EXPECT_EQ(MapPieces(-1, 3 * kPiece, kPiece), nullptr);
}

TEST_F(MappedPieces, HaveWholePages) {
    EXPECT_EQ(MapPieces(m_File, 3 * kPiece, kPiece + 1), nullptr);
    EXPECT_EQ(MapPieces(m_File, 3 * kPiece, 0), nullptr);
    EXPECT_EQ(MapPieces(m_File, 0, kPiece), nullptr);
    EXPECT_EQ(MapPieces(m_File, SIZE_MAX, kPiece), nullptr);
}

TEST_F(MappedPieces, LeaveNothingBehind) {
    std::uint8_t* const memory = MapPieces(m_File, 2 * kPiece, kPiece);
    ASSERT_NE(memory, nullptr);
    UnmapPieces(memory, 2 * kPiece);
    unsigned char resident = 0;
    for (std::size_t offset : {std::size_t(0), kPiece})
        EXPECT_EQ(mincore(memory + offset, 4096, &resident), -1);
}

/// How many bytes of this process's memory are that file.
std::size_t MappedBytes() {
    std::ifstream maps("/proc/self/maps");
    std::size_t bytes = 0;
    for (std::string line; std::getline(maps, line);) {
        if (line.find("/memfd:pieces") == std::string::npos) continue;
        char* end = nullptr;
        const auto first = std::strtoul(line.c_str(), &end, 16);
        bytes += std::strtoul(end + 1, nullptr, 16) - first;
    }
    return bytes;
}

TEST_F(MappedPieces, LeaveAloneWhatLiesBehindTheLastOne) {
    std::uint8_t* const memory = MapPieces(m_File, 2 * kPiece + 100, kPiece);
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(MappedBytes(), 2 * kPiece + static_cast<std::size_t>(sysconf(_SC_PAGESIZE)));
    UnmapPieces(memory, 2 * kPiece + 100);
    EXPECT_EQ(MappedBytes(), 0u);
}

std::size_t PagesOfAddresses() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages;
}

TEST_F(MappedPieces, GiveTheirPlaceBackWhereOneIsMissing) {
    constexpr std::size_t kMuch = std::size_t{16} << 30;
    const std::size_t before = PagesOfAddresses();
    EXPECT_EQ(MapPieces(-1, kMuch, kPiece), nullptr);
    EXPECT_LT(PagesOfAddresses(), before + (kMuch >> 1) / static_cast<std::size_t>(sysconf(_SC_PAGESIZE)));
}

} // namespace
