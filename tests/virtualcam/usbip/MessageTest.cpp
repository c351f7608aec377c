// Records of USB/IP against bytes typed by hand.

#include <gtest/gtest.h>

#include "virtualcam/support/DeviceClient.h"
#include "virtualcam/usbip/Message.h"

namespace virtualcam::usbip {
namespace {

using test::Hex;
using test::ToHex;

template<std::size_t N>
std::array<std::uint8_t, N> Fixed(const std::string& digits) {
    const Bytes bytes = Hex(digits);
    std::array<std::uint8_t, N> fixed{};
    EXPECT_EQ(bytes.size(), N);
    std::copy_n(bytes.begin(), std::min(bytes.size(), N), fixed.begin());
    return fixed;
}

std::string Text(Header header) {
    return ToHex(Bytes(header.begin(), header.end()));
}

std::string Zeros(std::size_t bytes) {
    return std::string(2 * bytes, '0');
}

ExportedDevice Example() {
    ExportedDevice device;
    device.path = "/p";
    device.busId = "1-1";
    device.bus = 1;
    device.address = 2;
    device.speed = 5;
    device.vendor = 0x1209;
    device.product = 0x0001;
    device.release = 0x0100;
    device.device = {0xEF, 0x02, 0x01};
    device.configurationValue = 1;
    device.configurationCount = 1;
    device.interfaces = {{0xEF, 0x05, 0x00}, {0xEF, 0x05, 0x02}};
    return device;
}

const std::string kExampleRecord = "2F70" + Zeros(254) + "312D31" + Zeros(29) + // path, bus id
                                   "00000001 00000002 00000005"                 // bus, address, speed
                                   "1209 0001 0100"                             // vendor, product, release
                                   "EF 02 01 01 01 02"; // class, configuration, their number, interfaces

std::string WithoutBlanks(std::string text) {
    return ToHex(Hex(text));
}

TEST(UsbipMessage, DecodesTheOperationsOfTheProtocolVersionAndNoOther) {
    EXPECT_EQ(DecodeOperation(Fixed<8>("0111 8005 00000000")), Operation::ListRequest);
    EXPECT_EQ(DecodeOperation(Fixed<8>("0111 8003 00000000")), Operation::ImportRequest);
    EXPECT_EQ(DecodeOperation(Fixed<8>("0106 8005 00000000")), std::nullopt);
}

TEST(UsbipMessage, DecodesABusIdWithAndWithoutAZeroAtItsEnd) {
    EXPECT_EQ(DecodeBusId(Fixed<32>("312D33" + Zeros(29))), "1-3");
    EXPECT_EQ(DecodeBusId(Fixed<32>(ToHex(Bytes(32, 'x')))), std::string(32, 'x'));
}

TEST(UsbipMessage, EncodesAnImportReply) {
    EXPECT_EQ(ToHex(ImportReply(Example())), WithoutBlanks("0111 0003 00000000" + kExampleRecord));
    EXPECT_EQ(ImportReply(Example()).size(), 8u + 312u);
}

TEST(UsbipMessage, EncodesARefusalWithoutADevice) {
    EXPECT_EQ(ToHex(ImportRefusal(OperationStatus::NoDevice)), WithoutBlanks("0111 0003 00000004"));
}

TEST(UsbipMessage, EncodesAListWithTheInterfacesBehindEachDevice) {
    EXPECT_EQ(ToHex(ListReply({})), WithoutBlanks("0111 0005 00000000 00000000"));
    EXPECT_EQ(ToHex(ListReply({Example()})),
              WithoutBlanks("0111 0005 00000000 00000001" + kExampleRecord + "EF050000 EF050200"));
}

TEST(UsbipMessage, CutsTextsThatAreTooLongAndKeepsTheirZero) {
    ExportedDevice device = Example();
    device.path.assign(1000, 'p');
    device.busId.assign(1000, 'b');
    const Bytes reply = ImportReply(device);
    ASSERT_EQ(reply.size(), 320u);
    EXPECT_EQ(reply[8 + 254], 'p');
    EXPECT_EQ(reply[8 + 255], 0);
    EXPECT_EQ(reply[8 + 256 + 30], 'b');
    EXPECT_EQ(reply[8 + 256 + 31], 0);
}

TEST(UsbipMessage, DecodesASubmit) {
    const Command command = DecodeCommand(Fixed<48>("00000001 00000D05 00010002 00000001 00000003"
                                                    "00000200 00100000 00000000 FFFFFFFF 00000004"
                                                    "80 06 00 01 09 04 40 00"));
    EXPECT_EQ(command.code, CommandCode::Submit);
    EXPECT_EQ(command.number, 0xD05u);
    EXPECT_EQ(command.device, 0x00010002u);
    EXPECT_TRUE(command.in);
    EXPECT_EQ(command.endpoint, 3u);
    EXPECT_EQ(command.flags, 0x200u);
    EXPECT_EQ(command.length, 0x100000u);
    EXPECT_EQ(command.packets, 0xFFFFFFFFu);
    EXPECT_EQ(ToHex(Bytes(command.setup.begin(), command.setup.end())), "8006000109044000");
}

TEST(UsbipMessage, DecodesAnUnlink) {
    const Command command =
        DecodeCommand(Fixed<48>("00000002 00000D06 00010002 00000000 00000000 00000D05" + Zeros(24)));
    EXPECT_EQ(command.code, CommandCode::Unlink);
    EXPECT_EQ(command.number, 0xD06u);
    EXPECT_EQ(command.victim, 0xD05u);
}

TEST(UsbipMessage, EncodesReplies) {
    EXPECT_EQ(Text(SubmitReply(0xD05, 0, 0x12345)),
              WithoutBlanks("00000003 00000D05 00000000 00000000 00000000 00000000 00012345" + Zeros(20)));
    EXPECT_EQ(Text(SubmitReply(7, -32, 0)),
              WithoutBlanks("00000003 00000007 00000000 00000000 00000000 FFFFFFE0 00000000" + Zeros(20)));
    EXPECT_EQ(Text(UnlinkReply(8, -104)),
              WithoutBlanks("00000004 00000008 00000000 00000000 00000000 FFFFFF98" + Zeros(24)));
}

} // namespace
} // namespace virtualcam::usbip
