// The text of each status code.
#include "vexlo/StatusText.h"

#include "core/Threads.h"
#include "u3v/Constants.h"
#include "vexlo/Vexlo.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace vexlo {
namespace {

struct StatusRow {
    VxStatus status;
    const char* text;
};

struct DeviceRow {
    std::uint16_t code;
    const char* text;
};

constexpr StatusRow kStatusRows[] = {
    {VX_OK, "The operation completed successfully."},
    {VX_E_FAILED, "The operation failed."},
    {VX_E_NOT_FOUND,
     "The device, handle or entry was not found. The camera may have been removed or moved to another port; "
     "enumerate the devices again."},
    {VX_E_NOT_INITIALIZED, "The USB access library is not initialized."},
    {VX_E_NOT_OPEN, "The object is not open."},
    {VX_E_ALREADY_OPEN, "The object is already open."},
    {VX_E_INVALID_STATE, "The operation is not allowed in the present state."},
    {VX_E_NO_MEMORY, "Out of memory."},
    {VX_E_INVALID_PARAMETER, "A parameter is invalid or out of range."},
    {VX_E_INVALID_PROPERTY, "The property is unknown or cannot be accessed this way."},
    {VX_E_INVALID_SIZE, "The size of the value or buffer does not fit."},
    {VX_E_NOT_SUPPORTED, "The camera or the system does not support the operation."},
    {VX_E_TIMEOUT,
     "The camera did not answer in time. Check cable and power supply, or unplug the camera and plug it in again."},
    {VX_E_INVALID_HANDLE, "The buffer handle is not registered."},
    {VX_E_BACKEND, "The virtual cameras cannot be loaded. Check the value of TAVIX_VIRTUAL_CAMERAS and that "
                   "libtavixvirtualcam.so lies beside libvexlo.so."},
    {VX_E_NO_THREAD, Tavix::NoThread::kText},
    {VX_E_CANCELLED, "The buffer was cancelled."},
    {VX_E_BUFFER_TOO_SMALL,
     "The payload does not fit the buffer. Register buffers of at least the camera's payload size."},
    {VX_E_INCOMPLETE,
     "The payload was incompletely grabbed. The bus or the application may be too slow; try a lower frame rate or "
     "throughput limit."},
    {VX_E_TOO_MANY_BUFFERS, "More buffers are registered than the maximum number of buffers allows."},
    {VX_E_NO_DATA, "There is no completed buffer or event."},
    {VX_E_BAD_LEADER, "The leader of the block is missing or malformed."},
    {VX_E_BAD_TRAILER, "The trailer of the block is missing or malformed."},
    {VX_E_DATA_DISCARDED,
     "The camera discarded part of the block because its own buffer overflowed. Queue more buffers, or "
     "lower the frame rate or the throughput limit."},
    {VX_E_DATA_OVERRUN,
     "The block did not fit the transfers that were set up for it. Was the payload size changed while "
     "grabbing?"},
    {VX_E_RESYNCHRONIZED, "The stream lost its place in the data and found it again; the block is lost."},
    {VX_E_PAYLOAD_SIZE, "The camera reports no payload size or an impossible one."},
    {VX_E_LEADER_SIZE, "The camera reports an impossible size of its images' leaders or trailers."},
    {VX_E_BUFFER_QUEUED, "The buffer is still queued."},
    {VX_E_BUFFER_COMPLETED, "The buffer has completed, and its result has not been retrieved."},
    {VX_E_EVENT_LOST,
     "An event was lost because the events before it had not been retrieved. Retrieve events sooner or use "
     "more event buffers."},
    {VX_E_USB_IO, "Input/output error on the USB. Check cable, hub and power supply."},
    {VX_E_USB_ACCESS,
     "No permission to open the camera. Install the udev rule for USB3 Vision cameras, then plug the camera in "
     "again."},
    {VX_E_USB_NO_DEVICE, "The camera was removed."},
    {VX_E_USB_STALL, "The camera halted the USB endpoint."},
    {VX_E_USB_OVERFLOW, "The camera sent more data than was asked for."},
    {VX_E_USB_NO_MEMORY, "The kernel's memory limit for USB transfers is reached. Raise "
                         "/sys/module/usbcore/parameters/usbfs_memory_mb, or queue fewer or smaller transfers."},
    {VX_E_USB_NOT_SUPPORTED, "The USB operation is not supported by kernel or platform."},
    {VX_E_USB_OTHER, "Unclassified USB failure."},
    {VX_E_NOT_A_CAMERA, "The device's descriptors are not those of a USB3 Vision camera."},
    {VX_E_TOO_MANY_FILES,
     "The program has too many files open to open a camera as well. Close some, or raise the limit (ulimit -n)."},
    {VX_E_BUSY, "The camera is in use by another program."},
    {VX_E_PROTOCOL, "The camera's answer is malformed."},
    {VX_E_COMMAND_IN_DOUBT, "The camera's answer to a command was lost or damaged, so nobody knows whether it was "
                            "executed. A command is never "
                            "sent twice; execute it again if need be."},
    {VX_E_XML_NO_MANIFEST, "The camera's table of files is missing or malformed."},
    {VX_E_XML_NO_FILE, "The camera offers no usable description file."},
    {VX_E_XML_BAD_ZIP, "The camera's zipped description file cannot be unpacked."},
    {VX_E_XML_TOO_LARGE, "The camera's description file is larger than 64 MiB, which is the limit."},
};

constexpr DeviceRow kDeviceRows[] = {
    {u3v::status::kNotImplemented, "command not implemented"},
    {u3v::status::kInvalidParameter, "invalid parameter"},
    {u3v::status::kInvalidAddress, "invalid address"},
    {u3v::status::kWriteProtect, "register is write-protected"},
    {u3v::status::kBadAlignment, "bad alignment"},
    {u3v::status::kAccessDenied, "access denied at present"},
    {u3v::status::kBusy, "busy"},
    {u3v::status::kMessageTimeout, "timeout inside the camera"},
    {u3v::status::kInvalidHeader, "invalid command header"},
    {u3v::status::kWrongConfiguration, "not allowed in the present configuration"},
    {u3v::status::kError, "unspecified error"},
    {u3v::status::kResendNotSupported, "resend not supported"},
    {u3v::status::kStreamEndpointHalted, "stream endpoint is halted"},
    {u3v::status::kPayloadSizeNotAligned, "stream size is not aligned"},
    {u3v::status::kStreamRegistersInconsistent, "stream registers are inconsistent"},
    {u3v::status::kEventEndpointHalted, "event endpoint is halted"},
    {u3v::status::kDataDiscarded, "data was discarded"},
    {u3v::status::kDataOverrun, "data overrun"},
};

const char* DeviceText(std::uint16_t code) {
    for (const DeviceRow& row : kDeviceRows)
        if (row.code == code) return row.text;
    switch (code & u3v::status::kNamespaceMask) {
    case u3v::status::kNamespaceGenCp:
        return "unknown error of the control protocol";
    case u3v::status::kNamespaceUsb3Vision:
        return "unknown USB3 Vision error";
    case u3v::status::kNamespaceDevice:
        return "error of this camera model";
    default:
        return "unknown error";
    }
}

std::optional<std::string> FindDeviceText(VxStatus status) {
    const auto code = static_cast<std::uint16_t>(status & 0xFFFF);
    if ((status & 0xFFFF0000) != VX_E_DEVICE_STATUS_BASE || !u3v::status::IsError(code)) return std::nullopt;
    char text[128];
    std::snprintf(text, sizeof text, "The camera refused the access: %s (0x%04X).", DeviceText(code), code);
    return text;
}

} // namespace

std::optional<std::string> FindStatusText(VxStatus status) {
    for (const StatusRow& row : kStatusRows)
        if (row.status == status) return row.text;
    return FindDeviceText(status);
}

VxStatus GetStatusMessage(VxStatus status, char* buffer, unsigned long size, unsigned long* pLength) {
    if (buffer == nullptr && size != 0) return VX_E_INVALID_PARAMETER;
    const auto text = FindStatusText(status);
    if (!text) return VX_E_NOT_FOUND;
    if (pLength != nullptr) *pLength = text->size();
    if (size == 0) return VX_OK;
    const std::size_t count = std::min<std::size_t>(text->size(), size - 1);
    std::memcpy(buffer, text->data(), count);
    buffer[count] = '\0';
    return VX_OK;
}

} // namespace vexlo
