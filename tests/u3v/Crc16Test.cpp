#include "u3v/Crc16.h"

#include <gtest/gtest.h>

#include <random>
#include <string_view>
#include <vector>

namespace {

/// Bit by bit, as long division on paper.
std::uint16_t LongDivision(const std::uint8_t* data, std::size_t size) {
    std::uint32_t remainder = 0;
    const auto shiftIn = [&](unsigned int bit) {
        remainder = (remainder << 1) | bit;
        if (remainder & 0x10000) remainder ^= 0x11021;
    };
    for (std::size_t i = 0; i < size; ++i) {
        for (int bit = 7; bit >= 0; --bit)
            shiftIn((data[i] >> bit) & 1U);
    }
    for (int i = 0; i < 16; ++i)
        shiftIn(0);
    return static_cast<std::uint16_t>(remainder);
}

std::uint16_t OfText(std::uint16_t (*crc)(const std::uint8_t*, std::size_t), std::string_view text) {
    return crc(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

void ExpectAllEqual(const std::uint8_t* data, std::size_t size) {
    const std::uint16_t expected = u3v::Crc16ByteTable(data, size);
    EXPECT_EQ(u3v::Crc16Portable(data, size), expected) << size;
    EXPECT_EQ(u3v::Crc16(data, size), expected) << size;
    if (u3v::HasCarryLessMultiply()) {
        EXPECT_EQ(u3v::Crc16CarryLess(data, size), expected) << size;
    }
}

TEST(Crc16, OfTheNineDigitsIsTheCheckValue) {
    EXPECT_EQ(OfText(u3v::Crc16ByteTable, "123456789"), 0x31C3);
    EXPECT_EQ(OfText(u3v::Crc16Portable, "123456789"), 0x31C3);
    EXPECT_EQ(OfText(u3v::Crc16, "123456789"), 0x31C3);
}

TEST(Crc16, OfNothingIsZero) {
    EXPECT_EQ(u3v::Crc16(nullptr, 0), 0);
    EXPECT_EQ(u3v::Crc16Portable(nullptr, 0), 0);
}

TEST(Crc16, OfEveryByteAgreesWithLongDivision) {
    for (unsigned int i = 0; i < 256; ++i) {
        const std::uint8_t byte = static_cast<std::uint8_t>(i);
        EXPECT_EQ(u3v::Crc16ByteTable(&byte, 1), LongDivision(&byte, 1)) << i;
    }
}

TEST(Crc16, OfEveryPairOfBytesAgreesWithLongDivision) {
    for (unsigned int i = 0; i < 65536; ++i) {
        const std::uint8_t bytes[2] = {static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)};
        ASSERT_EQ(u3v::Crc16ByteTable(bytes, 2), LongDivision(bytes, 2)) << i;
    }
}

TEST(Crc16, AllWaysAgreeForEveryByteAndEveryPair) {
    for (unsigned int i = 0; i < 65536; ++i) {
        const std::uint8_t bytes[2] = {static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)};
        ExpectAllEqual(bytes, 1);
        ExpectAllEqual(bytes, 2);
    }
}

/// Each way only adds up, in the sense of exclusive or, what each bit contributes. So when the ways agree for every bit
/// of a size by itself, they agree for all messages of that size.
TEST(Crc16, AllWaysAgreeForEveryBitOfEverySizeUpToFourRoundsOfTheWidestWay) {
    std::vector<std::uint8_t> data(257, 0);
    for (std::size_t size = 1; size <= data.size(); ++size) {
        for (std::size_t bit = 0; bit < 8 * size; ++bit) {
            data[bit / 8] = static_cast<std::uint8_t>(1U << (bit % 8));
            const std::uint16_t expected = u3v::Crc16ByteTable(data.data(), size);
            ASSERT_EQ(u3v::Crc16Portable(data.data(), size), expected) << size << " " << bit;
            ASSERT_EQ(u3v::Crc16(data.data(), size), expected) << size << " " << bit;
            data[bit / 8] = 0;
        }
    }
}

TEST(Crc16, AllWaysAgreeForEverySmallSizeAndAlignment) {
    std::mt19937 random(1);
    std::vector<std::uint8_t> data(400);
    for (auto& byte : data)
        byte = static_cast<std::uint8_t>(random());
    for (std::size_t start = 0; start < 17; ++start) {
        for (std::size_t size = 0; size + start <= data.size(); ++size)
            ExpectAllEqual(&data[start], size);
    }
}

TEST(Crc16, AllWaysAgreeForASingleBitAnywhere) {
    std::vector<std::uint8_t> data(300, 0);
    for (std::size_t i = 0; i < data.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            data[i] = static_cast<std::uint8_t>(1 << bit);
            ExpectAllEqual(data.data(), data.size());
        }
        data[i] = 0;
    }
}

TEST(Crc16, AllWaysAgreeForLargeRandomInputs) {
    std::mt19937_64 random(2);
    for (int round = 0; round < 20; ++round) {
        std::vector<std::uint8_t> data(random() % 3000000 + 1);
        for (auto& byte : data)
            byte = static_cast<std::uint8_t>(random());
        ExpectAllEqual(data.data(), data.size());
    }
}

} // namespace
