#include "support/StreamGrabberTest.h"

#include <tavix/StreamMemory.h>

namespace {

class MappedBuffers : public StreamGrabber {
protected:
    Tavix::IStreamMemory& Memory() { return dynamic_cast<Tavix::IStreamMemory&>(grabber()); }
};

TEST_F(MappedBuffers, ComeFromTheStreamOfAnOpenGrabber) {
    bus.stream.mappable = 1000;
    Open();
    grabber().Open();
    EXPECT_NE(Memory().AllocateBuffer(1000), nullptr);
}

TEST_F(MappedBuffers, AreNoneWhereTheKernelGivesNone) {
    bus.stream.mappable = 1000;
    Open();
    grabber().Open();
    EXPECT_EQ(Memory().AllocateBuffer(1001), nullptr);
}

TEST_F(MappedBuffers, AreRefusedByAGrabberThatIsClosed) {
    bus.stream.mappable = 1000;
    Open();
    RefusesIn("Closed", "AllocateBuffer", [&] { Memory().AllocateBuffer(1000); });
}

} // namespace
