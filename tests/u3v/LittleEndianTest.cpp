#include "u3v/LittleEndian.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace u3v;

constexpr std::array<std::uint8_t, 9> kBytes = {0x00, 0x11, 0x82, 0x33, 0xF4, 0x55, 0x66, 0x77, 0x88};

TEST(LittleEndian, LoadsFromAnyAddress) {
    EXPECT_EQ(Load16(kBytes.data() + 1), 0x8211);
    EXPECT_EQ(Load32(kBytes.data() + 1), 0xF4338211u);
    EXPECT_EQ(Load64(kBytes.data() + 1), 0x88776655F4338211u);
}

TEST(LittleEndian, StoresWhatItLoads) {
    std::array<std::uint8_t, 9> bytes{};
    Store64(bytes.data() + 1, 0x88776655F4338211u);
    EXPECT_EQ(bytes, kBytes);
    Store32(bytes.data(), 0x01020304);
    EXPECT_EQ(bytes[0], 0x04);
    EXPECT_EQ(bytes[3], 0x01);
    Store16(bytes.data(), 0xFFEE);
    EXPECT_EQ(bytes[0], 0xEE);
    EXPECT_EQ(bytes[1], 0xFF);
}

} // namespace
