#pragma once
// Status codes of the USB access library. 0 is success; every other value is a failure with a text of its own,
// see GetStatusMessage.

#include <cstdint>

namespace vexlo {

using VxStatus = unsigned int;

inline constexpr VxStatus VX_OK = 0;

// General.
inline constexpr VxStatus VX_E_FAILED = 0xE2000001;            ///< unspecified failure
inline constexpr VxStatus VX_E_NOT_FOUND = 0xE2000002;         ///< handle, device or entry is not (or no longer) there
inline constexpr VxStatus VX_E_NOT_INITIALIZED = 0xE2000003;   ///< Init has not been called
inline constexpr VxStatus VX_E_NOT_OPEN = 0xE2000004;          ///< object is not open
inline constexpr VxStatus VX_E_ALREADY_OPEN = 0xE2000005;      ///< object is already open
inline constexpr VxStatus VX_E_INVALID_STATE = 0xE2000006;     ///< operation does not fit the present state
inline constexpr VxStatus VX_E_NO_MEMORY = 0xE2000007;         ///< out of memory
inline constexpr VxStatus VX_E_INVALID_PARAMETER = 0xE2000008; ///< a parameter is out of range
inline constexpr VxStatus VX_E_INVALID_PROPERTY =
    0xE2000009;                                             ///< property identifier unknown or not accessible that way
inline constexpr VxStatus VX_E_INVALID_SIZE = 0xE200000A;   ///< size of a value or buffer does not fit
inline constexpr VxStatus VX_E_NOT_SUPPORTED = 0xE200000B;  ///< the camera or the system does not offer it
inline constexpr VxStatus VX_E_TIMEOUT = 0xE200000C;        ///< no answer in time
inline constexpr VxStatus VX_E_INVALID_HANDLE = 0xE200000D; ///< buffer handle is not registered
inline constexpr VxStatus VX_E_BACKEND = 0xE200000E;        ///< the virtual cameras were asked for and cannot be loaded

inline constexpr VxStatus VX_E_NO_THREAD = 0xE200000F; ///< no thread can be started

// Streaming.
inline constexpr VxStatus VX_E_CANCELLED = 0xE2000102;        ///< buffer was cancelled
inline constexpr VxStatus VX_E_BUFFER_TOO_SMALL = 0xE2000103; ///< payload does not fit the buffer
inline constexpr VxStatus VX_E_INCOMPLETE = 0xE2000104;       ///< payload is incomplete
inline constexpr VxStatus VX_E_TOO_MANY_BUFFERS = 0xE2000105; ///< more buffers than announced to PrepareGrab
inline constexpr VxStatus VX_E_NO_DATA = 0xE2000106;          ///< nothing completed
inline constexpr VxStatus VX_E_BAD_LEADER = 0xE2000107;       ///< leader missing or malformed
inline constexpr VxStatus VX_E_BAD_TRAILER = 0xE2000108;      ///< trailer missing or malformed
inline constexpr VxStatus VX_E_DATA_DISCARDED = 0xE2000109;   ///< camera discarded part of the block
inline constexpr VxStatus VX_E_DATA_OVERRUN = 0xE200010A;     ///< block did not fit the programmed transfers
inline constexpr VxStatus VX_E_RESYNCHRONIZED = 0xE200010B;   ///< stream lost its place; block is lost
inline constexpr VxStatus VX_E_PAYLOAD_SIZE = 0xE200010C;     ///< camera reports no or an impossible payload size
inline constexpr VxStatus VX_E_BUFFER_QUEUED = 0xE200010D;    ///< buffer is still queued
inline constexpr VxStatus VX_E_EVENT_LOST = 0xE200010E;       ///< event came while all event buffers were full
inline constexpr VxStatus VX_E_LEADER_SIZE = 0xE200010F; ///< camera reports an impossible size of leader or trailer
inline constexpr VxStatus VX_E_BUFFER_COMPLETED = 0xE2000110; ///< buffer has completed; its result was not retrieved

// USB.
inline constexpr VxStatus VX_E_USB_IO = 0xE2010130;            ///< input/output error on the bus
inline constexpr VxStatus VX_E_USB_ACCESS = 0xE2010131;        ///< no permission on the device node
inline constexpr VxStatus VX_E_USB_NO_DEVICE = 0xE2010132;     ///< camera was removed
inline constexpr VxStatus VX_E_USB_STALL = 0xE2010133;         ///< endpoint halted
inline constexpr VxStatus VX_E_USB_OVERFLOW = 0xE2010134;      ///< camera sent more than was asked for
inline constexpr VxStatus VX_E_USB_NO_MEMORY = 0xE2010135;     ///< usbfs memory limit reached
inline constexpr VxStatus VX_E_USB_NOT_SUPPORTED = 0xE2010136; ///< not supported by kernel or platform
inline constexpr VxStatus VX_E_USB_OTHER = 0xE2010137;         ///< other USB failure
inline constexpr VxStatus VX_E_NOT_A_CAMERA = 0xE2010138;      ///< descriptors are not those of a USB3 Vision camera
inline constexpr VxStatus VX_E_TOO_MANY_FILES = 0xE2010139;    ///< the process has no file descriptors left
inline constexpr VxStatus VX_E_BUSY = 0xE201013F;              ///< camera cannot be opened now: in use elsewhere

// Control protocol. The low 16 bits of VX_E_DEVICE_STATUS_BASE-codes are the camera's own status code.
inline constexpr VxStatus VX_E_PROTOCOL = 0xE2020001;           ///< acknowledge malformed
inline constexpr VxStatus VX_E_COMMAND_IN_DOUBT = 0xE2020002;   ///< answer to a command lost: perhaps it was executed
inline constexpr VxStatus VX_E_XML_NO_MANIFEST = 0xE2020010;    ///< manifest missing or malformed
inline constexpr VxStatus VX_E_XML_NO_FILE = 0xE2020011;        ///< no usable description file in the manifest
inline constexpr VxStatus VX_E_XML_BAD_ZIP = 0xE2020012;        ///< description archive cannot be unpacked
inline constexpr VxStatus VX_E_XML_TOO_LARGE = 0xE2020013;      ///< description file exceeds the limit
inline constexpr VxStatus VX_E_DEVICE_STATUS_BASE = 0xE2030000; ///< | GenCP status code of the acknowledge

} // namespace vexlo
