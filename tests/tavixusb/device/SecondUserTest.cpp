// Several chunk parsers and event adapters of one device: the ports of its features are there once.

#include "tavixusb/data/ChunkBuffer.h"
#include "tavixusb/support/DeviceFixture.h"

#include "u3v/Crc16.h"

namespace {

using support::ChunkBuffer;

constexpr char kTakenChunks[] = "Another chunk parser of this device has the chunk features until it is destroyed.";
constexpr char kTakenEvents[] = "Another event adapter of this device has the event features until it is destroyed.";
constexpr char kEventNodes[] = R"(
    <Port Name="EventPort"><EventID>9C43</EventID></Port>
    <IntReg Name="EventData"><Address>12</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>EventPort</pPort>
      <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>)";

/// A good payload with this counter.
ChunkBuffer Payload(int counter) {
    ChunkBuffer buffer;
    buffer.Chunk(0x0A0B0C0D, {static_cast<std::uint8_t>(counter), 0, 0, 0});
    const std::uint16_t crc = u3v::Crc16ByteTable(buffer.Data(), static_cast<std::size_t>(buffer.Size()));
    buffer.Word(crc).Word(0xC1).Word(4);
    return buffer;
}

class ChunkCamera : public DeviceFixture {
protected:
    ChunkCamera() {
        Load(CameraXmlWith(std::string(support::kChunkNodes) + kEventNodes));
        Open();
    }
};

class SecondUser : public ChunkCamera {
protected:
    SecondUser() { first.AttachBuffer(one.Data(), one.Size()); }

    void ExpectTaken(Tavix::IChunkParser& parser) {
        constexpr char kParserFile[] = "UsbChunkParser.cpp";
        EXPECT_FAILURE(LogicalErrorException, kParserFile, kTakenChunks, parser.HasCRC());
        EXPECT_FAILURE(LogicalErrorException, kParserFile, kTakenChunks, parser.CheckCRC());
        EXPECT_FAILURE(LogicalErrorException, kParserFile, kTakenChunks, parser.UpdateBuffer(one.Data()));
        EXPECT_FAILURE(LogicalErrorException, kParserFile, kTakenChunks, parser.AttachBuffer(one.Data(), one.Size()));
    }
    GenApi::EAccessMode Access(const char* name) { return device->GetNodeMap()->GetNode(name)->GetAccessMode(); }
    static void Deliver(Tavix::IEventAdapter& adapter, unsigned char data) {
        const unsigned char message[] = {0x55, 0x33, 0x56, 0x45, 0, 0, 0x00, 0x0C, 16, 0, 0,    0, 0, 0,
                                         0x43, 0x9C, 1,    0,    0, 0, 0,    0,    0,  0, data, 0, 0, 0};
        adapter.DeliverMessage(message, sizeof message);
    }

    ChunkBuffer one = Payload(1), two = Payload(2);
    Tavix::IChunkParser& first = *device->CreateChunkParser();
};

TEST_F(SecondUser, IsGoneWithTheFirstAfterAClose) {
    Deliver(*device->CreateEventAdapter(), 7);
    ASSERT_TRUE(GenApi::IsReadable(Access("Counter")));
    ASSERT_TRUE(GenApi::IsReadable(Access("EventData")));
    device->Close();
    EXPECT_FALSE(GenApi::IsReadable(Access("Counter"))) << "it would read a buffer that nobody keeps";
    EXPECT_FALSE(GenApi::IsReadable(Access("EventData")));
}

TEST_F(SecondUser, MakesTheFirstParserSaySo) {
    Tavix::IChunkParser& second = *device->CreateChunkParser();
    ExpectTaken(first);
    second.AttachBuffer(two.Data(), two.Size());
    EXPECT_TRUE(second.CheckCRC());
    EXPECT_EQ(2, Feature("Counter").GetValue());
    ExpectTaken(first);
}

TEST_F(SecondUser, GivesTheChunkFeaturesBackWithTheBufferThatTheyShowed) {
    Tavix::IChunkParser* const second = device->CreateChunkParser();
    second->AttachBuffer(two.Data(), two.Size());
    device->DestroyChunkParser(second);
    EXPECT_EQ(1, Feature("Counter").GetValue());
    EXPECT_TRUE(first.CheckCRC());
    first.AttachBuffer(two.Data(), two.Size());
    EXPECT_EQ(2, Feature("Counter").GetValue());
}

TEST_F(SecondUser, LetsTheFirstParserLetGoOfItsBuffer) {
    Tavix::IChunkParser* const second = device->CreateChunkParser();
    second->AttachBuffer(two.Data(), two.Size());
    first.DetachBuffer();
    EXPECT_EQ(2, Feature("Counter").GetValue());
    device->DestroyChunkParser(second);
    EXPECT_EQ(GenApi::NA, Access("Counter"));
}

TEST_F(SecondUser, KeepsThePortsWhenTheFirstParserGoes) {
    Tavix::IChunkParser& second = *device->CreateChunkParser();
    second.AttachBuffer(two.Data(), two.Size());
    device->DestroyChunkParser(&first);
    EXPECT_EQ(2, Feature("Counter").GetValue());
    EXPECT_TRUE(second.CheckCRC());
}

TEST_F(SecondUser, GivesThePortsToTheLastOfThoseThatAreLeft) {
    Tavix::IChunkParser* const second = device->CreateChunkParser();
    Tavix::IChunkParser* const third = device->CreateChunkParser();
    third->AttachBuffer(two.Data(), two.Size());
    device->DestroyChunkParser(second);
    EXPECT_TRUE(third->CheckCRC());
    ExpectTaken(first);
    device->DestroyChunkParser(third);
    EXPECT_TRUE(first.CheckCRC());
}

TEST_F(SecondUser, GoesWithTheOthersOnClose) {
    device->CreateChunkParser();
    device->CreateEventAdapter();
    device->CreateEventAdapter();
    device->Close();
    Open();
    Tavix::IChunkParser& parser = *device->CreateChunkParser();
    parser.AttachBuffer(two.Data(), two.Size());
    EXPECT_TRUE(parser.CheckCRC());
}

TEST_F(SecondUser, IsForgottenByThoseWhoComeAfterAClose) {
    for (int i = 0; i < 3; ++i) {
        device->CreateChunkParser();
        device->CreateEventAdapter();
    }
    device->Close();
    Open();
    Tavix::IChunkParser* const parser = device->CreateChunkParser();
    Tavix::IEventAdapter* const adapter = device->CreateEventAdapter();
    Deliver(*adapter, 7);
    EXPECT_EQ(7, Feature("EventData").GetValue());
    device->DestroyEventAdapter(adapter);
    device->DestroyChunkParser(parser);
    EXPECT_FALSE(GenApi::IsReadable(Access("Counter")));
}

TEST_F(SecondUser, StandsInNobodysWayWithANodeMapOfItsOwn) {
    const auto chunks = CameraXmlWith("<Category Name=\"ChunkData\"><pFeature>Counter</pFeature></Category>" +
                                      std::string(support::kChunkNodes));
    Destroy();
    Make();
    Load(chunks);
    device->ExtractChunkDataNodeMapFromString(chunks, {});
    Open();
    Tavix::IChunkParser& parser = *device->CreateChunkParser();
    Tavix::ISelfReliantChunkParser* const own = device->CreateSelfReliantChunkParser();
    own->AttachBuffer(two.Data(), two.Size());
    parser.AttachBuffer(one.Data(), one.Size());
    EXPECT_EQ(1, Feature("Counter").GetValue());
    EXPECT_EQ(2, Integer(own->GetChunkDataNodeMap(), "Counter").GetValue());
    device->DestroySelfReliantChunkParser(own);
}

TEST_F(SecondUser, MakesTheFirstAdapterSaySoAndGivesTheEventFeaturesBack) {
    Tavix::IEventAdapter& adapter = *device->CreateEventAdapter();
    Deliver(adapter, 7);
    Tavix::IEventAdapter& other = *device->CreateEventAdapter();
    EXPECT_FAILURE(LogicalErrorException, "TavixUsbEventAdapter.cpp", kTakenEvents, Deliver(adapter, 8));
    Deliver(other, 9);
    EXPECT_EQ(9, Feature("EventData").GetValue());
    device->DestroyEventAdapter(&other);
    EXPECT_EQ(GenApi::NA, Access("EventData"));
    Deliver(adapter, 10);
    EXPECT_EQ(10, Feature("EventData").GetValue());
}

} // namespace
