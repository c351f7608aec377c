// Memory that runs out in the middle of an operation: the operation fails, the node map does not.
#include "genapi/support/XmlMap.h"
#include "support/Shortage.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>

namespace {

using genapi_test::XmlMap;
using shortage::Whose;

/// Writes go through a converter, a masked register and a selector; formulas and invalidators follow them.
const char kNodes[] = R"(
  <Integer Name='Selector'><Value>0</Value><Min>0</Min><Max>3</Max><pSelected>Gain</pSelected></Integer>
  <IntConverter Name='Gain'><FormulaTo>FROM / 2</FormulaTo><FormulaFrom>TO * 2</FormulaFrom><pValue>Raw</pValue>
    </IntConverter>
  <MaskedIntReg Name='Raw'><Address>0x10</Address><pIndex Offset='4'>Selector</pIndex><Length>4</Length>
    <AccessMode>RW</AccessMode><pPort>Device</pPort><LSB>4</LSB><MSB>19</MSB><Endianess>LittleEndian</Endianess>
    </MaskedIntReg>
  <IntSwissKnife Name='Sum'><pVariable Name='G'>Gain</pVariable><pVariable Name='S'>Selector</pVariable>
    <Formula>G * 10 + S</Formula></IntSwissKnife>
  <IntReg Name='Stamp'><Address>0x40</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>
    <pInvalidator>Gain</pInvalidator><Endianess>LittleEndian</Endianess></IntReg>
  <Float Name='Share'><pValue>Half</pValue></Float>
  <SwissKnife Name='Half'><pVariable Name='G'>Gain</pVariable><Formula>G / 4</Formula></SwissKnife>
)";

/// Runs the operation with the first allocation failing, then with the second, until there is none left to fail. Each
/// time in a map of its own, which afterwards must work as if nothing had been.
void FailEachAllocationOf(const std::function<void(XmlMap&)>& operation) {
    unsigned int failures = 0;
    for (long allocation = 0;; ++allocation) {
        XmlMap map(kNodes);
        bool isMet = false;
        try {
            const shortage::MemoryShortage shortage(Whose::Mine, allocation);
            try {
                operation(map);
            } catch (...) {
                isMet = shortage.WasMet();
                throw;
            }
            isMet = shortage.WasMet();
        } catch (const std::bad_alloc&) {
            ++failures;
        } catch (const GenICam::GenericException&) {
            ++failures;
        }
        map.Integer("Selector").SetValue(1);
        map.Integer("Gain").SetValue(100);
        ASSERT_EQ(map.port.Get(0x14, 4), (std::vector<uint8_t>{0x20, 0x03, 0, 0})) << allocation;
        ASSERT_EQ(map.Integer("Sum").GetValue(), 1001) << allocation;
        ASSERT_EQ(map.Float("Share").GetValue(), 25.0) << allocation;
        map.port.Put(0x40, {7, 0, 0, 0});
        map.Integer("Gain").SetValue(102);
        ASSERT_EQ(map.Integer("Stamp").GetValue(), 7) << allocation;
        ASSERT_EQ(map.Integer("Sum").GetValue(), 1021) << allocation;
        if (!isMet) break;
    }
    EXPECT_GT(failures, 0u) << "nothing was allocated";
}

TEST(MemoryShortage, FailsAWriteAndLeavesTheMapWhole) {
    FailEachAllocationOf([](XmlMap& map) { map.Integer("Gain").SetValue(100); });
}

TEST(MemoryShortage, FailsAWriteAfterReadingAndDropsWhatWasCached) {
    FailEachAllocationOf([](XmlMap& map) {
        map.Integer("Sum").GetValue();
        map.Integer("Selector").SetValue(2);
        map.Integer("Gain").SetValue(6);
        map.Integer("Sum").GetValue();
        map.Integer("Gain").SetValue(8);
    });
}

TEST(MemoryShortage, FailsAReadAndLeavesTheMapWhole) {
    FailEachAllocationOf([](XmlMap& map) {
        map.Integer("Stamp").GetValue();
        map.Float("Share").GetValue();
        map.As<GenApi::IValue>("Sum").ToString();
    });
}

TEST(MemoryShortage, FailsALoadWithoutHarm) {
    unsigned int failures = 0;
    for (long allocation = 0; allocation < 10000; ++allocation) {
        std::unique_ptr<XmlMap> map;
        try {
            const shortage::MemoryShortage shortage(Whose::Mine, allocation);
            map = std::make_unique<XmlMap>(kNodes);
        } catch (const std::bad_alloc&) {
            ++failures;
            continue;
        } catch (const GenICam::GenericException&) {
            ++failures;
            continue;
        }
        EXPECT_EQ(map->Integer("Selector").GetValue(), 0);
        break;
    }
    EXPECT_GT(failures, 10u);
}

} // namespace
