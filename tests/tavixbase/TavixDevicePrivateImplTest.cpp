#include "tavix/internal/TavixDevicePrivateImpl.h"

#include "tavixbase/support/EmptyDevice.h"
#include "tavixbase/support/Expect.h"
#include "tavixbase/support/Scoped.h"

#include <GenApi/Pointer.h>
#include <GenApi/PortImpl.h>

#include <cstring>

namespace Tavix {
namespace {

constexpr const char* kHead = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Cam" VendorName="V" ToolTip="t" StandardNameSpace="None" SchemaMajorVersion="1"
  SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
  ProductGuid="1F4B3A10-0000-4000-8000-000000000001" VersionGuid="1F4B3A10-0000-4000-8000-000000000002"
  xmlns="http://www.genicam.org/GenApi/Version_1_1">
)";

constexpr const char* kWidth = R"(<Category Name="Root"><pFeature>Width</pFeature></Category>
<IntReg Name="Width"><Address>0x10</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
<Port Name="Device"/>
)";

constexpr const char* kChunk = R"(<Category Name="ChunkData"><pFeature>ChunkGain</pFeature></Category>
<IntReg Name="ChunkGain"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>GainPort</pPort>
  <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
<Port Name="GainPort"><ChunkID>00001234</ChunkID></Port>
)";

std::string Description(const std::string& nodes) {
    return kHead + nodes + "</RegisterDescription>\n";
}

const gcstring kPlainXml = Description(kWidth);
const gcstring kChunkXml = Description(std::string(kWidth) + kChunk);
const gcstring kInject = Description(R"(<Integer Name="Injected"><Value>5</Value></Integer>)");

// A device with one register, which reads as its own address. Bound to a thread.
class Camera final : public EmptyDevice<CTavixDevicePrivateImpl<ITavixDevice>>, public GenApi::CPortImpl {
public:
    explicit Camera(bool* pDestroyed = nullptr, bool supportsChunks = true)
        : m_pDestroyed(pDestroyed), m_SupportsChunks(supportsChunks) {}
    ~Camera() override {
        if (m_pDestroyed) *m_pDestroyed = true;
    }

    bool GetChunkDataNodeMapSupported() const override { return m_SupportsChunks; }

    bool IsOpen() const override { return true; }
    GenApi::INodeMap* GetNodeMap() override { return _Ptr; }

    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* pBuffer, int64_t address, int64_t length) override {
        std::memset(pBuffer, 0, static_cast<std::size_t>(length));
        *static_cast<unsigned char*>(pBuffer) = static_cast<unsigned char>(address);
    }
    void Write(const void*, int64_t, int64_t) override {}

private:
    bool* m_pDestroyed;
    bool m_SupportsChunks;
};

int64_t ValueOf(GenApi::INodeMap* pNodeMap, const char* name) {
    return GenApi::CIntegerPtr(pNodeMap->GetNode(name))->GetValue();
}

constexpr const char* kTooManyTexts =
    "Cannot create node map. Too many strings(2) to inject. Currently the injection of "
    "only one XML string is supported.";
const gcstring_vector kTwo{"<a/>", "<b/>"};

} // namespace

TEST(TavixDevicePrivateImpl, LoadsTheCameraNodeMapAndBecomesItsPort) {
    Camera camera;
    camera.CreateNodemapFromString(kPlainXml, {});
    EXPECT_EQ(ValueOf(camera.GetNodeMap(), "Width"), 0x10);
    EXPECT_EQ(camera.GetNodeMap()->GetDeviceName(), "Device");
}

TEST(TavixDevicePrivateImpl, LoadsFromAFile) {
    const ScopedFolder folder;
    Camera camera;
    camera.CreateNodemapFromFile(folder.Write("cam.xml", kPlainXml.str()).c_str(), {});
    EXPECT_EQ(ValueOf(camera.GetNodeMap(), "Width"), 0x10);
}

TEST(TavixDevicePrivateImpl, InjectsOneFragmentIntoTextAndFileAlike) {
    const ScopedFolder folder;
    Camera fromText, fromFile;
    fromText.CreateNodemapFromString(kPlainXml, {kInject});
    fromFile.CreateNodemapFromFile(folder.Write("cam.xml", kPlainXml.str()).c_str(), {kInject});
    for (Camera* pCamera : {&fromText, &fromFile}) {
        EXPECT_EQ(ValueOf(pCamera->GetNodeMap(), "Injected"), 5);
        EXPECT_EQ(ValueOf(pCamera->GetNodeMap(), "Width"), 0x10);
    }
}

TEST(TavixDevicePrivateImpl, RefusesTwoFragmentsInAllFourOperations) {
    Camera camera;
    EXPECT_THROW_TEXT(RuntimeException, camera.CreateNodemapFromString(kPlainXml, kTwo), kTooManyTexts);
    EXPECT_THROW_TEXT(RuntimeException, camera.CreateNodemapFromFile("/no.xml", kTwo), kTooManyTexts);
    EXPECT_THROW_TEXT(RuntimeException, camera.ExtractChunkDataNodeMapFromString(kChunkXml, kTwo), kTooManyTexts);
    EXPECT_THROW_TEXT(RuntimeException, camera.ExtractChunkDataNodeMapFromFile("/no.xml", kTwo), kTooManyTexts);
    EXPECT_EQ(camera.GetNodeMap(), nullptr);
}

TEST(TavixDevicePrivateImpl, NamesItsSourceFile) {
    Camera camera;
    const auto thrown = Thrown<GenICam::RuntimeException>([&] { camera.CreateNodemapFromString(kPlainXml, kTwo); });
    ASSERT_TRUE(thrown);
    EXPECT_EQ(std::string(thrown->GetSourceFileName()).rfind("TavixDevicePrivateImpl", 0), 0U);
}

TEST(TavixDevicePrivateImpl, LoadsTheCameraNodeMapOnce) {
    Camera camera;
    camera.CreateNodemapFromString(kPlainXml, {});
    const ScopedFolder folder;
    const gcstring path = folder.Write("cam.xml", kPlainXml.str()).c_str();
    for (const gcstring_vector& strings : {gcstring_vector(), gcstring_vector{kInject}}) {
        EXPECT_THROW_TEXT(RuntimeException, camera.CreateNodemapFromString(kPlainXml, strings), "DLL already loaded");
        EXPECT_THROW_TEXT(RuntimeException, camera.CreateNodemapFromFile(path, strings), "DLL already loaded");
    }
    EXPECT_EQ(ValueOf(camera.GetNodeMap(), "Width"), 0x10);
    EXPECT_EQ(camera.GetNodeMap()->GetNode("Injected"), nullptr);
}

TEST(TavixDevicePrivateImpl, FailsOnABadDescription) {
    Camera camera;
    EXPECT_THROW(camera.CreateNodemapFromString("<broken", {}), GenICam::GenericException);
    EXPECT_THROW(camera.CreateNodemapFromFile("/no/such.xml", {}), GenICam::GenericException);
    EXPECT_THROW(camera.CreateNodemapFromFile("/no/such.xml", {kInject}), GenICam::RuntimeException);
}

TEST(TavixDevicePrivateImpl, ExtractsTheChunkDescription) {
    Camera camera;
    camera.CreateNodemapFromString(kChunkXml, {});
    EXPECT_FALSE(camera.ChunkDataXmlDescriptionAvailable());
    camera.ExtractChunkDataNodeMapFromString(kChunkXml, {});
    EXPECT_TRUE(camera.ChunkDataXmlDescriptionAvailable());
    const boost::shared_ptr<GenApi::CNodeMapRef> pChunks = camera.CreateChunkNodeMap();
    ASSERT_TRUE(pChunks);
    EXPECT_NE(pChunks->_GetNode("ChunkGain"), nullptr);
    EXPECT_NE(pChunks->_GetNode("GainPort"), nullptr);
    EXPECT_EQ(pChunks->_GetNode("Width"), nullptr);
    EXPECT_EQ(pChunks->_GetDeviceName(), "Device");
}

TEST(TavixDevicePrivateImpl, ExtractsTheChunkDescriptionFromAFile) {
    const ScopedFolder folder;
    const gcstring path = folder.Write("cam.xml", kChunkXml.str()).c_str();
    Camera camera;
    camera.CreateNodemapFromFile(path, {});
    camera.ExtractChunkDataNodeMapFromFile(path, {});
    EXPECT_TRUE(camera.ChunkDataXmlDescriptionAvailable());
}

TEST(TavixDevicePrivateImpl, ExtractsWithTheFragmentThatTheNodeMapHas) {
    const gcstring chunks = Description(kChunk);
    const ScopedFolder folder;
    Camera camera;
    camera.CreateNodemapFromString(kPlainXml, {chunks});
    camera.ExtractChunkDataNodeMapFromString(kPlainXml, {chunks});
    ASSERT_TRUE(camera.ChunkDataXmlDescriptionAvailable());
    EXPECT_NE(camera.CreateChunkNodeMap()->_GetNode("ChunkGain"), nullptr);
    camera.ExtractChunkDataNodeMapFromFile(folder.Write("cam.xml", kPlainXml.str()).c_str(), {chunks});
    EXPECT_TRUE(camera.ChunkDataXmlDescriptionAvailable());
}

TEST(TavixDevicePrivateImpl, MakesAFreshChunkNodeMapEachTime) {
    Camera camera;
    camera.CreateNodemapFromString(kChunkXml, {});
    camera.ExtractChunkDataNodeMapFromString(kChunkXml, {});
    const auto pOne = camera.CreateChunkNodeMap(), pOther = camera.CreateChunkNodeMap();
    EXPECT_NE(pOne->_Ptr, pOther->_Ptr);
}

TEST(TavixDevicePrivateImpl, HasNoChunkDescriptionWithoutTheNodeChunkData) {
    Camera camera;
    camera.CreateNodemapFromString(kPlainXml, {});
    camera.ExtractChunkDataNodeMapFromString(kPlainXml, {});
    EXPECT_FALSE(camera.ChunkDataXmlDescriptionAvailable());
    EXPECT_FALSE(camera.CreateChunkNodeMap());
}

TEST(TavixDevicePrivateImpl, HasNoChunkDescriptionBeforeTheCameraNodeMap) {
    Camera camera;
    camera.ExtractChunkDataNodeMapFromString(kChunkXml, {});
    EXPECT_FALSE(camera.ChunkDataXmlDescriptionAvailable());
}

TEST(TavixDevicePrivateImpl, HasNoChunkDescriptionWhenChunksAreNotSupported) {
    Camera camera(nullptr, /*supportsChunks=*/false);
    camera.CreateNodemapFromString(kChunkXml, {});
    camera.ExtractChunkDataNodeMapFromString(kChunkXml, {});
    EXPECT_FALSE(camera.ChunkDataXmlDescriptionAvailable());
    EXPECT_FALSE(camera.CreateChunkNodeMap());
}

TEST(TavixDevicePrivateImpl, ForgetsTheChunkDescriptionBeforeANewExtraction) {
    Camera camera;
    camera.CreateNodemapFromString(kChunkXml, {});
    camera.ExtractChunkDataNodeMapFromString(kChunkXml, {});
    EXPECT_THROW_TEXT(RuntimeException, camera.ExtractChunkDataNodeMapFromString(kChunkXml, kTwo), kTooManyTexts);
    EXPECT_FALSE(camera.ChunkDataXmlDescriptionAvailable());
}

TEST(TavixDevicePrivateImpl, DeleteDestroysTheDevice) {
    bool destroyed = false;
    ITavixDevice* const pDevice = new Camera(&destroyed);
    dynamic_cast<ITavixDevicePrivate*>(pDevice)->Delete();
    EXPECT_TRUE(destroyed);
}

} // namespace Tavix
