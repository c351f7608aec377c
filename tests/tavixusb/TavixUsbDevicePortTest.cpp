#include "support/DeviceTest.h"

namespace {

class TavixUsbDevicePort : public DeviceTest {
protected:
    /// The only line since Open or Forget.
    void ExpectErrorLine(const char* text) {
        EXPECT_THAT(log.All(), testing::ElementsAre(LogLine{kDeviceLog, 256, text}));
    }
    void OpenQuietly() {
        Open();
        log.Forget();
    }

    unsigned char bytes[4] = {1, 2, 3, 4};
};

TEST_F(TavixUsbDevicePort, ReadsRegisters) {
    bus.memory[0x100] = 7;
    bus.memory[0x103] = 9;
    Open();
    device->Read(bytes, 0x100, 4);
    EXPECT_EQ(7, bytes[0]);
    EXPECT_EQ(9, bytes[3]);
}

TEST_F(TavixUsbDevicePort, WritesRegisters) {
    Open();
    device->Write(bytes, 0x100, 4);
    EXPECT_EQ(1, bus.memory[0x100]);
    EXPECT_EQ(4, bus.memory[0x103]);
}

TEST_F(TavixUsbDevicePort, RefusesToReadWhileClosedWithoutALine) {
    log.Forget();
    EXPECT_FAILURE(LogicalErrorException, "TavixUsbDevicePort.cpp", "Device not yet opened.",
                   device->Read(bytes, 0x100, 4));
    EXPECT_THAT(log.All(), testing::IsEmpty());
    EXPECT_EQ(0, bus.Count("Device.ReadMem"));
}

TEST_F(TavixUsbDevicePort, SpeaksOfReadingWhenItRefusesToWriteWhileClosed) {
    const char kText[] = "Device '1:2:3' not open when trying to read from address 0x100; length 4.";
    log.Forget();
    EXPECT_FAILURE(LogicalErrorException, "TavixUsbDevicePort.cpp", kText, device->Write(bytes, 0x100, 4));
    ExpectErrorLine(kText);
    EXPECT_EQ(0, bus.Count("Device.WriteMem"));
}

TEST_F(TavixUsbDevicePort, TellsWhyAReadFailed) {
    OpenQuietly();
    bus.FailNext("Device.ReadMem", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsbDevicePort.cpp",
                   "Read operation on device '1:2:3' failed: 'text E2000777'", device->Read(bytes, 0x100, 4));
    ExpectErrorLine("Read: Read operation on device '1:2:3' failed: 'text E2000777'");
}

TEST_F(TavixUsbDevicePort, RefusesAShortRead) {
    OpenQuietly();
    bus.shortReadBy = 1;
    EXPECT_FAILURE(RuntimeException, "TavixUsbDevicePort.cpp", "Read operation failed. Read 3 bytes instead of 4",
                   device->Read(bytes, 0x100, 4));
    ExpectErrorLine("Read: Couldn't read the requested number of bytes from device '1:2:3'. Requested: 4; read: 3");
}

TEST_F(TavixUsbDevicePort, TellsWhyAWriteFailed) {
    const char kText[] = "Write operation failed on device '1:2:3' at address: 0x100; length 4; Error: 'text E2000777'";
    OpenQuietly();
    bus.FailNext("Device.WriteMem", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsbDevicePort.cpp", kText, device->Write(bytes, 0x100, 4));
    ExpectErrorLine(kText);
}

TEST_F(TavixUsbDevicePort, ReachesTheWholeAddressSpace) {
    const char kText[] = "Write operation failed on device '1:2:3' at address: 0xfffffffffffffff0; length 4; "
                         "Error: 'text E2000777'";
    const auto address = static_cast<std::int64_t>(0xFFFF'FFFF'FFFF'FFF0);
    Open();
    device->Write(bytes, address, 4);
    EXPECT_EQ(3, bus.memory[0xFFFF'FFFF'FFFF'FFF2]);
    bus.FailNext("Device.WriteMem", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsbDevicePort.cpp", kText, device->Write(bytes, address, 4));
}

TEST_F(TavixUsbDevicePort, StaysUsableAfterAFailure) {
    Open();
    bus.FailNext("Device.ReadMem", kFailure);
    EXPECT_THROW(device->Read(bytes, 0x100, 4), GenICam::RuntimeException);
    EXPECT_NO_THROW(device->Read(bytes, 0x100, 4));
    EXPECT_TRUE(device->IsOpen());
}

TEST_F(TavixUsbDevicePort, ServesTheCameraNodeMap) {
    Load(CameraXml());
    Open();
    Feature("Width").SetValue(640);
    EXPECT_EQ(0x80, bus.memory[0x100]);
    EXPECT_EQ(0x02, bus.memory[0x101]);
    bus.memory[0x100] = 0x81;
    EXPECT_EQ(641, Feature("Width").GetValue());
}

TEST_F(TavixUsbDevicePort, LeavesFeaturesUnavailableWhileClosed) {
    Load(CameraXml());
    EXPECT_FALSE(GenApi::IsReadable(Feature("Width").GetAccessMode()));
}

} // namespace
