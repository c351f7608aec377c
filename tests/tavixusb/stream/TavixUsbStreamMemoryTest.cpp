#include "tavixusb/support/StreamGrabberFixture.h"

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

/// A register of eight bytes, the least significant first.
void Store(std::map<unsigned long, unsigned char>& memory, unsigned long address, std::uint64_t value) {
    for (unsigned long i = 0; i < 8; ++i)
        memory[address + i] = static_cast<unsigned char>(value >> 8 * i);
}

TEST_F(MappedBuffers, AreAsLargeAsTheRegistersOfTheStreamSay) {
    Store(bus.memory, 0x1D8, 0x10000);
    Store(bus.memory, 0x10020, 0x20000);
    Store(bus.memory, 0x20008, 0x123456789);
    Open();
    EXPECT_EQ(Memory().RequiredSize(), 0x123456789U);
    bus.FailNext("Device.ReadMem", 0xE2000ABC);
    EXPECT_EQ(Memory().RequiredSize(), 0U);
}

TEST_F(MappedBuffers, AreOfNoKnownSizeWhereARegisterIsReadInPart) {
    Store(bus.memory, 0x1D8, 0x10000);
    Store(bus.memory, 0x10020, 0x20000);
    Store(bus.memory, 0x20008, 0x123456789);
    bus.shortReadBy = 4;
    Open();
    EXPECT_EQ(Memory().RequiredSize(), 0U);
}

TEST_F(MappedBuffers, AreOfNoKnownSizeForACameraWithoutTheRegistersOfTheStream) {
    Store(bus.memory, 0x20, 0x20000); // would be the place of the stream's registers, were the table at 0
    Store(bus.memory, 0x8, 0x300);    // and the size, were they at 0
    Store(bus.memory, 0x20008, 0x400);
    Open();
    EXPECT_EQ(Memory().RequiredSize(), 0U);
    Store(bus.memory, 0x1D8, 0x10000);
    EXPECT_EQ(Memory().RequiredSize(), 0U);
}

} // namespace
