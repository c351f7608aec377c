// Registers that show the same bytes, wherever their places come from.

#include "genapi/support/XmlMap.h"

#include <gtest/gtest.h>

namespace genapi_test {
namespace {

std::string Computed(const std::string& name, const std::string& place, const std::string& rest = kRegisterRest) {
    return "<IntReg Name='" + name + "'>" + place + rest + "</IntReg>";
}

const std::string kBase = Held("Base", "16") + Held("Selector", "2");
const std::string kAtBase = "<pAddress>Base</pAddress>";
const std::string kAtSelector = "<Address>8</Address><pIndex Offset='4'>Selector</pIndex>"; // 16, too

TEST(SharedBytes, OfAComputedPlaceAreDroppedAtAConstantOne) {
    XmlMap map(kBase + Computed("A", kAtBase) + Reg("B", "16"));
    EXPECT_EQ(map.Integer("B").GetValue(), 0);
    map.Integer("A").SetValue(7);
    EXPECT_EQ(map.Integer("B").GetValue(), 7);
}

TEST(SharedBytes, OfAConstantPlaceAreDroppedAtAComputedOne) {
    XmlMap map(kBase + Computed("A", kAtBase) + Reg("B", "16") + Reg("C", "100"));
    map.Integer("C").SetValue(1); // the index is there before A is read
    EXPECT_EQ(map.Integer("A").GetValue(), 0);
    map.Integer("B").SetValue(7);
    EXPECT_EQ(map.Integer("A").GetValue(), 7);
}

TEST(SharedBytes, OfPlacesThatAreComputedDifferentlyAreDropped) {
    XmlMap map(kBase + Computed("A", kAtBase) + Computed("B", kAtSelector));
    EXPECT_EQ(map.Integer("A").GetValue(), 0);
    map.Integer("B").SetValue(7);
    EXPECT_EQ(map.Integer("A").GetValue(), 7);
    map.Integer("A").SetValue(8);
    EXPECT_EQ(map.Integer("B").GetValue(), 8);
}

TEST(SharedBytes, OfAPartAreDroppedWhereTheyOverlap) {
    const std::string one = "<Length>1</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>";
    XmlMap map(kBase + Computed("Byte", "<Address>3</Address>" + kAtBase, one) + Reg("Word", "16") + Reg("Next", "20"));
    EXPECT_EQ(map.Integer("Word").GetValue(), 0);
    EXPECT_EQ(map.Integer("Next").GetValue(), 0);
    const int reads = map.port.reads;
    map.Integer("Byte").SetValue(1);
    EXPECT_EQ(map.Integer("Next").GetValue(), 0);
    EXPECT_EQ(map.port.reads, reads) << "the neighbour is not touched";
    EXPECT_NE(map.Integer("Word").GetValue(), 0);
}

TEST(SharedBytes, AreThoseOfThePlaceAsItIsNow) {
    XmlMap map(kBase + Computed("A", kAtSelector) + Reg("Far", "28") + Reg("Near", "16"));
    map.Integer("Far").SetValue(5);
    EXPECT_EQ(map.Integer("A").GetValue(), 0);
    map.Integer("Selector").SetValue(5);
    EXPECT_EQ(map.Integer("A").GetValue(), 5);
    map.Integer("Far").SetValue(6);
    EXPECT_EQ(map.Integer("A").GetValue(), 6);
    const int reads = map.port.reads;
    map.Integer("Near").SetValue(9);
    EXPECT_EQ(map.Integer("A").GetValue(), 6);
    EXPECT_EQ(map.port.reads, reads) << "it has left that place";
}

TEST(SharedBytes, OfTheOneThatStaysAreDroppedWhenItsNeighbourHasLeft) {
    const std::string eight = "<Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>";
    XmlMap map(kBase + Computed("Stays", kAtBase) + Computed("Leaves", kAtSelector) + Reg("Far", "28") +
               Computed("Both", "<Address>16</Address>", eight));
    map.Integer("Far").SetValue(5);
    EXPECT_EQ(map.Integer("Stays").GetValue(), 0);
    EXPECT_EQ(map.Integer("Leaves").GetValue(), 0);
    map.Integer("Selector").SetValue(5);
    EXPECT_EQ(map.Integer("Leaves").GetValue(), 5);
    map.Integer("Both").SetValue(7);
    EXPECT_EQ(map.Integer("Stays").GetValue(), 7);
}

TEST(SharedBytes, AreDroppedAtEachWriteHoweverManyShareThem) {
    for (const int count : {1, 15, 16, 17, 40}) {
        std::string nodes = Reg("Written", "16");
        for (int i = 0; i < count; ++i)
            nodes += Reg("R" + std::to_string(i), "16");
        XmlMap map(nodes);
        for (const int value : {7, 8, 9}) {
            map.Integer("Written").SetValue(value);
            for (int i = 0; i < count; ++i)
                ASSERT_EQ(map.Integer("R" + std::to_string(i)).GetValue(), value) << i << " of " << count;
        }
    }
}

TEST(SharedBytes, OfAComputedLengthAreDropped) {
    const std::string byLength = "<pLength>Length</pLength><AccessMode>RW</AccessMode><pPort>Device</pPort>";
    XmlMap map(Held("Length", "8") + Computed("Long", "<Address>12</Address>", byLength) + Reg("B", "16"));
    EXPECT_EQ(map.Integer("B").GetValue(), 0);
    map.Integer("Long").SetValue(int64_t{1} << 40);
    EXPECT_NE(map.Integer("B").GetValue(), 0);
}

TEST(SharedBytes, OfLongRegistersAreDroppedFromEndToEnd) {
    const std::string rest = "<Length>1000</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>";
    XmlMap map("<Register Name='Long'><Address>0</Address>" + rest + "</Register>" + kBase +
               Computed("A", "<Address>980</Address>" + kAtBase) +
               Computed("Beyond", "<Address>984</Address>" + kAtBase));
    auto& longOne = map.As<GenApi::IRegister>("Long");
    std::vector<uint8_t> bytes(1000);
    longOne.Get(bytes.data(), 1000);
    const int reads = map.port.reads;
    map.Integer("Beyond").SetValue(1);
    longOne.Get(bytes.data(), 1000);
    EXPECT_EQ(map.port.reads, reads);
    map.Integer("A").SetValue(1);
    longOne.Get(bytes.data(), 1000);
    EXPECT_EQ(map.port.reads, reads + 1);
}

TEST(SharedBytes, TellThoseWhoDependOnThem) {
    XmlMap map(kBase + Computed("A", kAtBase) + Reg("B", "16") + "<Integer Name='F'><pValue>B</pValue></Integer>");
    int calls = 0;
    GenApi::Register(&map.Node("F"), [&calls](GenApi::INode*) { ++calls; });
    map.Integer("A").SetValue(7);
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace genapi_test
