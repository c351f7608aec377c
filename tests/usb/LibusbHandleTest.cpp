#include "usb/support/LibusbTest.h"

#include <atomic>
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

} // namespace
