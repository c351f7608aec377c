#include "virtualcam/firmware/RegisterSpace.h"

#include <gtest/gtest.h>

namespace {

using virtualcam::Access;
using virtualcam::Bytes;
using virtualcam::RegisterSpace;
using virtualcam::Status;

struct RegisterSpaceTest : testing::Test {
    RegisterSpace space;
    RegisterSpaceTest() {
        space.AddValue<std::uint32_t>(0x100, Access::ReadWrite, 0x11223344);
        space.AddValue<std::uint32_t>(0x104, Access::ReadOnly, 0x55667788);
        space.AddValue<std::uint32_t>(0x10C, Access::WriteOnly, 0);
    }
    Status Write(std::uint64_t address, Bytes bytes) { return space.Write(address, bytes.data(), bytes.size()); }
};

TEST_F(RegisterSpaceTest, ReadsAcrossAdjacentRegisters) {
    Bytes read(8);
    EXPECT_EQ(space.Read(0x100, read.data(), 8), Status::Success);
    EXPECT_EQ(read, (Bytes{0x44, 0x33, 0x22, 0x11, 0x88, 0x77, 0x66, 0x55}));
}

TEST_F(RegisterSpaceTest, ReadsTheMiddleOfARegister) {
    Bytes read(2);
    EXPECT_EQ(space.Read(0x101, read.data(), 2), Status::Success);
    EXPECT_EQ(read, (Bytes{0x33, 0x22}));
}

TEST_F(RegisterSpaceTest, RefusesGaps) {
    Bytes read(16);
    EXPECT_EQ(space.Read(0x108, read.data(), 1), Status::InvalidAddress);
    EXPECT_EQ(space.Read(0x104, read.data(), 5), Status::InvalidAddress);
    EXPECT_EQ(space.Read(0xFF, read.data(), 2), Status::InvalidAddress);
    EXPECT_EQ(space.Read(0xFFFFFFFFFFFFFFFF, read.data(), 16), Status::InvalidAddress);
    EXPECT_EQ(Write(0x110, {1}), Status::InvalidAddress);
}

TEST_F(RegisterSpaceTest, RefusesAWriteThatTouchesAReadOnlyByteAsAWhole) {
    EXPECT_EQ(Write(0x102, {1, 2, 3, 4}), Status::WriteProtect);
    EXPECT_EQ(space.Get<std::uint32_t>(0x100), 0x11223344u);
}

TEST_F(RegisterSpaceTest, RefusesToReadWriteOnlyRegisters) {
    Bytes read(4);
    EXPECT_EQ(space.Read(0x10C, read.data(), 4), Status::AccessDenied);
}

TEST_F(RegisterSpaceTest, ChecksTheWholeNewValueOfAPartialWrite) {
    std::uint32_t seen = 0;
    space.At(0x100).check = [&seen](const std::uint8_t* wanted) {
        seen = virtualcam::Load<std::uint32_t>(wanted);
        return Status::InvalidParameter;
    };
    EXPECT_EQ(Write(0x103, {0xAA}), Status::InvalidParameter);
    EXPECT_EQ(seen, 0xAA223344u);
    EXPECT_EQ(space.Get<std::uint32_t>(0x100), 0x11223344u);
}

TEST_F(RegisterSpaceTest, RunsHooksAroundAccesses) {
    int written = 0;
    space.At(0x100).written = [&written] { ++written; };
    space.At(0x104).refresh = [](virtualcam::Register& entry) {
        virtualcam::Store<std::uint32_t>(entry.bytes.data(), 7);
    };
    EXPECT_EQ(Write(0x100, {1, 0, 0, 0}), Status::Success);
    EXPECT_EQ(written, 1);
    Bytes read(4);
    EXPECT_EQ(space.Read(0x104, read.data(), 4), Status::Success);
    EXPECT_EQ(read[0], 7);
}

} // namespace
