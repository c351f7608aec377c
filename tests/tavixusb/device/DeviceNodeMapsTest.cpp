// The camera node map, the chunk node maps and the switch for older names.

#include "tavixusb/support/DeviceFixture.h"

namespace {

constexpr char kTooMany[] =
    "Cannot create node map. Too many strings(2) to inject. Currently the injection of only one "
    "XML string is supported.";

class DeviceNodeMaps : public DeviceFixture {
protected:
    const Tavix::gcstring_vector two{"<a/>", "<b/>"};
};

TEST_F(DeviceNodeMaps, HasNoCameraNodeMapAtFirst) {
    EXPECT_EQ(nullptr, device->GetNodeMap());
}

TEST_F(DeviceNodeMaps, LoadsTheCameraNodeMapFromText) {
    Load(CameraXml());
    EXPECT_NE(nullptr, device->GetNodeMap()->GetNode("Width"));
    EXPECT_EQ("Device", device->GetNodeMap()->GetDeviceName());
}

TEST_F(DeviceNodeMaps, LoadsTheCameraNodeMapOnce) {
    Load(CameraXml());
    EXPECT_FAILURE(RuntimeException, "NodeMapRef.h", "DLL already loaded", Load(CameraXml()));
}

TEST_F(DeviceNodeMaps, ForgetWhatTheyReadBeforeTheDeviceWasOpened) {
    Load(
        CameraXmlWith(R"(<IntReg Name="Remembered"><Address>0x300</Address><Length>4</Length><AccessMode>RW</AccessMode>
        <pPort>Device</pPort><Cachable>WriteThrough</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
        </IntReg>)"));
    Open();
    Feature("Remembered").SetValue(64);
    device->Close();
    bus.memory[0x300] = 128; // another camera at the same port, or the same one after a loss of power
    Open();
    EXPECT_EQ(128, Feature("Remembered").GetValue());
}

TEST_F(DeviceNodeMaps, InjectsNoMoreThanOneText) {
    EXPECT_FAILURE(RuntimeException, "TavixDevicePrivateImpl.h", kTooMany,
                   device->CreateNodemapFromString(CameraXml(), two));
    EXPECT_FAILURE(RuntimeException, "TavixDevicePrivateImpl.h", kTooMany,
                   device->CreateNodemapFromFile("nowhere.xml", two));
    EXPECT_FAILURE(RuntimeException, "TavixDevicePrivateImpl.h", kTooMany,
                   device->ExtractChunkDataNodeMapFromString(CameraXml(), two));
    EXPECT_FAILURE(RuntimeException, "TavixDevicePrivateImpl.h", kTooMany,
                   device->ExtractChunkDataNodeMapFromFile("nowhere.xml", two));
}

TEST_F(DeviceNodeMaps, SupportsChunkNodeMaps) {
    EXPECT_TRUE(device->GetChunkDataNodeMapSupported());
}

TEST_F(DeviceNodeMaps, MakesChunkNodeMapsOfTheirOwn) {
    Load(CameraXmlWithChunks());
    device->ExtractChunkDataNodeMapFromString(CameraXmlWithChunks(), {});
    EXPECT_TRUE(device->ChunkDataXmlDescriptionAvailable());
    const auto first = device->CreateChunkNodeMap();
    const auto second = device->CreateChunkNodeMap();
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->_Ptr, second->_Ptr);
    EXPECT_NE(nullptr, first->_GetNode("ChunkWidth"));
    EXPECT_EQ(nullptr, first->_GetNode("Width"));
}

TEST_F(DeviceNodeMaps, HasNoChunkNodeMapForACameraWithoutChunkData) {
    Load(CameraXml());
    device->ExtractChunkDataNodeMapFromString(CameraXml(), {});
    EXPECT_FALSE(device->ChunkDataXmlDescriptionAvailable());
    EXPECT_FALSE(device->CreateChunkNodeMap());
    EXPECT_EQ(nullptr, device->CreateSelfReliantChunkParser());
}

TEST_F(DeviceNodeMaps, MakesSelfReliantChunkParsers) {
    Load(CameraXmlWithChunks());
    device->ExtractChunkDataNodeMapFromString(CameraXmlWithChunks(), {});
    Tavix::ISelfReliantChunkParser* const parser = device->CreateSelfReliantChunkParser();
    ASSERT_NE(nullptr, parser);
    EXPECT_NE(nullptr, parser->GetChunkDataNodeMap()->GetNode("ChunkWidth"));
    device->DestroySelfReliantChunkParser(parser);
}

TEST_F(DeviceNodeMaps, LetsASelfReliantChunkParserOutliveTheDevice) {
    Load(CameraXmlWithChunks());
    device->ExtractChunkDataNodeMapFromString(CameraXmlWithChunks(), {});
    Tavix::ISelfReliantChunkParser* const parser = device->CreateSelfReliantChunkParser();
    Destroy();
    EXPECT_NE(nullptr, parser->GetChunkDataNodeMap()->GetNode("ChunkWidth"));
    parser->Destroy();
}

TEST_F(DeviceNodeMaps, PutsTheLayerForOlderNamesInFrontWhileMigrationIsOn) {
    Load(CameraXml());
    GenApi::INodeMap* const camera = device->GetNodeMap();
    MigrationModeEnable().SetValue(true);
    GenApi::INodeMap* const layer = device->GetNodeMap();
    EXPECT_NE(camera, layer);
    EXPECT_NE(nullptr, layer->GetNode("Width"));
    MigrationModeEnable().SetValue(false);
    EXPECT_EQ(camera, device->GetNodeMap());
    MigrationModeEnable().SetValue(true);
    EXPECT_EQ(layer, device->GetNodeMap());
}

TEST_F(DeviceNodeMaps, SaysThatMigrationModeChanged) {
    Load(CameraXml());
    log.Forget();
    MigrationModeEnable().SetValue(true);
    MigrationModeEnable().SetValue(true); // whoever sets it is told, be it news or not
    MigrationModeEnable().SetValue(false);
    const LogLine on{kDeviceLog, 32, "Migration mode for device '1:2:3' changed to 1"};
    const LogLine off{kDeviceLog, 32, "Migration mode for device '1:2:3' changed to 0"};
    EXPECT_THAT(log.All(), testing::ElementsAre(on, on, off));
}

TEST_F(DeviceNodeMaps, SwitchesMigrationModeBeforeTheParametersAreUnlocked) {
    Load(CameraXml());
    const GenApi::AutoLock guard(device->GetTLNodeMap()->GetLock());
    MigrationModeEnable().SetValue(true);
    EXPECT_NE(device->_Ptr, device->GetNodeMap());
}

TEST_F(DeviceNodeMaps, IgnoresMigrationModeThatCannotBeRead) {
    Load(CameraXml());
    log.Forget();
    device->GetTLNodeMap()->GetNode("MigrationModeEnable")->ImposeAccessMode(GenApi::WO);
    MigrationModeEnable().SetValue(true, /*Verify=*/false);
    EXPECT_THAT(log.All(), testing::IsEmpty());
    EXPECT_EQ(device->_Ptr, device->GetNodeMap());
}

TEST_F(DeviceNodeMaps, FollowsMigrationModeThatCanOnlyBeRead) {
    Load(CameraXml());
    device->GetTLNodeMap()->GetNode("MigrationModeEnable")->ImposeAccessMode(GenApi::RO);
    MigrationModeEnable().SetValue(true, /*Verify=*/false);
    EXPECT_NE(device->_Ptr, device->GetNodeMap());
}

TEST_F(DeviceNodeMaps, KeepsTheLayerForOlderNamesAcrossAClose) {
    Load(CameraXml());
    Open();
    MigrationModeEnable().SetValue(true);
    GenApi::INodeMap* const layer = device->GetNodeMap();
    device->Close();
    Open();
    EXPECT_EQ(layer, device->GetNodeMap());
}

TEST_F(DeviceNodeMaps, SurvivesMigrationModeWithoutCameraNodeMap) {
    MigrationModeEnable().SetValue(true);
    EXPECT_EQ(nullptr, device->GetNodeMap());
}

} // namespace
