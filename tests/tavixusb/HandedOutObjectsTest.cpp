// The chunk parsers and event adapters that a device hands out.

#include "support/DeviceTest.h"

namespace {

constexpr char kBadParser[] = "Failed to destroy chunk parser: Invalid pointer";
constexpr char kBadAdapter[] = "Failed to destroy event adapter: Invalid pointer";
constexpr char kFile[] = "TavixUsbDeviceParsers.cpp";

class HandedOutObjects : public DeviceTest {
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

} // namespace
