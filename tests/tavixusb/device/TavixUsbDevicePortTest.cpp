#include "TavixTL_USB/TavixUSB/event/TavixUsbEventGrabber.h"
#include "TavixTL_USB/TavixUSB/stream/TavixUsbStream.h"

#include "tavixusb/support/Description.h"
#include "tavixusb/support/DeviceFixture.h"

namespace {

class TavixUsbDevicePort : public DeviceFixture {
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

TEST_F(TavixUsbDevicePort, TellsByTheLastStatusWhetherTheCameraIsStillThere) {
    const auto* presence = dynamic_cast<const Tavix::IDevicePresence*>(device);
    ASSERT_NE(nullptr, presence);
    Open();
    EXPECT_EQ(Tavix::DevicePresence::There, presence->Presence());
    bus.answers[vexlo::CVxDevice::Property_LastErrorStatus] = bus.Number(vexlo::VX_E_TIMEOUT, 4);
    EXPECT_EQ(Tavix::DevicePresence::There, presence->Presence()) << "it may answer again";
    bus.answers[vexlo::CVxDevice::Property_LastErrorStatus] = bus.Number(vexlo::VX_E_USB_NO_DEVICE, 4);
    EXPECT_EQ(Tavix::DevicePresence::Gone, presence->Presence());
    EXPECT_EQ(Tavix::DevicePresence::Gone, presence->PresenceBy(vexlo::VX_E_USB_NO_DEVICE));
    EXPECT_EQ(Tavix::DevicePresence::There, presence->PresenceBy(vexlo::VX_E_USB_IO));
}

TEST_F(TavixUsbDevicePort, TellsByTheKindOfFailureThatACameraIsSilentOrGone) {
    const auto presenceOf = [this](vexlo::VxStatus status) {
        bus.Script("Device.Open", std::vector<vexlo::VxStatus>(9, status));
        try {
            Open();
        } catch (const Tavix::PresenceException& e) {
            return e.Presence();
        } catch (const GenICam::RuntimeException&) {
            return Tavix::DevicePresence::There;
        }
        throw std::logic_error("no failure");
    };
    EXPECT_EQ(Tavix::DevicePresence::Silent, presenceOf(vexlo::VX_E_TIMEOUT));
    EXPECT_EQ(Tavix::DevicePresence::Gone, presenceOf(vexlo::VX_E_USB_NO_DEVICE));
    EXPECT_EQ(Tavix::DevicePresence::There, presenceOf(vexlo::VX_E_BUSY));
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

/// A plain register, a command in a register of its own, and one whose register's address is a register's value.
std::string DoubtfulXml() {
    return support::Description(
        "<Category Name=\"Root\"><pFeature>Plain</pFeature><pFeature>Fire</pFeature><pFeature>Far</pFeature></Category>"
        "<IntReg Name=\"Plain\"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>"
        "<Command Name=\"Fire\"><pValue>FireBit</pValue><CommandValue>1</CommandValue></Command>"
        "<MaskedIntReg Name=\"FireBit\"><Address>0x200</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><LSB>0</LSB><MSB>0</MSB><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>"
        "</MaskedIntReg>"
        "<Command Name=\"Far\"><pValue>FarTwice</pValue><CommandValue>1</CommandValue></Command>"
        "<IntConverter Name=\"FarTwice\"><FormulaTo>FROM * 2</FormulaTo><FormulaFrom>TO / 2</FormulaFrom>"
        "<pValue>FarReg</pValue></IntConverter>"
        "<IntReg Name=\"FarReg\"><pAddress>Place</pAddress><Length>4</Length><AccessMode>WO</AccessMode>"
        "<pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>"
        "<IntReg Name=\"Place\"><Address>0x300</Address><Length>4</Length><AccessMode>RO</AccessMode>"
        "<pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>"
        "<Port Name=\"Device\"/>");
}

class WriteInDoubt : public TavixUsbDevicePort {
protected:
    WriteInDoubt() {
        bus.memory[0x301] = 0x04; // Far writes to 0x400
        Load(DoubtfulXml());
        OpenQuietly();
        bus.inDoubt = vexlo::VX_E_TIMEOUT;
        bus.FailNext("Device.WriteMem", vexlo::VX_E_TIMEOUT);
    }
    void ExpectLost(const char* command, const char* address) {
        const std::string text = std::string("Write operation failed on device '1:2:3' at address: ") + address +
                                 "; length 4; Error: 'text E2020002'";
        EXPECT_FAILURE(RuntimeException, "TavixUsbDevicePort.cpp", text.c_str(),
                       GenApi::CCommandPtr(device->GetNodeMap()->GetNode(command))->Execute());
        EXPECT_EQ(0, bus.Count("Device.RewriteMem"));
    }
};

TEST_F(WriteInDoubt, IsSettledForAPlainRegister) {
    EXPECT_NO_THROW(Feature("Plain").SetValue(0x11));
    EXPECT_EQ(0x11, bus.memory[0x100]);
    EXPECT_EQ(1, bus.Count("Device.RewriteMem"));
}

TEST_F(WriteInDoubt, IsNotSettledByForce) {
    bus.FailNext("Device.RewriteMem", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsbDevicePort.cpp",
                   "Write operation failed on device '1:2:3' at address: 0x100; length 4; Error: 'text E2000777'",
                   Feature("Plain").SetValue(0x11));
}

TEST_F(WriteInDoubt, IsNeverRepeatedForACommand) {
    ExpectLost("Fire", "0x200");
}

TEST_F(WriteInDoubt, IsNeverRepeatedForACommandBehindAFormulaAndAComputedAddress) {
    ExpectLost("Far", "0x400");
}

TEST_F(WriteInDoubt, IsNeverRepeatedWhereACommandIsOneOfTheBytes) {
    EXPECT_THROW(device->Write(bytes, 0x1FD, 4), GenICam::RuntimeException);
    EXPECT_EQ(0, bus.Count("Device.RewriteMem"));
    bus.FailNext("Device.WriteMem", vexlo::VX_E_TIMEOUT);
    EXPECT_NO_THROW(device->Write(bytes, 0x1FC, 4)) << "ends before it";
    bus.FailNext("Device.WriteMem", vexlo::VX_E_TIMEOUT);
    EXPECT_NO_THROW(device->Write(bytes, 0x204, 4)) << "begins behind it";
}

TEST_F(WriteInDoubt, IsReportedAsItIsByARefusal) {
    bus.Script("Device.WriteMem", {kFailure});
    EXPECT_THROW(Feature("Plain").SetValue(0x11), GenICam::RuntimeException);
    EXPECT_EQ(0, bus.Count("Device.RewriteMem"));
}

TEST_F(WriteInDoubt, IsNotRepeatedWhileNobodyKnowsWhereACommandIs) {
    bus.FailNext("Device.ReadMem", kFailure); // Far's address
    EXPECT_FAILURE(RuntimeException, "TavixUsbDevicePort.cpp",
                   "Write operation failed on device '1:2:3' at address: 0x100; length 4; Error: 'text E200000C'",
                   device->Write(bytes, 0x100, 4));
    EXPECT_EQ(0, bus.Count("Device.RewriteMem"));
}

TEST_F(WriteInDoubt, IsToldOfACommandAlsoWhileNobodyKnowsWhereAnotherIs) {
    bus.FailNext("Device.ReadMem", kFailure); // Far's address
    EXPECT_FAILURE(RuntimeException, "TavixUsbDevicePort.cpp",
                   "Write operation failed on device '1:2:3' at address: 0x200; length 4; Error: 'text E2020002'",
                   device->Write(bytes, 0x200, 4));
    EXPECT_EQ(0, bus.Count("Device.RewriteMem"));
}

TEST_F(WriteInDoubt, IsNotRepeatedOnADeviceThatIsClosedMeanwhile) {
    // A close within an access asks for what stands before the node map in the order of locks; held here in that order.
    auto& stream = dynamic_cast<Tavix::CTavixUsbStream&>(*device->GetStreamGrabber(0));
    auto& events = dynamic_cast<Tavix::CTavixUsbEventGrabber&>(*device->GetEventGrabber());
    const boost::unique_lock<boost::recursive_mutex> streamLock(stream.GetLock()), eventsLock(events.GetLock());
    bus.onCall = [this](const std::string& call) {
        if (call == "Device.ReadMem" && device->IsOpen()) device->Close();
    };
    EXPECT_THROW(device->Write(bytes, 0x100, 4), GenICam::RuntimeException);
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(0, bus.Count("Device.RewriteMem"));
}

TEST_F(WriteInDoubt, IsNotRepeatedWithoutADescriptionOfTheCommands) {
    Destroy();
    Make();
    Open();
    EXPECT_FAILURE(RuntimeException, "TavixUsbDevicePort.cpp",
                   "Write operation failed on device '1:2:3' at address: 0x100; length 4; Error: 'text E200000C'",
                   device->Write(bytes, 0x100, 4));
    EXPECT_EQ(0, bus.Count("Device.RewriteMem"));
}

} // namespace
