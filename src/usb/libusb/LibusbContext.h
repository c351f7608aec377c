#pragma once
// Owners of libusb's objects.

#include <libusb.h>

#include <memory>

namespace usb {

struct ExitContext {
    void operator()(libusb_context* context) const { libusb_exit(context); }
};
using LibusbContext = std::unique_ptr<libusb_context, ExitContext>;

struct CloseDevice {
    void operator()(libusb_device_handle* device) const { libusb_close(device); }
};
using LibusbDeviceHandle = std::unique_ptr<libusb_device_handle, CloseDevice>;

struct FreeConfiguration {
    void operator()(libusb_config_descriptor* configuration) const { libusb_free_config_descriptor(configuration); }
};
using LibusbConfiguration = std::unique_ptr<libusb_config_descriptor, FreeConfiguration>;

/// The devices of a context at one moment; each is referenced as long as the list lives. Bound to a thread.
class LibusbDeviceList {
public:
    explicit LibusbDeviceList(libusb_context* context) : m_Count(libusb_get_device_list(context, &m_Devices)) {}
    ~LibusbDeviceList() {
        if (m_Count >= 0) libusb_free_device_list(m_Devices, /*unref_devices=*/1);
    }
    LibusbDeviceList(const LibusbDeviceList&) = delete;
    LibusbDeviceList& operator=(const LibusbDeviceList&) = delete;

    /// 0, or libusb's error code when there is no list.
    int Error() const { return m_Count < 0 ? static_cast<int>(m_Count) : 0; }
    libusb_device** begin() const { return m_Devices; }
    libusb_device** end() const { return m_Devices + (m_Count > 0 ? m_Count : 0); }

private:
    libusb_device** m_Devices = nullptr;
    ssize_t m_Count;
};

} // namespace usb
