// A frame that the controller writes straight into memory of the kernel's, which is laid together from several
// mappings.

#include "KernelBus.h"
#include "TransferMemory.h"

#include <tavix/camera/Camera.h>

#include <gtest/gtest.h>
#include <libusb.h>

#include <cstdint>
#include <cstdio>
#include <fstream>

namespace {

using namespace systemtest;

constexpr std::uint16_t kVendor = 0x1209, kProduct = 0x0001;
constexpr std::size_t kMegabyte = 1u << 20;

/// Whether the kernel gives one mapping of that size.
bool GivesAtOnce(std::size_t size) {
    libusb_context* context = nullptr;
    if (libusb_init(&context) != 0) throw std::runtime_error("libusb does not start");
    libusb_device_handle* const handle = libusb_open_device_with_vid_pid(context, kVendor, kProduct);
    if (!handle) throw std::runtime_error("the camera cannot be opened");
    unsigned char* const memory = libusb_dev_mem_alloc(handle, size);
    if (memory) libusb_dev_mem_free(handle, memory, size);
    libusb_close(handle);
    libusb_exit(context);
    return memory != nullptr;
}

/// How many mappings of a USB device these bytes lie in; 0 when not all of them do.
std::size_t CountMappings(Tavix::ByteView bytes) {
    const auto first = reinterpret_cast<std::uintptr_t>(bytes.data);
    std::uintptr_t covered = first;
    std::size_t count = 0;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; covered < first + bytes.size && std::getline(maps, line);) {
        unsigned long begin = 0, end = 0;
        if (std::sscanf(line.c_str(), "%lx-%lx", &begin, &end) != 2 || covered < begin || covered >= end) continue;
        if (line.find("/dev/bus/usb/") == line.npos) return 0;
        covered = end;
        ++count;
    }
    return covered < first + bytes.size ? 0 : count;
}

Tavix::Camera OpenCamera() {
    if (!Await([] { return !Tavix::Cameras().empty(); })) throw std::runtime_error("the kernel has no camera");
    return Tavix::Camera::Open();
}

TEST(MappedFrame, IsWholeInMoreMemoryThanOneMappingCanHave) {
    const TransferMemory memory(128);
    Tavix::Camera camera = OpenCamera();
    const Tavix::Settings before = camera.ReadSettings();
    camera["Width"] = 2048;
    camera["Height"] = 1536;
    camera["PixelFormat"] = "Mono12";
    camera["AcquisitionFrameRate"] = 4.0;
    camera["ChunkModeActive"] = true;
    camera["ChunkSelector"] = "PayloadCRC16";
    camera["ChunkEnable"] = true;
    ASSERT_TRUE(GivesAtOnce(kMegabyte));
    ASSERT_FALSE(GivesAtOnce(6 * kMegabyte));
    {
        Tavix::GrabOptions options;
        options.count = 8;
        options.buffers = 4;
        Tavix::ImageStream stream = camera.Grab(options);
        std::size_t right = 0;
        for (const Tavix::Image& image : stream) {
            EXPECT_GT(image.Payload().size, 6 * kMegabyte);
            EXPECT_GE(CountMappings(image.Payload()), 2u);
            right += image.ChunkChecksum() == Tavix::Checksum::Right ? 1 : 0;
        }
        EXPECT_EQ(right, 8u);
        EXPECT_EQ(stream.Counts().failed, 0u) << stream.FirstDefect();
        EXPECT_EQ(stream.Counts().mapped, stream.Counts().memory);
    }
    (void)camera.Apply(before);
}

} // namespace
