#include "vexlo/Vexlo.h"
#include "vexlo/VxDevice.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using namespace vexlo;

const VxStatus kEveryStatus[] = {VX_OK,
                                 VX_E_FAILED,
                                 VX_E_NOT_FOUND,
                                 VX_E_NOT_INITIALIZED,
                                 VX_E_NOT_OPEN,
                                 VX_E_ALREADY_OPEN,
                                 VX_E_INVALID_STATE,
                                 VX_E_NO_MEMORY,
                                 VX_E_INVALID_PARAMETER,
                                 VX_E_INVALID_PROPERTY,
                                 VX_E_INVALID_SIZE,
                                 VX_E_NOT_SUPPORTED,
                                 VX_E_TIMEOUT,
                                 VX_E_INVALID_HANDLE,
                                 VX_E_BACKEND,
                                 VX_E_NO_THREAD,
                                 VX_E_CANCELLED,
                                 VX_E_BUFFER_TOO_SMALL,
                                 VX_E_INCOMPLETE,
                                 VX_E_TOO_MANY_BUFFERS,
                                 VX_E_NO_DATA,
                                 VX_E_BAD_LEADER,
                                 VX_E_BAD_TRAILER,
                                 VX_E_DATA_DISCARDED,
                                 VX_E_DATA_OVERRUN,
                                 VX_E_RESYNCHRONIZED,
                                 VX_E_PAYLOAD_SIZE,
                                 VX_E_BUFFER_QUEUED,
                                 VX_E_BUFFER_COMPLETED,
                                 VX_E_EVENT_LOST,
                                 VX_E_LEADER_SIZE,
                                 VX_E_USB_IO,
                                 VX_E_USB_ACCESS,
                                 VX_E_USB_NO_DEVICE,
                                 VX_E_USB_STALL,
                                 VX_E_USB_OVERFLOW,
                                 VX_E_USB_NO_MEMORY,
                                 VX_E_USB_NOT_SUPPORTED,
                                 VX_E_USB_OTHER,
                                 VX_E_TOO_MANY_FILES,
                                 VX_E_NOT_A_CAMERA,
                                 VX_E_BUSY,
                                 VX_E_PROTOCOL,
                                 VX_E_XML_NO_MANIFEST,
                                 VX_E_XML_NO_FILE,
                                 VX_E_XML_BAD_ZIP};

std::string TextOf(VxStatus status) {
    char text[1024] = "";
    return GetStatusMessage(status, text, sizeof text, nullptr) == VX_OK ? text : "";
}

TEST(StatusText, IsThereForEveryStatusAndIsItsOwn) {
    std::set<std::string> texts;
    for (const VxStatus status : kEveryStatus) {
        EXPECT_NE(TextOf(status), "") << std::hex << status;
        EXPECT_TRUE(texts.insert(TextOf(status)).second) << TextOf(status);
    }
}

TEST(StatusText, SaysWhatToDo) {
    EXPECT_NE(TextOf(VX_E_USB_ACCESS).find("udev"), std::string::npos);
    EXPECT_NE(TextOf(VX_E_USB_NO_MEMORY).find("usbfs_memory_mb"), std::string::npos);
    EXPECT_NE(TextOf(0xE201013F).find("in use by another program"), std::string::npos);
}

TEST(StatusText, NamesWhatTheCameraStates) {
    EXPECT_EQ(TextOf(VX_E_DEVICE_STATUS_BASE | 0x8003), "The camera refused the access: invalid address (0x8003).");
    EXPECT_EQ(TextOf(VX_E_DEVICE_STATUS_BASE | 0xA002),
              "The camera refused the access: stream endpoint is halted (0xA002).");
    EXPECT_EQ(TextOf(VX_E_DEVICE_STATUS_BASE | 0xA777),
              "The camera refused the access: unknown USB3 Vision error (0xA777).");
    EXPECT_EQ(TextOf(VX_E_DEVICE_STATUS_BASE | 0xC001),
              "The camera refused the access: error of this camera model (0xC001).");
}

TEST(StatusText, IsCutToTheBufferAndTellsItsWholeLength) {
    char text[5] = "....";
    unsigned long length = 0;
    EXPECT_EQ(GetStatusMessage(VX_OK, text, sizeof text, &length), VX_OK);
    EXPECT_STREQ(text, "The ");
    EXPECT_EQ(length, TextOf(VX_OK).size());
    EXPECT_EQ(GetStatusMessage(VX_OK, text, 1, nullptr), VX_OK);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(GetStatusMessage(VX_OK, nullptr, 0, &length), VX_OK);
    EXPECT_EQ(GetStatusMessage(VX_OK, nullptr, 5, &length), VX_E_INVALID_PARAMETER);
}

TEST(StatusText, IsNotFoundForStrangers) {
    char text[8] = "same";
    EXPECT_EQ(GetStatusMessage(0x12345678, text, sizeof text, nullptr), VX_E_NOT_FOUND);
    EXPECT_STREQ(text, "same");
    EXPECT_EQ(GetStatusMessage(VX_E_DEVICE_STATUS_BASE | 0x0001, text, sizeof text, nullptr), VX_E_NOT_FOUND);
}

TEST(StatusOfAWrite, LeavesItInDoubtWhereTheCameraDidNotAnswerProperly) {
    std::set<VxStatus> inDoubt;
    for (const VxStatus status : kEveryStatus)
        if (CVxDevice::IsWriteInDoubt(status)) inDoubt.insert(status);
    EXPECT_EQ(inDoubt,
              (std::set<VxStatus>{VX_E_TIMEOUT, VX_E_USB_STALL, VX_E_USB_IO, VX_E_PROTOCOL, VX_E_USB_OVERFLOW}));
    EXPECT_FALSE(CVxDevice::IsWriteInDoubt(VX_E_DEVICE_STATUS_BASE | 0x8003)) << "a refusal";
}

} // namespace
