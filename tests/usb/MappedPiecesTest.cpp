#include "usb/libusb/MappedPieces.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

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

} // namespace
