// What real descriptions and applications do that an engine may stumble over, each in the smallest description.
#include "genapi/support/XmlMap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

using namespace GenApi;
using genapi_test::Held;
using genapi_test::kRegisterRest;
using genapi_test::MemoryPort;
using genapi_test::Reg;
using genapi_test::XmlMap;

namespace {

std::string KnifeOf(const std::string& name, const std::string& formula, const std::string& variable) {
    return "<IntSwissKnife Name='" + name + "'><pVariable Name='X'>" + variable + "</pVariable><Formula>" + formula +
           "</Formula></IntSwissKnife>";
}

// Hands the whole buffer to every port. bound to a thread
class WholeBufferForAll final : public CChunkAdapter {
public:
    explicit WholeBufferForAll(INodeMap* pNodeMap) : CChunkAdapter(pNodeMap) {}
    bool CheckBufferLayout(uint8_t*, int64_t) override { return true; }
    void AttachBuffer(uint8_t* pBuffer, int64_t length, AttachStatistics_t*) override {
        for (CChunkPort* const pPort : m_ChunkPorts)
            pPort->AttachChunk(pBuffer, 0, length, /*Cache=*/false);
    }
};

} // namespace

TEST(Quirk, CirclesOfInvalidatorsEndAndSelfInvalidatedRegistersAreReadAgain) {
    XmlMap map(Reg("A", "0", "<pInvalidator>B</pInvalidator>") + Reg("B", "8", "<pInvalidator>A</pInvalidator>") +
               Reg("Self", "16", "<pInvalidator>Self</pInvalidator>") + Reg("Plain", "24"));
    for (const char* const name : {"A", "Self"}) {
        map.Integer(name).SetValue(1);
        const int before = map.port.reads;
        map.Integer(name).GetValue();
        EXPECT_EQ(map.port.reads, before + 1) << name;
    }
    map.Integer("Plain").SetValue(1);
    const int before = map.port.reads;
    map.Integer("Plain").GetValue();
    EXPECT_EQ(map.port.reads, before);
}

TEST(Quirk, LimitsNeedEachOthersValues) {
    XmlMap map("<Integer Name='Width'><Value>60</Value><Min>1</Min><pMax>WidthMax</pMax></Integer>"
               "<Integer Name='OffsetX'><Value>30</Value><Min>0</Min><pMax>OffsetMax</pMax></Integer>" +
               KnifeOf("WidthMax", "100 - X", "OffsetX") + KnifeOf("OffsetMax", "100 - X", "Width"));
    EXPECT_EQ(map.Integer("Width").GetMax(), 70);
    EXPECT_EQ(map.Integer("OffsetX").GetMax(), 40);
    EXPECT_NO_THROW(map.Integer("Width").SetValue(70));
    EXPECT_THROW(map.Integer("OffsetX").SetValue(31), GenICam::OutOfRangeException);
}

TEST(Quirk, AValueThatNeedsItselfThrows) {
    XmlMap map("<Integer Name='A'><pValue>B</pValue></Integer><Integer Name='B'><pValue>A</pValue></Integer>" +
               KnifeOf("K", "X + 1", "K"));
    EXPECT_THROW(map.Integer("A").GetValue(), GenICam::GenericException);
    EXPECT_THROW(map.Integer("K").GetValue(), GenICam::GenericException);
}

TEST(Quirk, AnEntrysAvailabilityNeedsItsEnumeration) {
    XmlMap map(
        "<Enumeration Name='N'><EnumEntry Name='Off'><Value>0</Value></EnumEntry><EnumEntry Name='Once'>"
        "<pIsAvailable>IsOn</pIsAvailable><Value>1</Value></EnumEntry><EnumEntry Name='On'><Value>2</Value></EnumEntry>"
        "<Value>2</Value></Enumeration>" +
        KnifeOf("IsOn", "X = 2", "N"));
    EXPECT_EQ(map.Text("N"), "On");
    StringList_t symbolics;
    map.Enumeration("N").GetSymbolics(symbolics);
    EXPECT_EQ(symbolics.size(), 3u);
    map.Enumeration("N").FromString("Off");
    EXPECT_THROW(map.Enumeration("N").FromString("Once"), GenICam::AccessException);
}

TEST(Quirk, ABitFieldDoesNotRestoreStaleNeighbours) {
    const auto bits = [](const std::string& name, const std::string& place, const std::string& cache) {
        return "<MaskedIntReg Name='" + name + "'><Address>0</Address>" + kRegisterRest + "<Cachable>" + cache +
               "</Cachable>" + place + "</MaskedIntReg>";
    };
    XmlMap map(bits("Low", "<LSB>0</LSB><MSB>3</MSB>", "WriteThrough") +
               bits("High", "<LSB>4</LSB><MSB>7</MSB>", "NoCache"));
    map.Integer("Low").GetValue();
    map.Integer("High").SetValue(0xA);
    map.port.Put(0, {0xC0}); // the device changes its mind
    map.Integer("Low").SetValue(5);
    EXPECT_EQ(map.port.Get(0, 1), (std::vector<uint8_t>{0xC5}));
    map.Integer("High").SetValue(1);
    EXPECT_EQ(map.Integer("Low").GetValue(), 5);
    EXPECT_EQ(map.port.Get(0, 1), (std::vector<uint8_t>{0x15}));
}

TEST(Quirk, AnImposedModeOnlyRestricts) {
    XmlMap map(
        "<IntReg Name='N'><ImposedAccessMode>RW</ImposedAccessMode><Address>0</Address><Length>4</Length><AccessMode>RO"
        "</AccessMode><pPort>Device</pPort></IntReg>");
    EXPECT_EQ(map.Mode("N"), RO);
    EXPECT_THROW(map.Integer("N").SetValue(1), GenICam::AccessException);
}

TEST(Quirk, LocksAreOfAnyKind) {
    XmlMap map(
        "<Boolean Name='Flag'><Value>true</Value></Boolean><Enumeration Name='Choice'><EnumEntry Name='Off'><Value>0"
        "</Value></EnumEntry><EnumEntry Name='On'><Value>1</Value></EnumEntry><Value>0</Value></Enumeration>"
        "<Integer Name='A'><pIsLocked>Flag</pIsLocked><Value>1</Value></Integer>"
        "<Integer Name='B'><pIsLocked>Choice</pIsLocked><Value>1</Value></Integer>");
    EXPECT_EQ(map.Mode("A"), RO);
    EXPECT_EQ(map.Mode("B"), RW);
    map.Enumeration("Choice").FromString("On");
    EXPECT_EQ(map.Mode("B"), RO);
}

TEST(Quirk, LocksOfDeeperNodesAreObeyed) {
    XmlMap map(Held("Yes", "1") +
               "<Integer Name='Top'><pValue>Middle</pValue></Integer><Integer Name='Middle'><pIsLocked>Yes"
               "</pIsLocked><pValue>R</pValue></Integer>" +
               Reg("R", "0"));
    EXPECT_EQ(map.Mode("Top"), RO);
    EXPECT_THROW(map.Integer("Top").SetValue(1), GenICam::AccessException);
    EXPECT_EQ(map.port.writes, 0);
    map.Integer("Top").SetValue(1, /*Verify=*/false);
    EXPECT_EQ(map.port.writes, 1);
}

TEST(Quirk, ChunksAreFreshWithTheNextImage) {
    XmlMap map(
        "<Port Name='Chunk'><ChunkID>0001</ChunkID></Port><IntReg Name='N'><Address>0</Address><Length>4</Length>"
        "<AccessMode>RO</AccessMode><pPort>Chunk</pPort></IntReg>");
    uint8_t first[4] = {1};
    uint8_t second[4] = {2};
    WholeBufferForAll adapter(&map.Map());
    adapter.AttachBuffer(first, sizeof first, nullptr);
    EXPECT_EQ(map.Integer("N").GetValue(), 1);
    adapter.AttachBuffer(second, sizeof second, nullptr);
    EXPECT_EQ(map.Integer("N").GetValue(), 2);
}

TEST(Quirk, MapsAreLargeAndLinksAreMany) {
    std::string nodes = Reg("R", "0");
    constexpr int kNodes = 5000;
    for (int i = 0; i < kNodes; ++i) // forward references, in chains of twenty
        nodes += "<Integer Name='N" + std::to_string(i) + "'><pValue>" +
                 (i % 20 == 19 ? "R" : "N" + std::to_string(i + 1)) + "</pValue></Integer>";
    std::string invalidators;
    for (int i = 0; i < 107; ++i)
        invalidators += "<pInvalidator>N" + std::to_string(i * 20) + "</pInvalidator>";
    XmlMap map(nodes + Reg("Many", "8", invalidators));
    EXPECT_EQ(map.Map().GetNumNodes(), static_cast<uint64_t>(kNodes + 3));
    map.port.Put(0, {42, 0, 0, 0});
    EXPECT_EQ(map.Integer("N0").GetValue(), 42);
    EXPECT_EQ(map.Integer("N4980").GetValue(), 42);
    EXPECT_EQ(map.port.reads, 1);
    map.Integer("Many").GetValue();
    map.Integer("N0").SetValue(7);
    map.Integer("Many").GetValue();
    EXPECT_EQ(map.port.reads, 3);
}

TEST(Quirk, WithoutAWordTheCacheIsWrittenThrough) {
    XmlMap map(Reg("N", "0"));
    EXPECT_EQ(map.Node("N").GetCachingMode(), WriteThrough);
    map.Integer("N").GetValue();
    map.Integer("N").GetValue();
    EXPECT_EQ(map.port.reads, 1);
}

TEST(Quirk, EachRegisterUsesItsOwnPort) {
    CNodeMapRef map;
    map._LoadXMLFromString(
        (XmlMap::Head('1') + "<Port Name='Device'/><Port Name='Other'/>" + Reg("A", "0") +
         "<IntReg Name='B'><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Other"
         "</pPort></IntReg></RegisterDescription>")
            .c_str());
    MemoryPort device;
    MemoryPort other;
    device.Put(0, {1});
    other.Put(0, {2});
    ASSERT_TRUE(map._Connect(&device));
    ASSERT_TRUE(map._Connect(&other, "Other"));
    EXPECT_EQ(CIntegerPtr(map._GetNode("A"))->GetValue(), 1);
    EXPECT_EQ(CIntegerPtr(map._GetNode("B"))->GetValue(), 2);
}

TEST(Quirk, ACommandAsksTheDeviceWhetherItIsDone) {
    XmlMap map("<Command Name='N'><pValue>R</pValue><CommandValue>1</CommandValue></Command>" + Reg("R", "0"));
    ICommand& command = map.As<ICommand>("N");
    command.Execute();
    EXPECT_FALSE(command.IsDone());
    map.port.Put(0, {0, 0, 0, 0}); // a cache would still say 1
    EXPECT_TRUE(command.IsDone());
}

TEST(Quirk, AdaptersAndCallbacksEndInAnyOrder) {
    auto map = std::make_unique<XmlMap>(
        "<Port Name='Chunk'><ChunkID>0001</ChunkID></Port><Port Name='Event'><EventID>01"
        "</EventID></Port><IntReg Name='N'><Address>0</Address><Length>4</Length><AccessMode>RO"
        "</AccessMode><pPort>Chunk</pPort></IntReg>");
    uint8_t buffer[4] = {1};
    const auto alive = std::make_shared<int>();
    Register(&map->Node("N"), [alive](INode*) {});
    {
        WholeBufferForAll chunks(&map->Map());
        CEventAdapterGeneric events(&map->Map());
        chunks.AttachBuffer(buffer, sizeof buffer, nullptr);
        EXPECT_EQ(map->Mode("N"), RO);
    }
    EXPECT_EQ(map->Mode("N"), NI);
    EXPECT_THROW(map->Integer("N").GetValue(), GenICam::AccessException);
    EXPECT_EQ(alive.use_count(), 2);
    map.reset();
    EXPECT_EQ(alive.use_count(), 1);
}

TEST(Quirk, CallbacksTakeThemselvesAndOthersOff) {
    XmlMap map(Held("N", "0"));
    int calls = 0;
    CallbackHandleType first = 0;
    CallbackHandleType second = 0;
    first = Register(&map.Node("N"), [&](INode*) {
        ++calls;
        Deregister(first);
        Deregister(second);
    });
    second = Register(&map.Node("N"), [&](INode*) { calls += 100; });
    map.Integer("N").SetValue(1);
    map.Integer("N").SetValue(2);
    EXPECT_EQ(calls, 1);
}

TEST(Quirk, LimitsOfFloatsAreComparedExactly) {
    XmlMap map(
        "<Float Name='Raw'><Value>1</Value><Min>0</Min><Max>3</Max></Float><Converter Name='N'><FormulaTo>FROM * 7.0"
        "</FormulaTo><FormulaFrom>TO / 7.0</FormulaFrom><pValue>Raw</pValue><Slope>Increasing</Slope></Converter>"
        "<Float Name='F'><Value>0</Value><Max>0.1</Max></Float>");
    IFloat& converted = map.Float("N");
    EXPECT_NO_THROW(converted.SetValue(converted.GetMax()));
    EXPECT_NO_THROW(converted.SetValue(converted.GetMin()));
    EXPECT_NO_THROW(map.Float("F").SetValue(0.1));
    EXPECT_THROW(map.Float("F").SetValue(std::nextafter(0.1, 1.0)), GenICam::OutOfRangeException);
}

TEST(Quirk, ALongRegisterIsAskedForOnce) {
    XmlMap map(
        "<Register Name='N'><Address>0</Address><Length>100000</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>"
        "</Register>");
    std::vector<uint8_t> bytes(100000);
    map.As<IRegister>("N").Get(bytes.data(), 100000);
    EXPECT_EQ(map.port.reads, 1);
    EXPECT_EQ(map.port.lastLength, 100000);
}

TEST(Quirk, AHeldIntegerLocksOthersThroughFormulasThoughNobodySeesIt) {
    XmlMap map(
        "<Integer Name='TLParamsLocked'><Visibility>Invisible</Visibility><Value>0</Value><Min>0</Min><Max>1</Max>"
        "</Integer>" +
        KnifeOf("WidthLocked", "X = 1", "TLParamsLocked") +
        "<Integer Name='Width'><pIsLocked>WidthLocked</pIsLocked><Value>8</Value></Integer>");
    int calls = 0;
    Register(&map.Node("Width"), [&calls](INode*) { ++calls; });
    EXPECT_EQ(map.Mode("Width"), RW);
    map.Integer("TLParamsLocked").SetValue(1);
    EXPECT_EQ(map.Mode("Width"), RO);
    EXPECT_EQ(calls, 1);
    EXPECT_THROW(map.Integer("Width").SetValue(9), GenICam::AccessException);
    map.Integer("TLParamsLocked").SetValue(0);
    EXPECT_NO_THROW(map.Integer("Width").SetValue(9));
}
