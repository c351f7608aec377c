// Registers of the longest and shortest lengths, at the edge of their neighbours.
#include "genapi/support/XmlMap.h"

#include <gtest/gtest.h>

namespace genapi_test {
namespace {

using Bytes = std::vector<uint8_t>;

std::string OfLength(const std::string& kind, const std::string& name, const std::string& place,
                     const std::string& length, const std::string& mode = "RW") {
    return "<" + kind + " Name='" + name + "'>" + place + "<Length>" + length + "</Length><AccessMode>" + mode +
           "</AccessMode><pPort>Device</pPort>";
}

TEST(Register, OfEightBytesIsReadFromTheCacheAsFromTheDevice) {
    XmlMap map(OfLength("IntReg", "R", "<Address>0</Address>", "8") + "</IntReg>");
    map.port.Put(0, {1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(map.Integer("R").GetValue(), 0x0807060504030201);
    EXPECT_EQ(map.Integer("R").GetValue(), 0x0807060504030201);
    EXPECT_EQ(map.port.reads, 1);
}

TEST(Register, GivesNoNegativeNumberOfBytes) {
    XmlMap map(OfLength("Register", "R", "<Address>0</Address>", "12") + "</Register>");
    uint8_t buffer[12] = {};
    auto& bytes = map.As<GenApi::IRegister>("R");
    EXPECT_THROW(bytes.Get(buffer, -1), GenICam::OutOfRangeException);
    EXPECT_NO_THROW(bytes.Get(buffer, 0));
}

TEST(Register, HasAtMost64MiB) {
    XmlMap map(OfLength("Register", "Most", "<Address>0</Address>", "0x4000000") + "</Register>" +
               OfLength("Register", "More", "<Address>0</Address>", "0x4000001") + "</Register>");
    EXPECT_EQ(map.As<GenApi::IRegister>("Most").GetLength(), 0x4000000);
    EXPECT_THROW(map.As<GenApi::IRegister>("More").GetLength(), GenICam::OutOfRangeException);
}

TEST(Register, TakesDigitsOfEitherCase) {
    XmlMap map(OfLength("Register", "R", "<Address>0</Address>", "4") + "</Register>");
    map.As<GenApi::IRegister>("R").FromString("0XaAfF0990");
    EXPECT_EQ(map.port.Get(0, 4), (Bytes{0xAA, 0xFF, 0x09, 0x90}));
}

TEST(SharedBytes, DoNotBeginBehindTheLastByte) {
    XmlMap map(Reg("First", "0") + Reg("Second", "4"));
    EXPECT_EQ(map.Integer("First").GetValue(), 0);
    const int reads = map.port.reads;
    map.Integer("Second").SetValue(1);
    EXPECT_EQ(map.Integer("First").GetValue(), 0);
    EXPECT_EQ(map.port.reads, reads);
}

TEST(SharedBytes, AreFoundInTheSecondOfTwoBytes) {
    XmlMap map(OfLength("IntReg", "Two", "<Address>15</Address>", "2") + "</IntReg>" +
               OfLength("IntReg", "One", "<Address>16</Address>", "1") + "</IntReg>");
    EXPECT_EQ(map.Integer("Two").GetValue(), 0);
    map.Integer("One").SetValue(1);
    EXPECT_EQ(map.Integer("Two").GetValue(), 0x100);
}

TEST(SharedBytes, AreThoseOfThePlaceThatIsWrittenNow) {
    XmlMap map(Held("Selector", "2") + Reg("Near", "8") + Reg("Far", "20") +
               "<IntReg Name='A'><pIndex Offset='4'>Selector</pIndex>" + kRegisterRest + "</IntReg>");
    map.Integer("A").SetValue(1);
    map.Integer("A").SetValue(2);
    EXPECT_EQ(map.Integer("Near").GetValue(), 2);
    EXPECT_EQ(map.Integer("Far").GetValue(), 0);
    map.Integer("Selector").SetValue(5);
    map.Integer("A").SetValue(3);
    EXPECT_EQ(map.Integer("Far").GetValue(), 3);
}

TEST(SharedBytes, OfAComputedPlaceKeepTheBitsThatAnotherNodeReads) {
    const std::string place = "<pAddress>Base</pAddress>";
    XmlMap map(Held("Base", "16") + OfLength("MaskedIntReg", "Start", place, "4", "WO") +
               "<Bit>31</Bit></MaskedIntReg>" + OfLength("MaskedIntReg", "Mode", place, "4") +
               "<LSB>0</LSB><MSB>7</MSB></MaskedIntReg>");
    map.port.Put(16, {0x12, 0x34, 0, 0});
    map.Integer("Start").SetValue(1);
    EXPECT_EQ(map.port.Get(16, 4), (Bytes{0x12, 0x34, 0, 0x80}));
}

} // namespace
} // namespace genapi_test
