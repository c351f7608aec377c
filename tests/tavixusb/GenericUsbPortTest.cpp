#include "TavixTL_USB/TavixUSB/GenericUsbPort.h"

#include "support/Camera.h"
#include "support/Expect.h"
#include "support/LogLines.h"

namespace {

template<class T>
struct Access;

template<>
struct Access<vexlo::CVxDevice> {
    static constexpr char kName[] = "Device";
    static constexpr char kGet[] = "Device.GetProperty";
    static constexpr char kSet[] = "Device.SetProperty";
    static vexlo::CVxDevice* Of(vexlo::CVxDevice* device) { return device; }
    static FakeVexlo::Properties& Properties() { return FakeVexlo::Get().deviceProperties; }
};
template<>
struct Access<vexlo::CVxStream> {
    static constexpr char kName[] = "Stream";
    static constexpr char kGet[] = "Stream.GetProperty";
    static constexpr char kSet[] = "Stream.SetProperty";
    static vexlo::CVxStream* Of(vexlo::CVxDevice* device) {
        vexlo::CVxStream* stream = nullptr;
        EXPECT_EQ(0u, device->GetStream(&stream));
        return stream;
    }
    static FakeVexlo::Properties& Properties() { return FakeVexlo::Get().streamProperties; }
};
template<>
struct Access<vexlo::CVxEventStream> {
    static constexpr char kName[] = "Events";
    static constexpr char kGet[] = "Events.GetProperty";
    static constexpr char kSet[] = "Events.SetProperty";
    static vexlo::CVxEventStream* Of(vexlo::CVxDevice* device) {
        vexlo::CVxEventStream* stream = nullptr;
        EXPECT_EQ(0u, device->GetEventStream(&stream));
        return stream;
    }
    static FakeVexlo::Properties& Properties() { return FakeVexlo::Get().eventProperties; }
};

template<class T>
class GenericUsbPort : public testing::Test {
protected:
    GenericUsbPort() {
        bus.Reset();
        m_pDevice = vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb);
    }
    ~GenericUsbPort() override {
        EXPECT_THAT(log.All(), testing::IsEmpty()); // its failures are told by whoever uses it
        vexlo::CVxDevice::DestroyDevice(m_pDevice);
    }

    FakeVexlo& bus = FakeVexlo::Get();
    LogLines log;
    vexlo::CVxDevice* m_pDevice;
    Tavix::CGenericUsbPort<T> port;
    unsigned char bytes[4] = {1, 2, 3, 4};
};

struct ObjectNames {
    template<class T>
    static std::string GetName(int) {
        return Access<T>::kName;
    }
};

using Objects = testing::Types<vexlo::CVxDevice, vexlo::CVxStream, vexlo::CVxEventStream>;
TYPED_TEST_SUITE(GenericUsbPort, Objects, ObjectNames);

TYPED_TEST(GenericUsbPort, IsNotAvailableWithoutObject) {
    EXPECT_EQ(GenApi::NA, this->port.GetAccessMode());
}

TYPED_TEST(GenericUsbPort, IsReadWriteWithObject) {
    this->port.SetObject(Access<TypeParam>::Of(this->m_pDevice));
    EXPECT_EQ(GenApi::RW, this->port.GetAccessMode());
}

TYPED_TEST(GenericUsbPort, SpeaksOfWritingWhenItCannotRead) {
    EXPECT_FAILURE(RuntimeException, "GenericUsbPort.h",
                   "Failed to read property value 400. The property is not writable.",
                   this->port.Read(this->bytes, 0x400, 4));
}

TYPED_TEST(GenericUsbPort, RefusesToWriteWithoutObject) {
    EXPECT_FAILURE(RuntimeException, "GenericUsbPort.h",
                   "Failed to write property value affe0000. The property is not writable.",
                   this->port.Write(this->bytes, 0xAFFE0000, 4));
}

TYPED_TEST(GenericUsbPort, ReadsThePropertyOfItsAddress) {
    this->port.SetObject(Access<TypeParam>::Of(this->m_pDevice));
    Access<TypeParam>::Properties()[0x300] = {9, 8, 7, 6};
    this->port.Read(this->bytes, 0x300, 4);
    EXPECT_EQ(9, this->bytes[0]);
    EXPECT_EQ(6, this->bytes[3]);
}

TYPED_TEST(GenericUsbPort, WritesThePropertyOfItsAddress) {
    this->port.SetObject(Access<TypeParam>::Of(this->m_pDevice));
    this->port.Write(this->bytes, 0xA00, 4);
    EXPECT_EQ((FakeVexlo::Bytes{1, 2, 3, 4}), Access<TypeParam>::Properties()[0xA00]);
}

TYPED_TEST(GenericUsbPort, CutsItsAddressTo32Bits) {
    this->port.SetObject(Access<TypeParam>::Of(this->m_pDevice));
    this->port.Write(this->bytes, 0x7'0000'0200, 4);
    EXPECT_EQ(0x200u, this->bus.written.at(0).first);
}

TYPED_TEST(GenericUsbPort, TellsWhyAReadFailed) {
    this->port.SetObject(Access<TypeParam>::Of(this->m_pDevice));
    this->bus.FailNext(Access<TypeParam>::kGet, kFailure);
    EXPECT_FAILURE(RuntimeException, "GenericUsbPort.h", "Failed to read property value 200. text E2000777",
                   this->port.Read(this->bytes, 0x200, 4));
}

TYPED_TEST(GenericUsbPort, TellsWhyAWriteFailed) {
    this->port.SetObject(Access<TypeParam>::Of(this->m_pDevice));
    this->bus.FailNext(Access<TypeParam>::kSet, kFailure);
    EXPECT_FAILURE(RuntimeException, "GenericUsbPort.h", "Failed to write property value 200. text E2000777",
                   this->port.Write(this->bytes, 0x200, 4));
}

} // namespace
