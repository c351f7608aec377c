// Whether a value may be cached, and whether it is.
#include "genapi/support/XmlMap.h"

#include <gtest/gtest.h>

using namespace GenApi;
using genapi_test::Held;
using genapi_test::Reg;
using genapi_test::XmlMap;

namespace {

const char* const kNever = "<Cachable>NoCache</Cachable>";
const char* const kAround = "<Cachable>WriteAround</Cachable>";

std::string Integer(const std::string& name, const std::string& links) {
    return "<Integer Name=\"" + name + "\">" + links + "</Integer>";
}

} // namespace

TEST(CachingMode, IsThatOfTheLeastCachedNodeThatIsRead) {
    const XmlMap map(Reg("Through", "0") + Reg("Around", "4", kAround) + Reg("Never", "8", kNever) +
                     Integer("OfThrough", "<pValue>Through</pValue>") + Integer("OfAround", "<pValue>Around</pValue>") +
                     Integer("LimitedByNever", "<pValue>Around</pValue><pMax>Never</pMax>") +
                     Integer("LockedByNever", "<pIsLocked>Never</pIsLocked><Value>1</Value>") + Held("Plain", "1"));
    EXPECT_EQ(map.Node("OfThrough").GetCachingMode(), WriteThrough);
    EXPECT_EQ(map.Node("OfAround").GetCachingMode(), WriteAround);
    EXPECT_EQ(map.Node("LimitedByNever").GetCachingMode(), NoCache);
    EXPECT_FALSE(map.Node("LockedByNever").IsCachable());
    EXPECT_EQ(map.Node("Plain").GetCachingMode(), WriteThrough);
}

TEST(CachingMode, OfARegisterIsItsOwnWhateverItsAddressReads) {
    const XmlMap map(Reg("Never", "8", kNever) + Reg("Moved", "0", "<pAddress>Never</pAddress>"));
    EXPECT_EQ(map.Node("Moved").GetCachingMode(), WriteThrough);
    EXPECT_EQ(map.Node("Never").GetCachingMode(), NoCache);
}

TEST(ValueCache, IsValidWhenAReadWouldNotNeedThePort) {
    XmlMap map(Reg("Raw", "0") + Integer("Feature", "<pValue>Raw</pValue>") + Held("Plain", "1"));
    EXPECT_FALSE(map.Integer("Feature").IsValueCacheValid());
    EXPECT_TRUE(map.Integer("Plain").IsValueCacheValid());
    map.Integer("Feature").GetValue();
    EXPECT_TRUE(map.Integer("Feature").IsValueCacheValid());
    const int reads = map.port.reads;
    map.Integer("Feature").GetValue();
    EXPECT_EQ(map.port.reads, reads);
    map.Node("Raw").InvalidateNode();
    EXPECT_FALSE(map.Integer("Feature").IsValueCacheValid());
}

TEST(ValueCache, IsNotValidWhileTheAddressHasToBeRead) {
    XmlMap map(Reg("Base", "0", kNever) + Reg("Raw", "100", "<pAddress>Base</pAddress>") +
               Integer("Feature", "<pValue>Raw</pValue>"));
    map.Integer("Feature").GetValue();
    EXPECT_FALSE(map.Integer("Raw").IsValueCacheValid());
    EXPECT_FALSE(map.Integer("Feature").IsValueCacheValid());
}

TEST(ValueCache, IsNotValidOfANodeThatIsDefective) {
    const XmlMap map(Integer("Sound", "<Value>1</Value>") + Integer("Dangling", "<pValue>Nothing</pValue>"));
    EXPECT_TRUE(map.Integer("Sound").IsValueCacheValid());
    EXPECT_FALSE(map.Integer("Dangling").IsValueCacheValid());
}

TEST(AccessModeCache, IsForNodesWithoutAPortBelow) {
    const XmlMap map(Reg("Raw", "0") + Held("Plain", "1") +
                     Integer("LockedByPlain", "<pIsLocked>Plain</pIsLocked><Value>1</Value>") +
                     Integer("LockedByRaw", "<pIsLocked>Raw</pIsLocked><Value>1</Value>"));
    EXPECT_EQ(map.Node("Plain").IsAccessModeCacheable(), Yes);
    EXPECT_EQ(map.Node("LockedByPlain").IsAccessModeCacheable(), Yes);
    EXPECT_EQ(map.Node("LockedByRaw").IsAccessModeCacheable(), No);
    EXPECT_EQ(map.Node("Raw").IsAccessModeCacheable(), No);
    EXPECT_EQ(map.Node("Device").IsAccessModeCacheable(), No);
}

TEST(PollingTime, IsTheShortestOfTheNodesThatAreRead) {
    const XmlMap map(
        Reg("Slow", "0", "<PollingTime>5000</PollingTime>") + Reg("Fast", "4", "<PollingTime>200</PollingTime>") +
        Reg("Never", "8", "<PollingTime>0</PollingTime>") + Integer("Both", "<pValue>Slow</pValue><pMin>Fast</pMin>") +
        Integer("OfNever", "<pValue>Never</pValue>"));
    EXPECT_EQ(map.Node("Both").GetPollingTime(), 200);
    EXPECT_EQ(map.Node("Slow").GetPollingTime(), 5000);
    EXPECT_EQ(map.Node("Never").GetPollingTime(), 0);
    EXPECT_EQ(map.Node("OfNever").GetPollingTime(), -1);
}
