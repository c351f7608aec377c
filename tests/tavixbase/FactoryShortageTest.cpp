// The search for transport layers while memory runs out at each of its allocations in turn.

#include "support/Shortage.h"
#include "tavixbase/support/PluginFolder.h"

#include <gtest/gtest.h>

#include <new>

namespace Tavix {
namespace {

// Runs `step` again and again with one allocation more until it has all it needs; `onShortage` looks at each failure.
template<class Step>
void ForEachAllocation(Step step) {
    for (long left = 0;; ++left) {
        const shortage::MemoryShortage shortage(shortage::Whose::Mine, left);
        try {
            step();
        } catch (const std::bad_alloc&) {
        } catch (const GenICam::GenericException&) { // a library's failure as the factory tells it
        }
        if (!shortage.WasMet()) return;
    }
}

class FactoryShortage : public testing::Test {
protected:
    FactoryShortage() {
        fakeCam.Reset();
        folder.Add("libtavixfakecam-1.0.0.so", kFakeCamPlugin);
        folder.Add("libtavixothercam-1.0.0.so", kOtherCamPlugin);
    }

    const PluginFolder folder;
    FakePluginControl& fakeCam = ControlOf(kFakeCamPlugin);
    CTlFactory& factory = CTlFactory::GetInstance();
};

} // namespace

TEST_F(FactoryShortage, DoesNotEndTheSearch) {
    ForEachAllocation([&] {
        TlInfoList tls;
        factory.EnumerateTls(tls);
    });
    TlInfoList tls;
    EXPECT_EQ(factory.EnumerateTls(tls), 2);
}

TEST_F(FactoryShortage, LeavesNoTransportLayerBehind) {
    ForEachAllocation([&] { factory.ReleaseTl(factory.CreateTl("FakeCam")); });
    EXPECT_GT(fakeCam.creations, 0);
    EXPECT_EQ(fakeCam.creations, fakeCam.destructions);
}

TEST_F(FactoryShortage, DoesNotHinderTheReleaseOfATransportLayer) {
    ITransportLayer* const pTl = factory.CreateTl("FakeCam");
    const shortage::MemoryShortage shortage(shortage::Whose::Mine, 0);
    factory.ReleaseTl(pTl);
    EXPECT_EQ(fakeCam.destructions, 1);
}

} // namespace Tavix
