#include "usb/support/LibusbTest.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <numeric>
#include <thread>

namespace {

using usb::Result;
using Bytes = std::vector<std::uint8_t>;

constexpr unsigned int kLimitMs = 10000;

Bytes Counting(std::size_t size) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
    return bytes;
}

Result Write(usb::Handle& handle, Bytes bytes) {
    std::size_t actual = 0;
    const Result result = handle.Bulk(TestDevice::kEchoOut, bytes.data(), bytes.size(), actual, kLimitMs);
    EXPECT_EQ(actual, result == Result::Ok ? bytes.size() : 0);
    return result;
}

/// Reads at most `size` bytes; `bytes` gets what came, whatever the result.
Result Read(usb::Handle& handle, std::uint8_t endpoint, std::size_t size, Bytes& bytes, unsigned int limit = kLimitMs) {
    bytes.assign(size, 0);
    std::size_t actual = 0;
    const Result result = handle.Bulk(endpoint, bytes.data(), size, actual, limit);
    bytes.resize(actual);
    return result;
}

TEST_F(LibusbTest, ReadsStringsAsAscii) {
    const auto handle = Open();
    EXPECT_EQ(handle->ReadString(1), "Tester");
    EXPECT_EQ(handle->ReadString(2), "K?che 7");
    EXPECT_EQ(handle->ReadString(0), "");
    EXPECT_EQ(handle->ReadString(3), "");
}

TEST_F(LibusbTest, MovesControlDataBothWays) {
    const auto handle = Open();
    Bytes bytes = Counting(64);
    std::size_t actual = 0;
    ASSERT_EQ(handle->Control({0x40, TestDevice::kScratchRequest, 0, 0, 64}, bytes.data(), actual, kLimitMs),
              Result::Ok);
    EXPECT_EQ(actual, 64u);
    Bytes back(100);
    ASSERT_EQ(handle->Control({0xC0, TestDevice::kScratchRequest, 0, 0, 100}, back.data(), actual, kLimitMs),
              Result::Ok);
    ASSERT_EQ(actual, 64u);
    back.resize(actual);
    EXPECT_EQ(back, bytes);
}

TEST_F(LibusbTest, SaysThatAControlRequestIsRefused) {
    const auto handle = Open();
    std::size_t actual = 4711;
    EXPECT_EQ(handle->Control({0x40, 99, 0, 0, 0}, nullptr, actual, kLimitMs), Result::Pipe);
    EXPECT_EQ(actual, 0u);
}

TEST_F(LibusbTest, RefusesControlTransfersThatTheKernelWouldRefuse) {
    const auto handle = Open();
    Bytes bytes(4097);
    std::size_t actual = 0;
    EXPECT_EQ(handle->Control({0xC0, TestDevice::kScratchRequest, 0, 0, 4097}, bytes.data(), actual, kLimitMs),
              Result::InvalidParam);
}

TEST_F(LibusbTest, MovesControlDataUpToTheLimitOfTheKernel) {
    const auto handle = Open();
    Bytes bytes(4096);
    std::size_t actual = 0;
    EXPECT_EQ(handle->Control({0xC0, TestDevice::kScratchRequest, 0, 0, 4096}, bytes.data(), actual, kLimitMs),
              Result::Ok);
    EXPECT_EQ(actual, 64u);
}

TEST_F(LibusbTest, HasMovedNothingOfWhatItRefuses) {
    const auto handle = OpenAndClaim();
    Bytes bytes(4097);
    std::size_t actual = 4711;
    EXPECT_EQ(handle->Control({0xC0, TestDevice::kScratchRequest, 0, 0, 4097}, bytes.data(), actual, kLimitMs),
              Result::InvalidParam);
    EXPECT_EQ(actual, 0u);
    actual = 4711;
    EXPECT_EQ(handle->Bulk(TestDevice::kSource, bytes.data(), std::size_t{INT_MAX} + 1, actual, 1),
              Result::InvalidParam);
    EXPECT_EQ(actual, 0u);
}

TEST_F(LibusbTest, ControlEndsAtItsTimeLimit) {
    const auto handle = Open();
    std::size_t actual = 0;
    std::uint8_t byte = 0;
    EXPECT_EQ(handle->Control({0xC0, TestDevice::kSilentRequest, 0, 0, 1}, &byte, actual, 20), Result::Timeout);
}

TEST_F(LibusbTest, EchoesWhatItIsSent) {
    const auto handle = OpenAndClaim();
    for (const std::size_t size : {1u, 24u, 1023u, 1024u, 1025u, 65536u, 1048576u}) {
        Bytes back;
        ASSERT_EQ(Write(*handle, Counting(size)), Result::Ok) << size;
        ASSERT_EQ(Read(*handle, TestDevice::kEchoIn, size, back), Result::Ok) << size;
        EXPECT_EQ(back, Counting(size)) << size;
    }
}

TEST_F(LibusbTest, ATimeoutHandsOverWhatHasCome) {
    const auto handle = OpenAndClaim();
    m_Device->SendPart(2048);
    Bytes bytes;
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 4096, bytes, 50), Result::Timeout);
    ASSERT_EQ(bytes.size(), 2048u);
    EXPECT_EQ(bytes[2047], TestDevice::ExpectedByte(2047));
}

TEST_F(LibusbTest, AShortPacketEndsATransferWell) {
    const auto handle = OpenAndClaim();
    m_Device->SendPart(1024);
    m_Device->Send(10);
    Bytes bytes;
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 4096, bytes), Result::Ok);
    EXPECT_EQ(bytes.size(), 1034u);
}

TEST_F(LibusbTest, AnEmptyPacketEndsATransferWell) {
    const auto handle = OpenAndClaim();
    m_Device->Send(0);
    Bytes bytes;
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 4096, bytes), Result::Ok);
    EXPECT_TRUE(bytes.empty());
}

TEST_F(LibusbTest, AHaltedEndpointWorksAgainAfterItsHaltIsCleared) {
    const auto handle = OpenAndClaim();
    m_Device->Halt();
    m_Device->Send(5);
    Bytes bytes;
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 1024, bytes), Result::Pipe);
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 1024, bytes), Result::Pipe);
    EXPECT_EQ(handle->ClearHalt(TestDevice::kSource), Result::Ok);
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 1024, bytes), Result::Ok);
    EXPECT_EQ(bytes.size(), 5u);
}

TEST_F(LibusbTest, TheHostMaySetAHalt) {
    const auto handle = OpenAndClaim();
    std::size_t actual = 0;
    ASSERT_EQ(handle->Control({0x02, 0x03, 0, TestDevice::kSource, 0}, nullptr, actual, kLimitMs), Result::Ok);
    Bytes bytes;
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 1024, bytes), Result::Pipe);
}

TEST_F(LibusbTest, ClearHaltKnowsOnlyEndpointsOfTheDevice) {
    const auto handle = OpenAndClaim();
    EXPECT_EQ(handle->ClearHalt(0x8F), Result::NotFound);
}

TEST_F(LibusbTest, TellsOverflowAndLineErrorApart) {
    const auto handle = OpenAndClaim();
    Bytes bytes;
    m_Device->SendOverflow();
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 1024, bytes), Result::Overflow);
    m_Device->SendLineError();
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 1024, bytes), Result::Io);
}

TEST_F(LibusbTest, RefusesLengthsThatLibusbCannotCount) {
    const auto handle = OpenAndClaim();
    std::uint8_t byte = 0;
    std::size_t actual = 0;
    EXPECT_EQ(handle->Bulk(TestDevice::kSource, &byte, std::size_t{INT_MAX} + 1, actual, 1), Result::InvalidParam);
    usbfs::Bus::Instance().Unplug(m_Plugged.Name()); // or the bus would be asked for so much
    EXPECT_EQ(handle->Bulk(TestDevice::kSource, &byte, INT_MAX, actual, 1), Result::NoDevice);
}

TEST_F(LibusbTest, TwoHandlesCannotHoldOneInterface) {
    const auto first = Open();
    const auto second = Open();
    ASSERT_EQ(first->Claim(0), Result::Ok);
    EXPECT_EQ(second->Claim(0), Result::Busy);
    EXPECT_EQ(second->Claim(1), Result::Ok);
    EXPECT_EQ(first->Release(0), Result::Ok);
    EXPECT_EQ(second->Claim(0), Result::Ok);
}

TEST_F(LibusbTest, ClosingAHandleReleasesItsInterfaces) {
    auto first = OpenAndClaim();
    const auto second = Open();
    EXPECT_EQ(second->Claim(0), Result::Busy);
    first.reset();
    EXPECT_EQ(second->Claim(0), Result::Ok);
}

TEST_F(LibusbTest, ClaimsOnlyInterfacesOfTheDevice) {
    const auto handle = Open();
    EXPECT_NE(handle->Claim(9), Result::Ok);
    EXPECT_EQ(handle->Release(0), Result::NotFound);
}

TEST_F(LibusbTest, SendsAKernelDriverAwayAndBringsItBack) {
    usbfs::PortSettings settings;
    settings.drivers[0] = "usbtest";
    const usbfs::Plugged plugged(std::make_shared<TestDevice>(), settings);
    std::unique_ptr<usb::Handle> handle;
    ASSERT_EQ(m_Backend->Open(plugged.Name(), handle), Result::Ok);
    const auto port = usbfs::Bus::Instance().FindPort(plugged.Name());
    EXPECT_EQ(port->BoundDriver(0), "usbtest");
    EXPECT_EQ(handle->Claim(0), Result::Ok);
    EXPECT_EQ(port->BoundDriver(0), "usbfs");
    EXPECT_EQ(handle->Release(0), Result::Ok);
    EXPECT_EQ(port->BoundDriver(0), "usbtest");
}

TEST_F(LibusbTest, ResetKeepsTheHandleAlive) {
    const auto handle = OpenAndClaim();
    EXPECT_EQ(handle->Reset(), Result::Ok);
    EXPECT_EQ(m_Device->ResetCount(), 1u);
    EXPECT_EQ(Write(*handle, Counting(8)), Result::Ok);
    const auto other = Open();
    EXPECT_EQ(other->Claim(0), Result::Busy);
}

TEST_F(LibusbTest, ResetSaysThatAnotherDeviceCameBack) {
    const auto handle = OpenAndClaim();
    m_Device->ChangeIdentityOnReset();
    const Result result = handle->Reset();
    EXPECT_TRUE(result == Result::NotFound || result == Result::NoDevice) << usb::ToText(result);
}

TEST_F(LibusbTest, EverythingFailsWithNoDeviceAfterARemoval) {
    const auto handle = OpenAndClaim();
    usbfs::Bus::Instance().Unplug(m_Plugged.Name());
    std::size_t actual = 0;
    Bytes bytes;
    EXPECT_EQ(handle->Control({0x40, TestDevice::kScratchRequest, 0, 0, 0}, nullptr, actual, kLimitMs),
              Result::NoDevice);
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 1024, bytes), Result::NoDevice);
    EXPECT_EQ(handle->ClearHalt(TestDevice::kSource), Result::NoDevice);
    EXPECT_EQ(handle->Release(0), Result::NoDevice);
    EXPECT_EQ(handle->ReadString(1), "");
}

TEST_F(LibusbTest, ARemovalEndsASynchronousCall) {
    const auto handle = OpenAndClaim();
    m_Device->LeaveWhenAsked();
    Bytes bytes;
    EXPECT_EQ(Read(*handle, TestDevice::kSource, 1024, bytes), Result::NoDevice);
}

TEST_F(LibusbTest, GivesNoMappedMemoryWhereThereIsNone) {
    const auto handle = Open();
    EXPECT_EQ(handle->AllocateMemory(1 << 20, 1 << 20), nullptr);
    EXPECT_EQ(handle->AllocateMemory(0, 1 << 20), nullptr);
    handle->FreeMemory(nullptr, 0);
}

TEST_F(LibusbTest, KnowsWhetherItsDeviceIsStillThere) {
    const auto handle = Open();
    EXPECT_TRUE(handle->IsAttached());
    usbfs::Bus::Instance().Unplug(m_Plugged.Name());
    EXPECT_FALSE(handle->IsAttached());
    usbfs::Bus::Instance().Replug(m_Plugged.Name());
    EXPECT_FALSE(handle->IsAttached()) << "what has come is another one";
    EXPECT_TRUE(Open()->IsAttached());
}

TEST_F(LibusbTest, LeavesTheActiveConfigurationAlone) {
    const auto handle = OpenAndClaim();
    EXPECT_EQ(handle->SelectConfiguration(1), Result::Ok) << "nothing has to be released for it";
    EXPECT_EQ(handle->SelectConfiguration(2), Result::Busy);
    EXPECT_EQ(Write(*handle, Counting(8)), Result::Ok);
}

/// A device with German strings of its own make.
class GermanDevice final : public usbfs::DeviceModel {
public:
    explicit GermanDevice(Bytes languages) : m_Languages(std::move(languages)) {}

    void Attached(usbfs::DevicePort& port) override { m_Rest.Attached(port); }
    void Detached() override { m_Rest.Detached(); }
    usbfs::Answer Control(const usb::ControlSetup& setup, std::uint8_t* data) override {
        if (setup.requestType != 0x80 || setup.request != 0x06 || setup.value >> 8 != 3) {
            return m_Rest.Control(setup, data);
        }
        const unsigned int index = setup.value & 0xFFu;
        if (index == 0) return Give(m_Languages, data);
        if (setup.index != 0x0407) return {usbfs::AnswerStatus::Stall, 0};
        if (index == 1) return Give({6, 3, 'a', 0, 'b', 0}, data);
        if (index == 2) return Give({6, 9, 'a', 0, 'b', 0}, data); // no string
        return Give({4, 3, 'a', 0, 'b', 0}, data);                 // with bytes behind it
    }
    usbfs::Answer In(std::uint8_t endpoint, std::uint8_t* data, std::size_t room) override {
        return m_Rest.In(endpoint, data, room);
    }
    usbfs::Answer Out(std::uint8_t endpoint, const std::uint8_t* data, std::size_t length) override {
        return m_Rest.Out(endpoint, data, length);
    }
    bool Reset() override { return m_Rest.Reset(); }

private:
    static usbfs::Answer Give(const Bytes& bytes, std::uint8_t* data) {
        std::copy(bytes.begin(), bytes.end(), data);
        return {usbfs::AnswerStatus::Complete, bytes.size()};
    }

    const Bytes m_Languages;
    TestDevice m_Rest;
};

/// libusb loses a device for good whose departure it notices while it is initialised for the next handle.
void AwaitDeparture(usb::Backend& bus, const std::string& id) {
    for (bool isThere = true; isThere;) {
        std::vector<usb::DeviceEntry> devices;
        ASSERT_EQ(bus.Enumerate(devices), Result::Ok);
        isThere =
            std::any_of(devices.begin(), devices.end(), [&](const usb::DeviceEntry& each) { return each.id == id; });
        std::this_thread::yield();
    }
}

std::string GermanString(usb::Backend& bus, Bytes languages, std::uint8_t index) {
    std::string id, text;
    {
        const usbfs::Plugged plugged(std::make_shared<GermanDevice>(std::move(languages)));
        id = plugged.Name();
        std::unique_ptr<usb::Handle> handle;
        EXPECT_EQ(bus.Open(id, handle), Result::Ok);
        text = handle->ReadString(index);
    }
    AwaitDeparture(bus, id);
    return text;
}

TEST_F(LibusbTest, ReadsStringsInTheFirstLanguageOfTheDevice) {
    EXPECT_EQ(GermanString(*m_Backend, {4, 3, 0x07, 0x04}, 1), "ab");
    EXPECT_EQ(GermanString(*m_Backend, {6, 3, 0x07, 0x04, 0x09, 0x04}, 1), "ab");
    EXPECT_EQ(GermanString(*m_Backend, {6, 3, 0x09, 0x04, 0x07, 0x04}, 1), "");
}

TEST_F(LibusbTest, ReadsNoStringOfADeviceWithHalfALanguage) {
    EXPECT_EQ(GermanString(*m_Backend, {3, 3, 0x07, 0x04}, 1), "");
    EXPECT_EQ(GermanString(*m_Backend, {2, 3}, 1), "");
}

TEST_F(LibusbTest, ReadsNoMoreOfAStringThanItsLengthSays) {
    EXPECT_EQ(GermanString(*m_Backend, {4, 3, 0x07, 0x04}, 3), "a");
    EXPECT_EQ(GermanString(*m_Backend, {4, 3, 0x07, 0x04}, 2), "") << "a descriptor of another kind";
}

TEST_F(LibusbTest, ReadsNoStringWhoseTransferFailedAtItsEnd) {
    const auto handle = Open();
    usbfs::CallFault fault;
    fault.site = {usbfs::Call::TransferEnd, 0};
    fault.error = EPROTO;
    fault.index = 1; // behind the languages
    usbfs::Bus::Instance().Faults().Arm(fault);
    EXPECT_EQ(handle->ReadString(1), "");
    EXPECT_EQ(usbfs::Bus::Instance().Faults().Disarm(), 1u);
    EXPECT_EQ(handle->ReadString(1), "Tester");
}

} // namespace
