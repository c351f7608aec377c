// Chunks of a buffer as features.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

#include <memory>

using namespace GenApi;
using genapi_test::TestMap;

namespace {

// Attaches the whole buffer behind its first 8 bytes to every port. bound to a thread
class WholeBuffer final : public CChunkAdapter {
public:
    using CChunkAdapter::CChunkAdapter;
    bool CheckBufferLayout(uint8_t*, int64_t) override { return true; }
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, AttachStatistics_t* = nullptr) override {
        for (CChunkPort* const pPort : m_ChunkPorts)
            pPort->AttachChunk(pBuffer, 8, BufferLength - 8, caches);
    }
    std::size_t NumPorts() const { return m_ChunkPorts.size(); }
    CChunkPort& Port(std::size_t index) const { return *m_ChunkPorts[index]; }
    bool caches = false;
};

// A chunk port with a feature at address 0 and registers beyond the ends. bound to a thread
class ChunkMap : public TestMap {
public:
    explicit ChunkMap(const char* cacheChunkData = "No") {
        Add("Port", "ChunkPort", {{"ChunkID", "0504000D", ""}, {"CacheChunkData", cacheChunkData, ""}});
        Add("Integer", "Feature", {{"pValue", "Reg", ""}});
        AddChunkRegister("Reg", "0");
        AddChunkRegister("Behind", "2");
        AddChunkRegister("InFront", "-4").Ready();
    }
    ChunkMap& AddChunkRegister(const char* name, const char* address) {
        Add("IntReg", name, {{"pPort", "ChunkPort", ""}, {"Address", address, ""}, {"Length", "4", ""}});
        return *this;
    }
    uint8_t buffer[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
};

} // namespace

TEST(ChunkPort, ComparesIdsAsNumbers) {
    ChunkMap map;
    CChunkPort port(&map.As<IPort>("ChunkPort"));
    uint8_t id[] = {5, 4, 0, 13};
    uint8_t longer[] = {0, 5, 4, 0, 13};
    EXPECT_EQ(port.GetChunkIDLength(), 4);
    EXPECT_TRUE(port.CheckChunkID(id, 4));
    EXPECT_TRUE(port.CheckChunkID(longer, 5));
    EXPECT_FALSE(port.CheckChunkID(id, 3));
    EXPECT_FALSE(port.CheckChunkID(nullptr, 4));
    EXPECT_TRUE(port.CheckChunkID(0x0504000D));
    EXPECT_FALSE(port.CheckChunkID(0x0504000E));
    EXPECT_EQ(port.GetNode(), &map.Node("ChunkPort"));
}

TEST(ChunkPort, RefusesPortsWithoutAnId) {
    ChunkMap map;
    CChunkPort port;
    EXPECT_FALSE(port.AttachPort(&map.As<IPort>("Device")));
    EXPECT_FALSE(port.AttachPort(nullptr));
    EXPECT_FALSE(port.CheckChunkID(0));
    uint8_t bytes[4];
    EXPECT_THROW(port.AttachChunk(bytes, 0, 4, false), GenICam::LogicalErrorException);
}

TEST(ChunkPort, TakesItsIdFromAnotherNode) {
    TestMap map;
    map.Add("String", "Id", {{"Value", "00AB", ""}});
    map.Add("Port", "ChunkPort", {{"pChunkID", "Id", ""}}).Ready();
    CChunkPort port(&map.As<IPort>("ChunkPort"));
    EXPECT_TRUE(port.CheckChunkID(0xAB));
    map.As<IString>("Id").SetValue("00AC");
    EXPECT_FALSE(port.CheckChunkID(0xAB));
    EXPECT_TRUE(port.CheckChunkID(0xAC));
}

TEST(ChunkAdapter, MakesTheBytesOfAChunkReadable) {
    ChunkMap map;
    WholeBuffer adapter(&map);
    EXPECT_EQ(adapter.NumPorts(), 1u);
    EXPECT_EQ(map.Mode("Feature"), NA);
    adapter.AttachBuffer(map.buffer, 12);
    EXPECT_EQ(map.Mode("Feature"), RO);
    EXPECT_EQ(map.Integer("Feature").GetValue(), 0x0B0A0908);
    EXPECT_THROW(map.Integer("Behind").GetValue(), GenICam::OutOfRangeException);
    EXPECT_EQ(map.Integer("InFront").GetValue(), 0x07060504);
    adapter.DetachBuffer();
    EXPECT_EQ(map.Mode("Feature"), NA);
    EXPECT_THROW(map.Integer("Feature").GetValue(), GenICam::AccessException);
}

TEST(ChunkAdapter, ReadsTheNextBufferAndTellsTheFeatures) {
    ChunkMap map;
    WholeBuffer adapter(&map);
    adapter.AttachBuffer(map.buffer, 12);
    map.Integer("Feature").GetValue();
    int calls = 0;
    Register(&map.Node("Feature"), [&](INode*) { ++calls; });
    uint8_t next[12] = {};
    adapter.UpdateBuffer(next);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(map.Integer("Feature").GetValue(), 0);
    next[8] = 9;
    adapter.AttachBuffer(next, 12);
    EXPECT_EQ(map.Integer("Feature").GetValue(), 9);
    EXPECT_EQ(calls, 2);
}

TEST(ChunkAdapter, CopiesTheBytesWhenBothSidesAllowIt) {
    ChunkMap map("Yes");
    WholeBuffer adapter(&map);
    adapter.caches = true;
    adapter.AttachBuffer(map.buffer, 12);
    map.buffer[8] = 99;
    EXPECT_EQ(map.Integer("Feature").GetValue(), 0x0B0A0908);
    EXPECT_EQ(map.Integer("InFront").GetValue(), 0x07060504);
    adapter.ClearCaches();
    EXPECT_EQ(map.Mode("Feature"), NA);
}

TEST(ChunkAdapter, LeavesTheMapDisconnected) {
    ChunkMap map;
    {
        WholeBuffer adapter(&map);
        adapter.AttachBuffer(map.buffer, 12);
    }
    EXPECT_EQ(map.Mode("Feature"), NI);
    WholeBuffer adapter;
    adapter.AttachNodeMap(&map);
    EXPECT_EQ(map.Mode("Feature"), NA);
    adapter.DetachNodeMap();
    EXPECT_EQ(adapter.NumPorts(), 0u);
}

TEST(ChunkPort, RefusesImpossiblePlaces) {
    ChunkMap map;
    WholeBuffer adapter(&map);
    CChunkPort& port = adapter.Port(0);
    EXPECT_THROW(port.AttachChunk(nullptr, 0, 4, false), GenICam::InvalidArgumentException);
    EXPECT_THROW(port.AttachChunk(map.buffer, -1, 4, false), GenICam::InvalidArgumentException);
    EXPECT_THROW(port.AttachChunk(map.buffer, 0, -4, false), GenICam::InvalidArgumentException);
    port.AttachChunk(map.buffer, 8, 4, false);
    uint8_t bytes[4];
    EXPECT_THROW(port.Read(bytes, INT64_MAX, 4), GenICam::OutOfRangeException);
    EXPECT_THROW(port.Read(bytes, INT64_MIN, 4), GenICam::OutOfRangeException);
    EXPECT_THROW(port.Read(bytes, 0, INT64_MAX), GenICam::OutOfRangeException);
    EXPECT_THROW(port.Read(bytes, 0, -1), GenICam::OutOfRangeException);
    port.Write("ab", 1, 2);
    EXPECT_EQ(map.buffer[9], 'a');
}

TEST(ChunkAdapter, ReplacesAnEarlierOneAndOutlivesIt) {
    ChunkMap map;
    auto pFirst = std::make_unique<WholeBuffer>(&map);
    WholeBuffer second(&map);
    second.AttachBuffer(map.buffer, 12);
    EXPECT_EQ(map.Mode("Feature"), RO);
    pFirst.reset();
    EXPECT_EQ(map.Mode("Feature"), RO) << "the earlier one takes only itself away";
    EXPECT_EQ(map.Integer("Feature").GetValue(), 0x0B0A0908);
}

TEST(ChunkAdapter, CallsACallbackOnceForAFeatureOverTwoPorts) {
    TestMap map;
    map.Add("Port", "First", {{"ChunkID", "01", ""}}).Add("Port", "Second", {{"ChunkID", "02", ""}});
    map.Add("IntReg", "A", {{"pPort", "First", ""}, {"Address", "0", ""}, {"Length", "4", ""}});
    map.Add("IntReg", "B", {{"pPort", "Second", ""}, {"Address", "0", ""}, {"Length", "4", ""}});
    map.Add("IntSwissKnife", "Sum", {{"pVariable", "A", "A"}, {"pVariable", "B", "B"}, {"Formula", "A + B", ""}})
        .Ready();
    WholeBuffer adapter(&map);
    adapter.caches = true;
    std::string calls;
    int64_t seen = 0;
    const auto inside = [&](INode* pNode) {
        calls += 'i';
        if (IsReadable(pNode)) seen = CIntegerPtr(pNode)->GetValue();
    };
    Register(&map.Node("Sum"), inside, cbPostInsideLock);
    Register(
        &map.Node("Sum"), [&](INode*) { calls += 'o'; }, cbPostOutsideLock);
    uint8_t buffer[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3};
    adapter.AttachAtOnce(buffer, sizeof buffer);
    EXPECT_EQ(calls, "io");
    EXPECT_EQ(seen, CIntegerPtr(&map.Node("Sum"))->GetValue()) << "both ports have their chunks";
    EXPECT_NE(seen, 0);
    adapter.UpdateBuffer(buffer);
    EXPECT_EQ(calls, "ioio");
    adapter.DetachBuffer();
    EXPECT_EQ(calls, "ioioio");
}

TEST(ChunkAdapter, LetsACallbackOfItsChangeMakeChangesOfItsOwn) {
    ChunkMap map;
    WholeBuffer adapter(&map);
    int calls = 0;
    Register(
        &map.Node("Behind"), [&](INode*) { ++calls; }, cbPostInsideLock);
    Register(
        &map.Node("Feature"), [&](INode*) { map.Node("Behind").InvalidateNode(); }, cbPostInsideLock);
    adapter.AttachAtOnce(map.buffer, sizeof map.buffer);
    EXPECT_EQ(calls, 2) << "once for the chunk and once for the callback";
}

TEST(ChunkPort, LeavesItsNodeForAnother) {
    TestMap map;
    map.Add("Port", "First", {{"ChunkID", "01", ""}}).Add("Port", "Second", {{"ChunkID", "02", ""}});
    map.Add("IntReg", "A", {{"pPort", "First", ""}, {"Address", "0", ""}, {"Length", "4", ""}}).Ready();
    CChunkPort port(&map.As<IPort>("First"));
    ASSERT_EQ(map.Mode("A"), NA);
    EXPECT_TRUE(port.AttachPort(&map.As<IPort>("Second")));
    EXPECT_EQ(map.Mode("A"), NI) << "nothing is connected there any more";
}
