#include "event/TavixUsbEventAdapter.h"

#include "tavixusb/support/Description.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

/// Event 0x9C43 at time 1000 with four bytes of data.
std::vector<std::uint8_t> Message() {
    return {0x55, 0x33, 0x56, 0x45, 0x00, 0x00, 0x00, 0x0C, 0x10, 0x00, 0x07, 0x00, 0x00, 0x00,
            0x43, 0x9C, 0xE8, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x2A, 0x00, 0x00, 0x00};
}

struct TavixUsbEventAdapter : testing::Test {
    void Deliver(const std::vector<std::uint8_t>& message) {
        adapter.DeliverMessage(message.data(), static_cast<std::uint32_t>(message.size()));
    }
    std::string Refusal(const std::vector<std::uint8_t>& message) {
        try {
            Deliver(message);
        } catch (const GenICam::RuntimeException& e) {
            return e.GetDescription();
        }
        return "delivered";
    }
    static constexpr const char* kBad = "Cannot deliver bad USB event message.";

    support::DescribedMap map{R"(
        <Port Name="EventPort"><EventID>9C43</EventID></Port>
        <IntReg Name="Id"><Address>2</Address><Length>2</Length><AccessMode>RO</AccessMode><pPort>EventPort</pPort></IntReg>
        <IntReg Name="Time"><Address>4</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>EventPort</pPort></IntReg>
        <IntReg Name="Data"><Address>12</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>EventPort</pPort></IntReg>)"};
    Tavix::CTavixUsbEventAdapter adapter{map.Get()};
};

TEST_F(TavixUsbEventAdapter, DeliversIdTimeAndData) {
    Deliver(Message());
    EXPECT_EQ(map.Integer("Id"), 0x9C43);
    EXPECT_EQ(map.Integer("Time"), 1000);
    EXPECT_EQ(map.Integer("Data"), 42);
}

TEST_F(TavixUsbEventAdapter, IgnoresAnEventThatNoPortHas) {
    auto message = Message();
    message[14] = 0x44;
    Deliver(message);
    EXPECT_EQ(map.Access("Data"), GenApi::NA);
}

TEST_F(TavixUsbEventAdapter, RefusesTwentyThreeBytes) {
    auto message = Message();
    message[8] = 12;
    message.resize(23);
    EXPECT_EQ(Refusal(message), kBad);
}

TEST_F(TavixUsbEventAdapter, DeliversTwentyFourBytesWithoutData) {
    auto message = Message();
    message[8] = 12;
    message.resize(24);
    Deliver(message);
    EXPECT_EQ(map.Integer("Time"), 1000);
    EXPECT_THROW(map.Integer("Data"), GenICam::OutOfRangeException);
}

TEST_F(TavixUsbEventAdapter, RefusesALengthOfEleven) {
    auto message = Message();
    message[8] = 11;
    EXPECT_EQ(Refusal(message), kBad);
}

TEST_F(TavixUsbEventAdapter, RefusesALengthBeyondTheMessage) {
    auto message = Message();
    message[8] = 17;
    EXPECT_EQ(Refusal(message), kBad);
}

TEST_F(TavixUsbEventAdapter, HandsOnBytesBeyondTheLengthField) {
    auto message = Message();
    message[8] = 12;
    Deliver(message);
    EXPECT_EQ(map.Integer("Data"), 42);
}

TEST_F(TavixUsbEventAdapter, RefusesAnAcknowledge) {
    auto message = Message();
    message[6] = 1;
    EXPECT_EQ(Refusal(message), kBad);
}

TEST_F(TavixUsbEventAdapter, RefusesAnyOtherCommand) {
    for (const int command : {0x0000, 0x0C01, 0x0D00, 0x000C, 0x0800, 0xFFFF}) {
        auto message = Message();
        message[6] = static_cast<std::uint8_t>(command);
        message[7] = static_cast<std::uint8_t>(command >> 8);
        EXPECT_EQ(Refusal(message), kBad) << command;
    }
}

TEST_F(TavixUsbEventAdapter, ReadsBothBytesOfTheLengthAndOfTheEventId) {
    auto message = Message();
    message[9] = 1;
    EXPECT_EQ(Refusal(message), kBad) << "272 bytes of 16";
    message.resize(12 + 0x110);
    EXPECT_EQ(Refusal(message), "delivered");
    EXPECT_EQ(map.Integer("Time"), 1000);
    message[8] = 0x11;
    EXPECT_EQ(Refusal(message), kBad) << "one byte too many";
}

TEST_F(TavixUsbEventAdapter, RefusesAnotherPrefix) {
    for (std::size_t i = 0; i < 4; ++i) {
        auto message = Message();
        message[i] ^= 1;
        EXPECT_EQ(Refusal(message), kBad) << i;
    }
}

TEST_F(TavixUsbEventAdapter, TakesAnyFlagsAndRequestId) {
    auto message = Message();
    message[4] = message[5] = message[10] = message[11] = 0xFF;
    Deliver(message);
    EXPECT_EQ(map.Integer("Data"), 42);
}

TEST_F(TavixUsbEventAdapter, RefusesEveryTruncation) {
    const auto whole = Message();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_EQ(Refusal({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}), kBad) << size;
    }
    EXPECT_THROW(adapter.DeliverMessage(nullptr, 24), GenICam::RuntimeException);
}

TEST_F(TavixUsbEventAdapter, FiresTheCallbackOfAFeatureOnce) {
    int calls = 0;
    const auto count = [&calls](GenApi::INode*) { ++calls; };
    const auto handle = GenApi::Register(map->GetNode("Data"), count);
    Deliver(Message());
    EXPECT_EQ(calls, 1);
    GenApi::Deregister(handle);
}

TEST_F(TavixUsbEventAdapter, HandsOnAllBytesBehindTheHeaderAndNoMore) {
    support::DescribedMap all(R"(
        <Port Name="EventPort"><EventID>9C43</EventID></Port>
        <IntReg Name="Last"><Address>15</Address><Length>1</Length><AccessMode>RO</AccessMode><pPort>EventPort</pPort></IntReg>
        <IntReg Name="Beyond"><Address>16</Address><Length>1</Length><AccessMode>RO</AccessMode><pPort>EventPort</pPort></IntReg>
        <IntReg Name="Reserved"><Address>0</Address><Length>2</Length><AccessMode>RO</AccessMode><pPort>EventPort</pPort>
          <Endianess>LittleEndian</Endianess></IntReg>)");
    Tavix::CTavixUsbEventAdapter other(all.Get());
    auto message = Message();
    message[8] = 12; // shorter than what is there
    message[12] = 0x34;
    message[13] = 0x12;
    message[27] = 0x77;
    other.DeliverMessage(message.data(), static_cast<std::uint32_t>(message.size()));
    EXPECT_EQ(all.Integer("Last"), 0x77);
    EXPECT_EQ(all.Integer("Reserved"), 0x1234);
    EXPECT_THROW(all.Integer("Beyond"), GenICam::OutOfRangeException);
}

TEST_F(TavixUsbEventAdapter, DeliversToEveryPortOfTheEventAndToNoOther) {
    support::DescribedMap ports(R"(
        <Port Name="A"><EventID>9C43</EventID></Port><Port Name="B"><EventID>9c43</EventID></Port>
        <Port Name="C"><EventID>9C44</EventID></Port>
        <IntReg Name="OfA"><Address>2</Address><Length>2</Length><AccessMode>RO</AccessMode><pPort>A</pPort>
          <Endianess>LittleEndian</Endianess><Sign>Unsigned</Sign></IntReg>
        <IntReg Name="OfB"><Address>2</Address><Length>2</Length><AccessMode>RO</AccessMode><pPort>B</pPort>
          <Endianess>LittleEndian</Endianess><Sign>Unsigned</Sign></IntReg>
        <IntReg Name="OfC"><Address>2</Address><Length>2</Length><AccessMode>RO</AccessMode><pPort>C</pPort></IntReg>)");
    Tavix::CTavixUsbEventAdapter other(ports.Get());
    const auto message = Message();
    other.DeliverMessage(message.data(), static_cast<std::uint32_t>(message.size()));
    EXPECT_EQ(ports.Integer("OfA"), 0x9C43);
    EXPECT_EQ(ports.Integer("OfB"), 0x9C43);
    EXPECT_EQ(ports.Access("OfC"), GenApi::NA);
}

TEST_F(TavixUsbEventAdapter, PassesOnWhatACallbackThrows) {
    GenApi::Register(map->GetNode("Data"), [](GenApi::INode*) { throw RUNTIME_EXCEPTION("no"); });
    EXPECT_EQ(Refusal(Message()), "no");
}

TEST_F(TavixUsbEventAdapter, NamesItsSourceFile) {
    try {
        adapter.DeliverMessage(nullptr, 0);
        FAIL() << "nothing was delivered";
    } catch (const GenICam::RuntimeException& e) {
        EXPECT_STREQ(e.GetSourceFileName(), "TavixUsbEventAdapter.cpp");
    }
}

} // namespace
