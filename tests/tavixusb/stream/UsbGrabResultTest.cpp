#include "TavixTL_USB/TavixUSB/stream/UsbGrabResult.h"

#include "tavixusb/support/Camera.h"

#include <gtest/gtest.h>

using Tavix::GrabResult;

namespace {

int g_Buffer, g_Context, g_Handle;

vexlo::CVxStream::GrabResult UsbResult() {
    vexlo::CVxStream::GrabResult usb = {};
    usb.Handle = reinterpret_cast<vexlo::BufferHandle_s*>(&g_Handle);
    usb.Buffer = &g_Buffer;
    usb.Context = &g_Context;
    usb.PayloadType = 0x0001;
    usb.PayloadSize = 0x1'0000'0002;
    usb.Timestamp = 77;
    usb.PixelFormat = 0x01080001;
    usb.G1 = 480;
    usb.G2 = 640;
    usb.G3 = 16;
    usb.G4 = 8;
    usb.H1 = 3;
    usb.H2 = 5;
    usb.BlockId = 42;
    return usb;
}

GrabResult Translate(const vexlo::CVxStream::GrabResult& usb) {
    GrabResult result;
    Tavix::FillGrabResult(usb, result);
    return result;
}

void ExpectNoImage(const GrabResult& result) {
    EXPECT_EQ(Tavix::PixelType_Undefined, result.GetPixelType());
    EXPECT_EQ(-1, result.GetSizeX());
    EXPECT_EQ(-1, result.GetSizeY());
    EXPECT_EQ(-1, result.GetOffsetX());
    EXPECT_EQ(-1, result.GetOffsetY());
    EXPECT_EQ(-1, result.GetPaddingX());
    EXPECT_EQ(-1, result.GetPaddingY());
    EXPECT_EQ(0u, result.GetTimeStamp());
}

void ExpectImage(const GrabResult& result) {
    EXPECT_EQ(0x01080001, result.GetPixelType());
    EXPECT_EQ(640, result.GetSizeX());
    EXPECT_EQ(480, result.GetSizeY());
    EXPECT_EQ(16, result.GetOffsetX());
    EXPECT_EQ(8, result.GetOffsetY());
    EXPECT_EQ(5, result.GetPaddingX());
    EXPECT_EQ(3, result.GetPaddingY());
    EXPECT_EQ(77u, result.GetTimeStamp());
}

TEST(UsbGrabResult, TakesSizesAndPaddingFromTheCrossedWords) {
    const GrabResult result = Translate(UsbResult());
    EXPECT_EQ(Tavix::PayloadType_Image, result.GetPayloadType());
    ExpectImage(result);
}

TEST(UsbGrabResult, CallsAnImageWithChunksChunkDataAndFillsTheImage) {
    auto usb = UsbResult();
    usb.PayloadType = 0x4001;
    const GrabResult result = Translate(usb);
    EXPECT_EQ(Tavix::PayloadType_ChunkData, result.GetPayloadType());
    ExpectImage(result);
}

TEST(UsbGrabResult, FillsNoImageForChunksAlone) {
    auto usb = UsbResult();
    usb.PayloadType = 0x4000;
    const GrabResult result = Translate(usb);
    EXPECT_EQ(Tavix::PayloadType_ChunkData, result.GetPayloadType());
    ExpectNoImage(result);
}

TEST(UsbGrabResult, LeavesAnUnknownPayloadTypeUndefined) {
    for (const int type : {0x0000, 0x0002, 0x0003, 0x4002, 0x8000, 0xFFFF}) {
        auto usb = UsbResult();
        usb.PayloadType = static_cast<std::uint16_t>(type);
        const GrabResult result = Translate(usb);
        EXPECT_EQ(Tavix::PayloadType_Undefined, result.GetPayloadType());
        ExpectNoImage(result);
        EXPECT_EQ(42u, result.GetBlockID());
    }
}

TEST(UsbGrabResult, IsGrabbedForStatusZero) {
    const GrabResult result = Translate(UsbResult());
    EXPECT_EQ(2, result.Status());
    EXPECT_EQ(0u, result.GetErrorCode());
    EXPECT_EQ("", result.GetErrorDescription());
    EXPECT_EQ(&g_Handle, result.Handle());
    EXPECT_EQ(&g_Buffer, result.Buffer());
    EXPECT_EQ(&g_Context, result.Context());
}

TEST(UsbGrabResult, IsCancelledWithoutErrorForTheCancelledStatus) {
    auto usb = UsbResult();
    usb.Status = 0xE2000102;
    const GrabResult result = Translate(usb);
    EXPECT_EQ(3, result.Status());
    EXPECT_EQ(0u, result.GetErrorCode());
    EXPECT_EQ("", result.GetErrorDescription());
    EXPECT_EQ(&g_Handle, result.Handle());
    EXPECT_EQ(&g_Context, result.Context());
}

TEST(UsbGrabResult, IsFailedWithTheTextOfAnyOtherStatus) {
    FakeVexlo::Get().Reset();
    auto usb = UsbResult();
    usb.Status = kFailure;
    const GrabResult result = Translate(usb);
    EXPECT_EQ(4, result.Status());
    EXPECT_EQ(kFailure, result.GetErrorCode());
    EXPECT_EQ(kFailureText, result.GetErrorDescription());
    EXPECT_EQ(&g_Buffer, result.Buffer());
    ExpectImage(result); // a failed buffer tells what it was to be
}

TEST(UsbGrabResult, TellsTheSizeInBothWidths) {
    const GrabResult result = Translate(UsbResult());
    EXPECT_EQ(0x1'0000'0002u, result.GetPayloadSize64());
    EXPECT_EQ(2u, result.GetPayloadSize());
}

TEST(UsbGrabResult, HasAllOnesForAnUnknownSize) {
    auto usb = UsbResult();
    for (const std::uint64_t word : {std::uint64_t(1), std::uint64_t(2), std::uint64_t(1) << 32, ~std::uint64_t(0)}) {
        usb.SizeUnknown = word;
        const GrabResult result = Translate(usb);
        EXPECT_EQ(~std::uint64_t(0), result.GetPayloadSize64()) << word;
        EXPECT_EQ(~std::uint32_t(0), result.GetPayloadSize()) << word;
    }
}

TEST(UsbGrabResult, KeepsTheBlockId) {
    EXPECT_EQ(42u, Translate(UsbResult()).GetBlockID());
}

} // namespace
