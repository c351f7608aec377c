#pragma once
// Every failure that the USB access library can answer.

#include "vexlo/Status.h"

#include <iterator>

inline constexpr vexlo::VxStatus kAllFailures[] = {
    vexlo::VX_E_FAILED,
    vexlo::VX_E_NOT_FOUND,
    vexlo::VX_E_NOT_INITIALIZED,
    vexlo::VX_E_NOT_OPEN,
    vexlo::VX_E_ALREADY_OPEN,
    vexlo::VX_E_INVALID_STATE,
    vexlo::VX_E_NO_MEMORY,
    vexlo::VX_E_INVALID_PARAMETER,
    vexlo::VX_E_INVALID_PROPERTY,
    vexlo::VX_E_INVALID_SIZE,
    vexlo::VX_E_NOT_SUPPORTED,
    vexlo::VX_E_TIMEOUT,
    vexlo::VX_E_INVALID_HANDLE,
    vexlo::VX_E_BACKEND,
    vexlo::VX_E_NO_THREAD,
    vexlo::VX_E_CANCELLED,
    vexlo::VX_E_BUFFER_TOO_SMALL,
    vexlo::VX_E_INCOMPLETE,
    vexlo::VX_E_TOO_MANY_BUFFERS,
    vexlo::VX_E_NO_DATA,
    vexlo::VX_E_BAD_LEADER,
    vexlo::VX_E_BAD_TRAILER,
    vexlo::VX_E_DATA_DISCARDED,
    vexlo::VX_E_DATA_OVERRUN,
    vexlo::VX_E_RESYNCHRONIZED,
    vexlo::VX_E_PAYLOAD_SIZE,
    vexlo::VX_E_BUFFER_QUEUED,
    vexlo::VX_E_BUFFER_COMPLETED,
    vexlo::VX_E_EVENT_LOST,
    vexlo::VX_E_LEADER_SIZE,
    vexlo::VX_E_USB_IO,
    vexlo::VX_E_USB_ACCESS,
    vexlo::VX_E_USB_NO_DEVICE,
    vexlo::VX_E_USB_STALL,
    vexlo::VX_E_USB_OVERFLOW,
    vexlo::VX_E_USB_NO_MEMORY,
    vexlo::VX_E_USB_NOT_SUPPORTED,
    vexlo::VX_E_USB_OTHER,
    vexlo::VX_E_TOO_MANY_FILES,
    vexlo::VX_E_NOT_A_CAMERA,
    vexlo::VX_E_BUSY,
    vexlo::VX_E_PROTOCOL,
    vexlo::VX_E_XML_NO_MANIFEST,
    vexlo::VX_E_XML_NO_FILE,
    vexlo::VX_E_XML_BAD_ZIP,
    vexlo::VX_E_DEVICE_STATUS_BASE | 0x8001, // the camera's own
    1,                                       // no status of the library
    ~0u,
};
