#include <tavix/imaging/PixelFormat.h>
#include <tavix/imaging/PixelType.h>

#include <set>

#include <gtest/gtest.h>

using namespace Tavix::imaging;

namespace {

std::uint32_t CodeOf(PixelFormat format) {
    return static_cast<std::uint32_t>(format);
}

// Memory that a group of pixels takes by what its row says of packing and order; 0: nothing follows from them.
unsigned GroupBits(const PixelFormatInfo& row) {
    const unsigned components = static_cast<unsigned>(row.order.size());
    switch (row.packing) {
    case Packing::Dense:
        return components * row.bits;
    case Packing::Pairs:
        return components * 12;
    case Packing::LowBitsFirst:
    case Packing::Dense32:
        return 32;
    case Packing::Bits565:
        return 16;
    case Packing::Planar:
        return row.name.find("p_Planar") == std::string_view::npos ? components * ((row.bits + 7U) / 8 * 8)
                                                                   : components * row.bits;
    default:
        return components * ((row.bits + 7U) / 8 * 8);
    }
}

} // namespace

TEST(PixelFormat, IsFoundByCodeByNameAndBySdkType) {
    const PixelFormatInfo* info = FindPixelFormat(PixelFormat{0x010C0059});
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->format, PixelFormat::BayerRG12p);
    EXPECT_EQ(info->name, "BayerRG12p");
    EXPECT_EQ(info->bits, 12);
    EXPECT_EQ(info->BitsPerPixel(), 12u);
    EXPECT_EQ(info->Components(), 1u);
    EXPECT_EQ(info->packing, Packing::Dense);
    EXPECT_EQ(info->phase, BayerPhase::RG);
    EXPECT_EQ(FindPixelFormat("BayerRG12p"), info);
    EXPECT_EQ(FindPixelType(Tavix::PixelType_BayerRG12p), info);
}

TEST(PixelFormat, IsNullForWhatTheTableDoesNotHave) {
    for (const std::uint32_t code : {0x00000000u, 0x01080003u, 0x81080001u, 0xFFFFFFFFu})
        EXPECT_EQ(FindPixelFormat(PixelFormat{code}), nullptr) << code;
    for (const char* name : {"", "Mono", "mono8", "Mono8 ", "Mono88"})
        EXPECT_EQ(FindPixelFormat(name), nullptr) << name;
    EXPECT_EQ(FindPixelType(-1), nullptr) << "most rows have no type, and that is none of theirs";
    EXPECT_EQ(FindPixelType(0x010C0004), nullptr) << "a code that the SDK does not have";
}

TEST(PixelFormat, NamesWhatItDoesNotKnowByItsCode) {
    EXPECT_EQ(NameOf(PixelFormat::YCbCr422_8), "YCbCr422_8");
    EXPECT_EQ(NameOf(PixelFormat{0x8108ABCD}), "0x8108ABCD");
}

TEST(PixelFormat, TakesNoSizeFromAVendorsCode) {
    EXPECT_EQ(BitsPerPixel(PixelFormat{0x810C0001}), 0u);
    EXPECT_EQ(BitsPerPixel(PixelFormat{0x010C0001}), 12u);
}

TEST(PixelFormat, HasTheSdksOlderTypesWhereTheyDiffer) {
    EXPECT_EQ(static_cast<std::uint32_t>(Tavix::PixelType_Mono1p), 0x8101000Cu);
    EXPECT_EQ(Tavix::PixelType_YCbCr422_8, 0x02100032);
    EXPECT_EQ(Tavix::PixelType_YCbCr411_8, 0x020C001E);
    EXPECT_EQ(FindPixelType(0x02100032)->format, PixelFormat::YCbCr422_8);
}

TEST(PixelFormat, EveryRowAgreesWithTheBitsThatItsCodeStates) {
    for (const PixelFormatInfo& row : PixelFormats()) {
        SCOPED_TRACE(row.name);
        const unsigned pixels = row.model == ColourModel::None || row.name.substr(0, 7) == "BiColor"
                                    ? GroupBits(row) / row.BitsPerPixel()
                                    : row.PixelsPerGroup();
        EXPECT_EQ(GroupBits(row), row.BitsPerPixel() * pixels);
        EXPECT_EQ(row.Components() > 1, CodeOf(row.format) >> 24 == 2);
    }
}

TEST(PixelFormat, EveryRowIsFoundAgain) {
    std::set<std::string_view> names;
    for (const PixelFormatInfo& row : PixelFormats()) {
        EXPECT_EQ(FindPixelFormat(row.format), &row) << row.name;
        EXPECT_EQ(FindPixelFormat(row.name), &row);
        EXPECT_EQ(row.pixelType == -1, FindPixelType(row.pixelType) != &row) << row.name;
        EXPECT_EQ(row.model == ColourModel::Bayer, row.phase != BayerPhase::None) << row.name;
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
    }
    EXPECT_GE(names.size(), 242u);
}
