#include "TavixTL_USB/TavixUSB/stream/PixelType.h"

#include <gtest/gtest.h>

#include <ostream>
#include <set>

using Tavix::PixelTypeOf;

namespace {

struct Row {
    std::uint32_t format;
    std::uint32_t type;
};

void PrintTo(const Row& row, std::ostream* to) {
    *to << std::hex << "0x" << row.format;
}

constexpr std::uint32_t kUnchanged[] = {
    0x01080001, 0x01080002, 0x01080008, 0x01080009, 0x0108000A, 0x0108000B, 0x010A0046, 0x010C0047,
    0x010C0053, 0x010C0055, 0x010C0057, 0x010C0059, 0x01100003, 0x01100005, 0x01100007, 0x0110000C,
    0x0110000D, 0x0110000E, 0x0110000F, 0x01100010, 0x01100011, 0x01100012, 0x01100013, 0x0110002E,
    0x0110002F, 0x01100030, 0x01100031, 0x02180014, 0x02180015, 0x02180021, 0x02200016, 0x02200017,
    0x02300018, 0x02300019, 0x0230001A, 0x0230001B, 0x02300022, 0x02300023, 0x02300024, 0x02300033};

class UnchangedPixelFormat : public testing::TestWithParam<std::uint32_t> {};
TEST_P(UnchangedPixelFormat, IsItsOwnPixelType) {
    EXPECT_EQ(GetParam(), static_cast<std::uint32_t>(PixelTypeOf(GetParam())));
}
INSTANTIATE_TEST_SUITE_P(PixelType, UnchangedPixelFormat, testing::ValuesIn(kUnchanged));

class TranslatedPixelFormat : public testing::TestWithParam<Row> {};
TEST_P(TranslatedPixelFormat, HasTheSdksOlderCode) {
    EXPECT_EQ(GetParam().type, static_cast<std::uint32_t>(PixelTypeOf(GetParam().format)));
}
INSTANTIATE_TEST_SUITE_P(PixelType, TranslatedPixelFormat,
                         testing::Values(Row{0x01010037, 0x8101000C}, Row{0x01020038, 0x8102000D},
                                         Row{0x01040039, 0x8104000E}, Row{0x020C005A, 0x020C001E},
                                         Row{0x0210003B, 0x02100032}, Row{0x0218005B, 0x02180020}));

TEST(PixelType, IsUndefinedForEveryOtherFormat) {
    std::set<std::uint32_t> known(std::begin(kUnchanged), std::end(kUnchanged));
    known.insert({0x01010037, 0x01020038, 0x01040039, 0x020C005A, 0x0210003B, 0x0218005B});
    for (const std::uint32_t bits : {0x01010000u, 0x01080000u, 0x01100000u, 0x020C0000u, 0x02180000u, 0x02300000u}) {
        for (std::uint32_t low = 0; low < 0x200; ++low) {
            if (known.count(bits | low) == 0) {
                EXPECT_EQ(Tavix::PixelType_Undefined, PixelTypeOf(bits | low));
            }
        }
    }
    EXPECT_EQ(Tavix::PixelType_Undefined, PixelTypeOf(0));
    EXPECT_EQ(Tavix::PixelType_Undefined, PixelTypeOf(0xFFFFFFFF));
}

} // namespace
