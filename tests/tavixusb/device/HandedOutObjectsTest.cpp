// The chunk parsers and event adapters that a device hands out.

#include "tavixusb/support/DeviceFixture.h"

#include <GenApi/NodeCallback.h>

namespace {

constexpr char kBadParser[] = "Failed to destroy chunk parser: Invalid pointer";
constexpr char kBadAdapter[] = "Failed to destroy event adapter: Invalid pointer";
constexpr char kFile[] = "TavixUsbDeviceParsers.cpp";

class HandedOutObjects : public DeviceFixture {
protected:
    HandedOutObjects() { Load(CameraXmlWithChunks()); }
};

TEST_F(HandedOutObjects, AreMadeAndDestroyedOnRequest) {
    Open();
    Tavix::IChunkParser* const parser = device->CreateChunkParser();
    Tavix::IEventAdapter* const adapter = device->CreateEventAdapter();
    ASSERT_NE(nullptr, parser);
    ASSERT_NE(nullptr, adapter);
    device->DestroyChunkParser(parser);
    device->DestroyEventAdapter(adapter);
    EXPECT_FAILURE(RuntimeException, kFile, kBadParser, device->DestroyChunkParser(parser));
    EXPECT_FAILURE(RuntimeException, kFile, kBadAdapter, device->DestroyEventAdapter(adapter));
}

TEST_F(HandedOutObjects, MayBeNullToDestroy) {
    EXPECT_NO_THROW(device->DestroyChunkParser(nullptr));
    EXPECT_NO_THROW(device->DestroyEventAdapter(nullptr));
    EXPECT_NO_THROW(device->DestroySelfReliantChunkParser(nullptr));
}

TEST_F(HandedOutObjects, DoNotSurviveAClose) {
    Open();
    Tavix::IChunkParser* const parser = device->CreateChunkParser();
    Tavix::IEventAdapter* const adapter = device->CreateEventAdapter();
    device->Close();
    EXPECT_FAILURE(RuntimeException, kFile, kBadParser, device->DestroyChunkParser(parser));
    EXPECT_FAILURE(RuntimeException, kFile, kBadAdapter, device->DestroyEventAdapter(adapter));
}

TEST_F(HandedOutObjects, BelongToTheDeviceThatMadeThem) {
    Tavix::CTavixUsbDevice other(MakeCameraInfo());
    other.CreateNodemapFromString(CameraXmlWithChunks(), {});
    Tavix::IChunkParser* const parser = other.CreateChunkParser();
    Tavix::IEventAdapter* const adapter = other.CreateEventAdapter();
    EXPECT_FAILURE(RuntimeException, kFile, kBadParser, device->DestroyChunkParser(parser));
    EXPECT_FAILURE(RuntimeException, kFile, kBadAdapter, device->DestroyEventAdapter(adapter));
    EXPECT_NO_THROW(other.DestroyChunkParser(parser));
    EXPECT_NO_THROW(other.DestroyEventAdapter(adapter));
}

TEST_F(HandedOutObjects, SurviveACloseWhenTheyRelyOnThemselves) {
    device->ExtractChunkDataNodeMapFromString(CameraXmlWithChunks(), {});
    Open();
    Tavix::ISelfReliantChunkParser* const parser = device->CreateSelfReliantChunkParser();
    device->Close();
    EXPECT_NE(nullptr, parser->GetChunkDataNodeMap()->GetNode("ChunkWidth"));
    device->DestroySelfReliantChunkParser(parser);
}

TEST_F(HandedOutObjects, DoNotOutliveADeviceThatWasNeverOpen) {
    device->CreateChunkParser();
    device->CreateEventAdapter();
    Destroy(); // the leak checker looks
}

TEST_F(HandedOutObjects, ComeAndGoWithoutADescription) {
    Destroy();
    Make();
    device->CreateEventAdapter();
    Tavix::IEventAdapter* const second = device->CreateEventAdapter();
    EXPECT_NO_THROW(device->DestroyEventAdapter(second));
    EXPECT_FAILURE(RuntimeException, kFile, kBadAdapter, device->DestroyEventAdapter(second));
}

/// A chunk and an event with data, and a chunk description.
class HandedOutObjectsWithData : public DeviceFixture {
protected:
    HandedOutObjectsWithData() {
        const std::string xml = CameraXmlWith(R"(<Category Name="ChunkData"><pFeature>Chunk</pFeature></Category>
            <Port Name="ChunkPort"><ChunkID>1</ChunkID></Port>
            <IntReg Name="Chunk"><Address>0</Address><Length>1</Length><AccessMode>RO</AccessMode><pPort>ChunkPort</pPort></IntReg>
            <Port Name="EventPort"><EventID>1</EventID></Port>
            <IntReg Name="Event"><Address>2</Address><Length>2</Length><AccessMode>RO</AccessMode><pPort>EventPort</pPort></IntReg>)");
        Load(xml);
        device->ExtractChunkDataNodeMapFromString(xml, {});
        Open();
    }

    unsigned char payload[9] = {42, 1, 0, 0, 0, 1, 0, 0, 0};
};

TEST_F(HandedOutObjectsWithData, AreGoneAfterADestructionWhenTheyRelyOnThemselves) {
    Tavix::ISelfReliantChunkParser* const parser = device->CreateSelfReliantChunkParser();
    parser->AttachBuffer(payload, sizeof payload);
    bool heardOfTheEnd = false;
    GenApi::Register(parser->GetChunkDataNodeMap()->GetNode("Chunk"), [&](GenApi::INode*) { heardOfTheEnd = true; });
    device->DestroySelfReliantChunkParser(parser);
    EXPECT_TRUE(heardOfTheEnd);
}

TEST_F(HandedOutObjectsWithData, AreGoneAfterADestructionThoughTheyWereMadeAfterTheClose) {
    device->Close();
    device->CreateChunkParser()->AttachBuffer(payload, sizeof payload);
    ASSERT_EQ(42, Feature("Chunk").GetValue());
    bool heardOfTheEnd = false;
    GenApi::Register(device->GetNodeMap()->GetNode("Chunk"), [&](GenApi::INode*) { heardOfTheEnd = true; });
    Destroy();
    EXPECT_TRUE(heardOfTheEnd);
}

} // namespace
