#pragma once
// One USB3 Vision camera: control channel, properties and its two streams.

#include "vexlo/DeviceDiscoveryInfo.h"
#include "vexlo/Export.h"
#include "vexlo/Status.h"

#include <memory>

namespace vexlo {

class CVxStream;
class CVxEventStream;
class CXmlFile;

/// Kind of device object; the numbers are those of DeviceDiscoveryInfo::UsbDriverType.
enum EDeviceType : int { DeviceType_WinUsb = 0, DeviceType_Vandrel = 1, DeviceType_Libusb = 2 };

/// All operations answer with a status and never throw. Thread-safe; register transactions of one camera are
/// serialised.
class TAVIX_VEXLO_API CVxDevice {
public:
    /// Identifiers for GetProperty and SetProperty. Values are little-endian of the width given; any other size fails
    /// with VX_E_INVALID_SIZE.
    enum EPropertyValue : unsigned int {
        Property_ReadPipeResetCount = 0x200,         ///< 8 bytes, read: count of read pipe resets
        Property_WritePipeResetCount = 0x300,        ///< 8 bytes, read: count of write pipe resets
        Property_ReadOperationsFailedCount = 0x400,  ///< 8 bytes, read
        Property_WriteOperationsFailedCount = 0x500, ///< 8 bytes, read
        Property_LastErrorStatus = 0x600,            ///< 4 bytes, read: status of the last failed read or write
        Property_ControlTimeout = 0x700,             ///< 4 bytes, read/write: floor of the control timeout in ms
        Property_ConnectTimeout = 0x800,             ///< 4 bytes, read/write: for silent cameras before a reset, in ms
        Property_WriteTimeout = 0x900,               ///< 4 bytes, read/write: the same floor for WriteMem, in ms
        Property_OpenAsProbe = 0xA00,                ///< 1 byte, read/write: not 0 when Open only looks, see there
        Property_OpenToRead = 0xB00,                 ///< 1 byte, read/write: not 0 when Open writes no register
        Property_HasStream = 0xC00,                  ///< 1 byte, read while open: not 0 when there are images to stream
        Property_CustomRequestId = 0xAFFE0000,       ///< 1 byte, read/write: bRequest of a custom control request
        Property_CustomRequestValue = 0xAFFE0100,    ///< 2 bytes, read/write: wValue
        Property_CustomRequestIndex = 0xAFFE0200,    ///< 2 bytes, read/write: wIndex
        Property_CustomRequestDataLength = 0xAFFE0300, ///< 2 bytes, read/write: wLength
        Property_CustomRequestExecuteRead =
            0xAFFE0400, ///< 1 byte: a write of any value executes a device-to-host request
        Property_CustomRequestExecuteWrite =
            0xAFFE0500,                         ///< 1 byte: a write of any value executes a host-to-device request
        Property_CustomRequestData = 0xAFFF0000 ///< up to 64 bytes, read/write: data stage of the request
    };

    /// Null when the type is not supported here (only DeviceType_Libusb is) or memory is short.
    static CVxDevice* CreateDevice(EDeviceType type);
    /// Closes and deletes; null is ignored. Its streams die with it.
    static void DestroyDevice(CVxDevice* device);

    /// Opens the camera that the record names by its device path; VX_E_NOT_FOUND when there is none, or one whose GUID
    /// is another than the record's. VX_E_BUSY when it is in use elsewhere, VX_E_USB_ACCESS when not permitted. A
    /// camera may still be booting: one that is silent is waited for (Property_ConnectTimeout), then reset once, which
    /// takes ten seconds at most in all. That is had once: until it answers or is plugged in anew, every further
    /// attempt ends within a second, whatever object makes it. Property_OpenAsProbe says that the camera is closed
    /// again at once: it is not reset then, and two seconds are the most for one that was seen answering or silent
    /// before. Streams and events that a program which died has left switched on are switched off, but by a probe and
    /// with Property_OpenToRead: those write no register.
    [[nodiscard]] VxStatus Open(const DeviceDiscoveryInfo& info);
    [[nodiscard]] VxStatus Open(const DeviceDiscoveryInfo* info);
    [[nodiscard]] VxStatus Close();
    bool IsOpen() const;

    /// Reads *pCount bytes from the camera's register space at `address`; *pCount becomes the number of bytes read.
    /// Requests longer than the camera's limit are split.
    [[nodiscard]] VxStatus ReadMem(void* buffer, unsigned long address, unsigned long* pCount);
    /// Writes `count` bytes to the camera's register space at `address`. Nothing that the camera may have executed is
    /// sent again, since the register may be a command.
    [[nodiscard]] VxStatus WriteMem(const void* buffer, unsigned long address, unsigned long count);
    /// Whether a failed WriteMem may have been executed all the same: its answer was lost or damaged.
    static bool IsWriteInDoubt(VxStatus status);
    /// After a write in doubt, for what may be written twice: reads back, and writes again what the registers do not
    /// hold or do not tell.
    [[nodiscard]] VxStatus RewriteMem(const void* buffer, unsigned long address, unsigned long count);

    [[nodiscard]] VxStatus GetProperty(EPropertyValue id, void* buffer, unsigned long size);
    [[nodiscard]] VxStatus SetProperty(EPropertyValue id, const void* buffer, unsigned long size);

    /// Downloads the camera's description file, unpacked, best entry of the manifest first.
    [[nodiscard]] VxStatus ProvideXmlFile(CXmlFile& file);

    /// The camera's stream object, owned by the device; the same pointer every time, also while closed.
    [[nodiscard]] VxStatus GetStream(CVxStream** ppStream);
    /// The camera's event stream object, owned by the device; the same pointer every time, also while closed.
    [[nodiscard]] VxStatus GetEventStream(CVxEventStream** ppStream);

    CVxDevice(const CVxDevice&) = delete;
    CVxDevice& operator=(const CVxDevice&) = delete;

    struct Impl;
    Impl& GetImpl() { return *m_Impl; }

private:
    CVxDevice();
    ~CVxDevice();

    std::unique_ptr<Impl> m_Impl; // constant after construction
};

} // namespace vexlo
