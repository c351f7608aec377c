// Every setting of the camera as its description promises it: where it begins, and what it takes and refuses.

#include <gtest/gtest.h>

#include <vector>

#include "virtualcam/Bytes.h"
#include "virtualcam/device/Device.h"
#include "virtualcam/support/DeviceClient.h"

namespace {
namespace register_table {

using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::Device;
using virtualcam::FloatBits;
using virtualcam::test::DeviceClient;
using Values = std::vector<std::uint32_t>;

constexpr std::uint16_t kRefused = 0x8002;

/// A register of 32 bits. What it takes is written in this order, so that the last one stays.
struct Setting {
    std::uint64_t address;
    std::uint32_t first;
    Values taken, refused;
};

Setting Switch(std::uint64_t address, std::uint32_t first = 0) {
    return {address, first, {1, 0}, {2}};
}

Setting Range(std::uint64_t address, std::uint32_t first, std::uint32_t low, std::uint32_t high) {
    Setting made{address, first, {low, high}, {}};
    if (low > 0) made.refused.push_back(low - 1);
    if (high < UINT32_MAX) made.refused.push_back(high + 1);
    return made;
}

Setting Float(std::uint64_t address, float first, float low, float high) {
    return {address,
            FloatBits(first),
            {FloatBits(low), FloatBits(high)},
            {FloatBits(low - 0.01F), FloatBits(high * 1.01F)}};
}

struct RegisterTable : testing::Test {
    Device device{CameraSettings{}};
    DeviceClient client{device};

    void Expect(const std::vector<Setting>& settings) {
        for (const Setting& setting : settings) {
            SCOPED_TRACE(testing::Message() << std::hex << "0x" << setting.address);
            EXPECT_EQ(client.Read(setting.address, 4), setting.first);
            for (const std::uint32_t value : setting.taken) {
                EXPECT_EQ(client.Write32(setting.address, value), 0) << value;
                EXPECT_EQ(client.Read(setting.address, 4), value);
            }
            for (const std::uint32_t value : setting.refused) {
                EXPECT_EQ(client.Write32(setting.address, value), kRefused) << value;
                EXPECT_EQ(client.Read(setting.address, 4),
                          setting.taken.empty() ? setting.first : setting.taken.back());
            }
        }
    }
};

TEST_F(RegisterTable, OfTheDevice) {
    EXPECT_EQ(client.Read(0x100018, 8), 500000000u) << "link speed";
    Expect({Switch(0x100008), {0x100028, 0, {}, {60001}}});
    EXPECT_EQ(client.Read(0x100010, 8), 400000000u) << "throughput limit";
    const auto limit = [this](std::uint64_t value) {
        Bytes bytes;
        virtualcam::Append(bytes, value);
        return client.Write(0x100010, bytes);
    };
    for (const std::uint64_t value : {1000000, 1000000000, 123456000})
        EXPECT_EQ(limit(value), 0) << value;
    for (const std::uint64_t value : {999000, 1000001000, 1000500})
        EXPECT_EQ(limit(value), kRefused) << value;
}

TEST_F(RegisterTable, OfTheDeviceTellsASlowLink) {
    CameraSettings settings;
    settings.speed = usb::Speed::High;
    Device slow(settings);
    EXPECT_EQ(DeviceClient(slow).Read(0x100018, 8), 60000000u);
}

TEST_F(RegisterTable, OfTheImageFormat) {
    EXPECT_EQ(client.Read(0x101000, 4), 1280u);
    EXPECT_EQ(client.Read(0x101004, 4), 1024u);
    EXPECT_EQ(client.Read(0x101008, 4), 1280u);
    EXPECT_EQ(client.Read(0x10100C, 4), 1024u);
    EXPECT_EQ(client.Read(0x101034, 4), 8u) << "bits of a pixel";
    EXPECT_EQ(client.Read(0x101038, 4), 1280u * 1024) << "payload";
    Expect({{0x101010, 1280, {16, 20, 1280}, {12, 18, 1284}},
            {0x101014, 1024, {2, 4, 1024}, {0, 3, 1026}},
            {0x101018, 0, {0}, {4}},
            {0x10101C, 0, {0}, {2}},
            Switch(0x101028),
            Switch(0x10102C),
            {0x101030,
             0x01080001,
             {0x01100005, 0x010C0047, 0x01080009, 0x02180014, 0x02180015, 0x0210003B, 0x01080001},
             {0, 0x01080002}},
            {0x10103C, 1, {0, 3}, {4}},
            {0x101020, 1, {2, 4, 1}, {0, 3, 8}},
            {0x101024, 1, {2, 4, 1}, {0, 3, 8}}});
}

TEST_F(RegisterTable, OfAcquisitionAndTriggers) {
    Expect({{0x102000, 2, {0, 1, 2}, {3}},
            Range(0x10200C, 1, 1, 0xFFFF),
            Range(0x102010, 1, 1, 1023),
            {0x102014, 1, {0, 1}, {2}},
            {0x102028, 0, {1, 2, 0}, {3}},
            {0x102100, 1, {0, 1}, {2}}});
    for (const std::uint64_t trigger : {0x102110, 0x102130}) {
        Expect({Switch(trigger),
                {trigger + 4, 0, {1, 2, 0}, {3}},
                {trigger + 8, 0, {1, 2, 0}, {3}},
                {trigger + 12, 0, {FloatBits(1000000.0F), 0}, {FloatBits(-1.0F), FloatBits(1000001.0F)}}});
    }
}

TEST_F(RegisterTable, OfTheFrameRate) {
    EXPECT_EQ(client.Read(0x102018, 8), FloatBits(30.0));
    const auto rate = [this](double value) {
        Bytes bytes;
        virtualcam::Append(bytes, FloatBits(value));
        return client.Write(0x102018, bytes);
    };
    EXPECT_EQ(rate(0.1), 0);
    EXPECT_EQ(rate(10000.0), 0);
    EXPECT_EQ(rate(0.09), kRefused);
    EXPECT_EQ(rate(10000.1), kRefused);
    EXPECT_EQ(client.Read(0x102018, 8), FloatBits(10000.0));
}

TEST_F(RegisterTable, OfLight) {
    Expect({Range(0x102040, 100000, 100, 100000000),
            {0x102044, 0, {1, 2, 0}, {3}},
            {0x103000, 0, {0}, {1}},
            Range(0x103004, 0, 0, 240),
            {0x103008, 0, {1, 2, 0}, {3}},
            Range(0x10300C, 0, 0, 255),
            {0x103010, 0, {1, 2, 0}, {3}},
            Range(0x103014, 1024, 0, 8191),
            Range(0x103018, 1024, 0, 8191),
            Range(0x10301C, 1024, 0, 8191),
            Float(0x103024, 1.0F, 0.25F, 4.0F),
            {0x104000, 0, {0}, {1}},
            Switch(0x104004),
            Range(0x104008, 0, 0, 4095)});
    Bytes entries;
    ASSERT_EQ(client.Read(0x105000, 4, entries), 0);
    EXPECT_EQ(entries, virtualcam::test::Hex("0000 0100"));
    ASSERT_EQ(client.Read(0x106FFC, 4, entries), 0);
    EXPECT_EQ(entries, virtualcam::test::Hex("FE0F FF0F"));
}

TEST_F(RegisterTable, OfLines) {
    Expect({{0x107000, 0, {1, 2, 3, 0}, {4}}, {0x107008, 0, {0}, {1}}, Switch(0x10700C)});
    for (std::uint32_t line = 0; line < 4; ++line) {
        const std::uint64_t block = 0x107010 + 0x20 * line;
        const bool isInput = line < 2;
        EXPECT_EQ(client.Read(block, 4), isInput ? 0u : 1u) << "mode of line " << line;
        EXPECT_EQ(client.Read(block + 8, 4), 0u) << "level of line " << line;
        Expect({Switch(block + 4), Range(block + 12, 0, 0, isInput ? 0 : 5), Float(block + 16, 10.0F, 0.0F, 20000.0F)});
    }
}

TEST_F(RegisterTable, OfTimersAndCounters) {
    Expect({{0x107800, 0, {1, 0}, {2}}, {0x107900, 0, {1, 0}, {2}}});
    for (const std::uint64_t timer : {0x107810, 0x107830}) {
        EXPECT_EQ(client.Read(timer + 16, 4), 0u) << "it does not run";
        Expect({Range(timer, 1000, 1, 16777215), Range(timer + 4, 0, 0, 16777215), Range(timer + 8, 0, 0, 4)});
    }
    for (const std::uint64_t counter : {0x107910, 0x107930}) {
        EXPECT_EQ(client.Read(counter + 8, 4), 0u);
        Expect({Range(counter, 0, 0, 4), Range(counter + 12, 0xFFFFFFFF, 1, 0xFFFFFFFF)});
    }
}

TEST_F(RegisterTable, OfEventsChunksAndUserSets) {
    Expect({Range(0x108000, 0, 0, 4),
            {0x109004, 1, {0, 7}, {8}},
            {0x109010, 1, {1}, {0, 2}},
            {0x10A000, 0, {1, 2, 0}, {3}},
            {0x10A00C, 0, {1, 2, 0}, {3}},
            Switch(0x109000)});
    for (std::uint64_t i = 0; i < 5; ++i)
        Expect({Switch(0x108010 + 4 * i)});
    for (std::uint64_t i = 1; i < 8; ++i)
        Expect({Switch(0x109010 + 4 * i)});
}

/// Writing anything but 1 to a command does nothing, and no command keeps what was written.
TEST_F(RegisterTable, OfCommandsReadsZero) {
    for (const std::uint64_t command : {0x100004, 0x102004, 0x102008, 0x102120, 0x102140, 0x10781C, 0x10783C, 0x107914,
                                        0x107934, 0x108004, 0x10A004, 0x10A008}) {
        EXPECT_EQ(client.Read(command, 4), 0u) << std::hex << command;
        if (command == 0x10A008) continue; // the factory's set cannot be written to
        EXPECT_EQ(client.Write32(command, 2), 0) << std::hex << command;
        EXPECT_EQ(client.Read(command, 4), 0u) << std::hex << command;
    }
    EXPECT_EQ(client.Read(0x102038, 4), 0u) << "nothing was started";
}

/// The registers that hold the sizes of a stream begin at nothing.
TEST_F(RegisterTable, OfTheStreamInterfaces) {
    CameraSettings settings;
    settings.streams = 2;
    Device two(settings);
    DeviceClient host(two);
    for (const std::uint64_t stream : {0x20000, 0x20030}) {
        EXPECT_EQ(host.Read(stream, 4), 0u) << "alignment";
        EXPECT_EQ(host.Read(stream + 4, 4), 0u) << "control";
        EXPECT_EQ(host.Read(stream + 8, 8), 1280u * 1024);
        EXPECT_EQ(host.Read(stream + 0x10, 4), 52u);
        EXPECT_EQ(host.Read(stream + 0x14, 4), 36u);
        for (std::uint64_t size = 0x18; size < 0x30; size += 4) {
            EXPECT_EQ(host.Read(stream + size, 4), 0u) << std::hex << size;
            EXPECT_EQ(host.Write32(stream + size, 1024), 0) << std::hex << size;
            EXPECT_EQ(host.Read(stream + size, 4), 1024u) << std::hex << size;
        }
        EXPECT_EQ(host.Write32(stream + 4, 2), kRefused);
    }
    EXPECT_EQ(host.Read(0x1001C, 4), 2u);
}

/// How the camera answers on its control channel, and what it says of its events.
TEST_F(RegisterTable, OfTheBootstrapMemory) {
    EXPECT_EQ(client.Read(0x0, 4), 0x00010003u);
    EXPECT_EQ(client.Read(0x1E0, 8), 0u) << "configuration";
    EXPECT_EQ(client.Read(0x20C, 4), 0xFFFFFFFFu);
    EXPECT_EQ(client.Read(0x1000C, 8), 0u) << "configuration of the second layer";
    EXPECT_EQ(client.Read(0x10014, 4), 16384u);
    EXPECT_EQ(client.Read(0x10018, 4), 16384u);
    EXPECT_EQ(client.Read(0x10034, 4), 0xCu);
    EXPECT_EQ(client.Read(0x30000, 4), 0u);
    EXPECT_EQ(client.Read(0x30004, 4), 1024u);
    EXPECT_EQ(client.Read(0x30008, 4), 0u);
    EXPECT_EQ(client.Write32(0x30000, 2), kRefused);
    EXPECT_EQ(client.Write(0x1E0, virtualcam::test::Hex("0400000000000000")), kRefused);
    EXPECT_EQ(client.Write(0x1E0, virtualcam::test::Hex("0200000000000000")), 0);
    EXPECT_EQ(client.Write(0x1000C, virtualcam::test::Hex("0100000000000000")), kRefused);
    EXPECT_EQ(client.Write(0x1000C, virtualcam::test::Hex("0000000000000000")), 0);
}

} // namespace register_table
} // namespace
