#include "stream/UsbGrabResult.h"

#include "Failure.h"
#include "stream/PixelType.h"

namespace Tavix {

namespace {

using UsbResult = vexlo::CVxStream::GrabResult;

// Payload types of the leader.
constexpr std::uint16_t kImage = 0x0001;
constexpr std::uint16_t kChunks = 0x4000;
constexpr std::uint16_t kImageWithChunks = 0x4001;

void FillStatus(const UsbResult& usb, GrabResult& result) {
    result.m_Handle = usb.Handle;
    result.m_pBuffer = usb.Buffer;
    result.m_pContext = usb.Context;
    if (usb.Status == vexlo::VX_OK) {
        result.m_Status = Grabbed;
        return;
    }
    if (usb.Status == vexlo::VX_E_CANCELLED) {
        result.m_Status = Canceled;
        return;
    }
    result.m_Status = Failed;
    result.m_ErrorCode = usb.Status;
    result.m_ErrorDescription += VxStatus2Msg(usb.Status);
}

void FillImage(const UsbResult& usb, GrabResult& result) {
    result.m_PixelType = PixelTypeOf(usb.PixelFormat);
    // The record holds its words in the order of the leader, y before x.
    result.m_SizeX = static_cast<std::int32_t>(usb.G2);
    result.m_SizeY = static_cast<std::int32_t>(usb.G1);
    result.m_OffsetX = static_cast<std::int32_t>(usb.G3);
    result.m_OffsetY = static_cast<std::int32_t>(usb.G4);
    result.m_PaddingX = usb.H2;
    result.m_PaddingY = usb.H1;
    result.m_TimeStamp = usb.Timestamp;
}

void FillPayload(const UsbResult& usb, GrabResult& result) {
    switch (usb.PayloadType) {
    case kImage:
        result.m_PayloadType = PayloadType_Image;
        FillImage(usb, result);
        return;
    case kImageWithChunks:
        result.m_PayloadType = PayloadType_ChunkData;
        FillImage(usb, result);
        return;
    case kChunks:
        result.m_PayloadType = PayloadType_ChunkData;
        return;
    default:
        return;
    }
}

} // namespace

[[gnu::hot]] void FillGrabResult(const UsbResult& usbResult, GrabResult& result) {
    FillStatus(usbResult, result);
    FillPayload(usbResult, result);
    const std::uint64_t size = usbResult.SizeUnknown ? ~std::uint64_t(0) : usbResult.PayloadSize;
    result.m_PayloadSize = static_cast<std::uint32_t>(size);
    result.m_PayloadSize64 = size;
    result.m_BlockId = usbResult.BlockId;
}

} // namespace Tavix
