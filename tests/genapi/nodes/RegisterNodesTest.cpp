// Registers: bytes to values and back, addresses, caches.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>

using namespace GenApi;
using genapi_test::Property;
using genapi_test::TestMap;

namespace {

using Bytes = std::vector<uint8_t>;

struct FieldRow {
    Bytes bytes;
    const char* byteOrder;
    const char* lsb;
    const char* msb;
    int64_t unsignedValue;
    int64_t signedValue;
};

void PrintTo(const FieldRow& row, std::ostream* to) {
    *to << row.byteOrder << " " << row.lsb << " to " << row.msb;
}

class BitFields : public testing::TestWithParam<FieldRow> {};

TestMap& AddField(TestMap& map, const char* name, const FieldRow& row, const char* sign) {
    return map.AddRegister("MaskedIntReg", name, "0x10",
                           {{"Length", std::to_string(row.bytes.size()), ""},
                            {"LSB", row.lsb, ""},
                            {"MSB", row.msb, ""},
                            {"Sign", sign, ""},
                            {"Endianess", row.byteOrder, ""}}); // sic
}

} // namespace

TEST_P(BitFields, ReadAsTheirByteOrderCountsBits) {
    const FieldRow& row = GetParam();
    TestMap map;
    AddField(map, "U", row, "Unsigned");
    AddField(map, "S", row, "Signed").Ready();
    map.port.Put(0x10, row.bytes);
    EXPECT_EQ(map.Integer("U").GetValue(), row.unsignedValue);
    EXPECT_EQ(map.Integer("S").GetValue(), row.signedValue);
}

INSTANTIATE_TEST_SUITE_P(Rows, BitFields,
                         testing::Values(FieldRow{{0x12, 0x34, 0x56, 0x78}, "BigEndian", "31", "28", 8, -8},
                                         FieldRow{{0x12, 0x34, 0x56, 0x78}, "BigEndian", "28", "31", 8, -8},
                                         FieldRow{{0x12, 0x34, 0x56, 0x78}, "BigEndian", "7", "0", 0x12, 0x12},
                                         FieldRow{{0x12, 0x34, 0x56, 0x78}, "BigEndian", "15", "8", 0x34, 0x34},
                                         FieldRow{{0x12, 0x34, 0x56, 0x78}, "BigEndian", "3", "3", 1, -1},
                                         FieldRow{{0x78, 0x56, 0x34, 0x12}, "LittleEndian", "0", "3", 8, -8},
                                         FieldRow{{0x78, 0x56, 0x34, 0x12}, "LittleEndian", "24", "31", 0x12, 0x12},
                                         FieldRow{{0x78, 0x56, 0x34, 0x12}, "LittleEndian", "2", "2", 0, 0},
                                         FieldRow{{0xAB, 0xCD}, "BigEndian", "7", "4", 11, -5}));

TEST(MaskedIntReg, ChangesItsBitsOnly) {
    TestMap map;
    AddField(map, "F", {{0, 0}, "BigEndian", "7", "4", 0, 0}, "Unsigned").Ready();
    map.port.Put(0x10, {0xAB, 0xCD});
    map.Integer("F").SetValue(3);
    EXPECT_EQ(map.port.Get(0x10, 2), (Bytes{0xA3, 0xCD}));
}

TEST(MaskedIntReg, AcceptsASingleBit) {
    TestMap map;
    map.AddRegister("MaskedIntReg", "B", "0", {{"Bit", "2", ""}}).Ready();
    map.Integer("B").SetValue(1);
    EXPECT_EQ(map.port.Get(0, 1), Bytes{4});
    EXPECT_EQ(map.Integer("B").GetMax(), 1);
}

TEST(MaskedIntReg, ReadsTheRegisterAnewBeforeItChangesBits) {
    TestMap map;
    map.AddRegister("MaskedIntReg", "Low", "0", {{"LSB", "0", ""}, {"MSB", "7", ""}});
    map.AddRegister("MaskedIntReg", "High", "0", {{"LSB", "8", ""}, {"MSB", "15", ""}}).Ready();
    EXPECT_EQ(map.Integer("Low").GetValue(), 0);
    map.port.Put(0, {0, 0, 0x77, 0});
    map.Integer("High").SetValue(5);
    map.Integer("Low").SetValue(3);
    EXPECT_EQ(map.port.Get(0, 4), (Bytes{3, 5, 0x77, 0}));
    EXPECT_EQ(map.Integer("High").GetValue(), 5);
}

TEST(MaskedIntReg, RefusesBitsOutsideOfTheRegisterWithoutReadingIt) {
    TestMap map;
    map.AddRegister("MaskedIntReg", "F", "0", {{"LSB", "0", ""}, {"MSB", "32", ""}}).Ready();
    EXPECT_THROW(map.Integer("F").GetValue(), GenICam::OutOfRangeException);
    EXPECT_EQ(map.port.reads, 0);
}

TEST(MaskedIntReg, KeepsTheOtherBitsOfAWriteOnlyRegisterAsItWroteThem) {
    TestMap map;
    map.AddRegister("MaskedIntReg", "Low", "0", {{"LSB", "0", ""}, {"MSB", "7", ""}, {"AccessMode", "WO", ""}});
    map.AddRegister("MaskedIntReg", "High", "0", {{"LSB", "8", ""}, {"MSB", "15", ""}, {"AccessMode", "WO", ""}});
    map.Ready();
    map.Integer("Low").SetValue(1);
    map.Integer("High").SetValue(2);
    EXPECT_EQ(map.port.Get(0, 4), (Bytes{1, 2, 0, 0}));
    EXPECT_EQ(map.port.reads, 0);
}

TEST(MaskedIntReg, KeepsTheBitsOfReadableNeighboursWhenItsOwnAreWriteOnly) {
    TestMap map;
    map.AddRegister("MaskedIntReg", "Start", "0", {{"Bit", "31", ""}, {"AccessMode", "WO", ""}});
    map.AddRegister("MaskedIntReg", "Mode", "0", {{"LSB", "0", ""}, {"MSB", "7", ""}});
    map.Ready();
    map.port.Put(0, {0x12, 0x34, 0, 0});
    map.Integer("Start").SetValue(1);
    EXPECT_EQ(map.port.Get(0, 4), (Bytes{0x12, 0x34, 0, 0x80}));
}

TEST(IntReg, ExtendsTheSignOfItsWidth) {
    TestMap map;
    map.AddRegister("IntReg", "U4", "0", {{"Sign", "Unsigned", ""}});
    map.AddRegister("IntReg", "S4", "0", {{"Sign", "Signed", ""}});
    map.AddRegister("IntReg", "U3", "8", {{"Length", "3", ""}});
    map.AddRegister("IntReg", "S3", "8", {{"Length", "3", ""}, {"Sign", "Signed", ""}}).Ready();
    map.port.Put(0, {0xFF, 0xFF, 0xFF, 0xFF});
    map.port.Put(8, {0x01, 0x00, 0x80});
    EXPECT_EQ(map.Integer("U4").GetValue(), 4294967295);
    EXPECT_EQ(map.Integer("S4").GetValue(), -1);
    EXPECT_EQ(map.Integer("U3").GetValue(), 8388609);
    EXPECT_EQ(map.Integer("S3").GetValue(), -8388607);
}

TEST(IntReg, TakesItsLimitsFromItsWidth) {
    TestMap map;
    map.AddRegister("IntReg", "U8", "0", {{"Length", "8", ""}});
    map.AddRegister("IntReg", "S1", "8", {{"Length", "1", ""}, {"Sign", "Signed", ""}});
    map.AddRegister("MaskedIntReg", "Bit", "9", {{"Bit", "0", ""}, {"Sign", "Signed", ""}}).Ready();
    EXPECT_EQ(map.Integer("U8").GetMin(), 0);
    EXPECT_EQ(map.Integer("U8").GetMax(), INT64_MAX);
    EXPECT_EQ(map.Integer("S1").GetMin(), -128);
    EXPECT_EQ(map.Integer("S1").GetMax(), 127);
    EXPECT_EQ(map.Integer("Bit").GetMin(), -1);
    EXPECT_EQ(map.Integer("Bit").GetMax(), 0);
    EXPECT_THROW(map.Integer("S1").SetValue(128), GenICam::OutOfRangeException);
    map.Integer("S1").SetValue(0x1FF, /*Verify=*/false);
    EXPECT_EQ(map.port.Get(8, 1), Bytes{0xFF});
}

TEST(IntReg, RefusesALengthThatIsNone) {
    TestMap map;
    map.Add("Integer", "L", {{"Value", "0", ""}});
    map.Add("IntReg", "R", {{"pPort", "Device", ""}, {"Address", "0", ""}, {"pLength", "L", ""}}).Ready();
    EXPECT_THROW(map.Integer("R").GetValue(), GenICam::OutOfRangeException);
    map.Integer("L").SetValue(INT64_MAX);
    EXPECT_THROW(map.Integer("R").GetValue(), GenICam::OutOfRangeException);
    map.Integer("L").SetValue(2);
    map.port.Put(0, {1, 2, 3});
    EXPECT_EQ(map.Integer("R").GetValue(), 0x201);
}

TEST(Address, IsTheSumOfAllItsTerms) {
    TestMap map;
    for (const auto& [name, value] : {std::pair("A", "5"), std::pair("B", "3"), std::pair("C", "2")}) {
        map.Add("Integer", name, {{"Value", value, ""}});
    }
    map.Add("Integer", "Offset", {{"Value", "10000", ""}});
    map.AddRegister("IntReg", "R", "100",
                    {{"Address", "20", ""}, {"pIndex", "A", "1000"}, {"pIndex", "B", "Offset"}, {"pIndex", "C", ""}});
    map.Ready();
    EXPECT_EQ(map.As<IRegister>("R").GetAddress(), 35128);
    map.Integer("R").GetValue();
    EXPECT_EQ(map.port.lastAddress, 35128);
}

TEST(Address, BelongsToTheCache) {
    TestMap map;
    map.Add("Integer", "Selector", {{"Value", "0", ""}});
    map.AddRegister("IntReg", "R", "0", {{"pIndex", "Selector", "8"}}).Ready();
    map.port.Put(0, {1});
    map.port.Put(8, {2});
    EXPECT_EQ(map.Integer("R").GetValue(), 1);
    map.Integer("Selector").SetValue(1);
    EXPECT_EQ(map.Integer("R").GetValue(), 2);
    EXPECT_EQ(map.port.reads, 2);
}

TEST(FloatReg, HoldsSinglesAndDoublesInEitherOrder) {
    TestMap map;
    map.AddRegister("FloatReg", "F", "0", {{"Endianess", "BigEndian", ""}}); // sic
    map.AddRegister("FloatReg", "D", "8", {{"Length", "8", ""}, {"Cachable", "NoCache", ""}});
    map.AddRegister("FloatReg", "Bad", "16", {{"Length", "2", ""}}).Ready();
    map.Float("F").SetValue(1.5);
    EXPECT_EQ(map.port.Get(0, 4), (Bytes{0x3F, 0xC0, 0, 0}));
    map.Float("D").SetValue(-0.1);
    EXPECT_EQ(map.Float("D").GetValue(), -0.1);
    EXPECT_THROW(map.Float("Bad").GetValue(), GenICam::OutOfRangeException);
    EXPECT_THROW(map.Float("D").SetValue(std::nan("")), GenICam::OutOfRangeException);
    EXPECT_THROW(map.Float("F").SetValue(1e39), GenICam::OutOfRangeException);
    EXPECT_FALSE(map.Float("F").HasInc());
    EXPECT_THROW(map.Float("F").GetInc(), GenICam::LogicalErrorException);
}

TEST(StringReg, PadsWithZerosAndRefusesWhatDoesNotFit) {
    TestMap map;
    map.AddRegister("StringReg", "S", "0").Ready();
    IString& text = map.As<IString>("S");
    EXPECT_EQ(text.GetMaxLength(), 4);
    text.SetValue("Test");
    EXPECT_EQ(text.GetValue(false, true), "Test");
    EXPECT_THROW(text.SetValue("TotoTata"), GenICam::OutOfRangeException);
    text.SetValue("ab");
    EXPECT_EQ(map.port.Get(0, 4), (Bytes{'a', 'b', 0, 0}));
    text.SetValue("TotoTata", /*Verify=*/false);
    EXPECT_EQ(text.GetValue(), "Toto");
}

TEST(Register, GivesItsFirstBytesAndTakesAllOfThem) {
    TestMap map;
    map.AddRegister("Register", "R", "0", {{"Length", "12", ""}}).Ready();
    IRegister& bytes = map.As<IRegister>("R");
    map.port.Put(0, {1, 2, 3});
    uint8_t buffer[16] = {};
    bytes.Get(buffer, 2);
    EXPECT_EQ(buffer[1], 2);
    EXPECT_EQ(buffer[2], 0);
    EXPECT_EQ(map.port.lastLength, 12);
    EXPECT_THROW(bytes.Get(buffer, 13), GenICam::OutOfRangeException);
    EXPECT_THROW(bytes.Set(buffer, 11), GenICam::OutOfRangeException);
    bytes.Set(buffer, 12);
    EXPECT_EQ(map.Value("R").ToString(), "0x010200000000000000000000");
    EXPECT_THROW(map.Value("R").FromString("0x01"), GenICam::InvalidArgumentException);
    map.Value("R").FromString("FF0000000000000000000001");
    EXPECT_EQ(map.port.Get(11, 1), Bytes{1});
}

TEST(Register, ShowsTheBytesOfAnIntegerRegister) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0", {{"Endianess", "BigEndian", ""}}).Ready(); // sic
    map.Integer("R").SetValue(0x01020304);
    uint8_t buffer[4];
    map.As<IRegister>("R").Get(buffer, 4);
    EXPECT_EQ(buffer[0], 1);
    EXPECT_EQ(map.As<IRegister>("R").GetLength(), 4);
}

TEST(Cache, WriteThroughKeepsWhatWasReadAndWritten) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0").Ready();
    map.Integer("R").GetValue();
    map.Integer("R").GetValue();
    EXPECT_EQ(map.port.reads, 1);
    map.Integer("R").SetValue(7);
    EXPECT_TRUE(map.Value("R").IsValueCacheValid());
    EXPECT_EQ(map.Integer("R").GetValue(), 7);
    EXPECT_EQ(map.port.reads, 1);
    EXPECT_EQ(map.Integer("R").GetValue(false, /*IgnoreCache=*/true), 7);
    EXPECT_EQ(map.port.reads, 2);
    map.Integer("R").GetValue();
    EXPECT_EQ(map.port.reads, 2);
}

TEST(Cache, WriteAroundReadsAgainAfterAWrite) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0", {{"Cachable", "WriteAround", ""}}).Ready();
    map.Integer("R").SetValue(7);
    EXPECT_FALSE(map.Value("R").IsValueCacheValid());
    map.Integer("R").GetValue();
    map.Integer("R").GetValue();
    EXPECT_EQ(map.port.reads, 1);
}

TEST(Cache, NoCacheAlwaysReads) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0", {{"Cachable", "NoCache", ""}}).Ready();
    map.Integer("R").GetValue();
    map.Integer("R").GetValue();
    EXPECT_EQ(map.port.reads, 2);
    EXPECT_FALSE(map.Node("R").IsCachable());
    EXPECT_FALSE(map.Value("R").IsValueCacheValid());
}

TEST(Cache, IsDroppedWhenAWriteFails) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0").Ready();
    map.port.Put(0, {9});
    map.Integer("R").GetValue();
    map.port.failure = "cable";
    EXPECT_THROW(map.Integer("R").SetValue(1), GenICam::RuntimeException);
    map.port.failure.clear();
    EXPECT_EQ(map.Integer("R").GetValue(), 9);
    EXPECT_EQ(map.port.reads, 2);
}

TEST(Cache, IsDroppedWhenAnotherNodeWritesTheSameBytes) {
    TestMap map;
    map.AddRegister("IntReg", "Word", "4");
    map.AddRegister("IntReg", "Byte", "6", {{"Length", "1", ""}});
    map.AddRegister("Register", "Block", "0", {{"Length", "200", ""}});
    map.AddRegister("IntReg", "Far", "300").Ready();
    map.Integer("Word").GetValue();
    map.Integer("Far").GetValue();
    uint8_t all[200];
    map.As<IRegister>("Block").Get(all, 200);
    map.Integer("Byte").SetValue(1);
    EXPECT_EQ(map.Integer("Word").GetValue(), 0x10000);
    map.As<IRegister>("Block").Get(all, 200);
    EXPECT_EQ(all[6], 1);
    const int reads = map.port.reads;
    map.Integer("Far").GetValue();
    EXPECT_EQ(map.port.reads, reads);
}
