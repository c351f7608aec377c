#include "virtualcam/usbip/Export.h"

namespace virtualcam::usbip {
namespace {

constexpr std::uint32_t kBus = 1;
constexpr std::uint8_t kInterfaceDescriptor = 0x04;

std::uint32_t AddressOf(const RemoteCamera& camera) {
    return camera.Index() + 2; // 1 is the root hub's
}

std::vector<InterfaceClass> InterfacesOf(const Bytes& configuration) {
    std::vector<InterfaceClass> interfaces;
    for (std::size_t at = 0; at + 9 <= configuration.size() && configuration[at] != 0; at += configuration[at])
        if (configuration[at + 1] == kInterfaceDescriptor && configuration[at + 3] == 0)
            interfaces.push_back({configuration[at + 5], configuration[at + 6], configuration[at + 7]});
    return interfaces;
}

} // namespace

std::string BusIdOf(const RemoteCamera& camera) {
    return std::to_string(kBus) + "-" + std::to_string(camera.Index() + 1);
}

std::uint32_t DeviceNumberOf(const RemoteCamera& camera) {
    return kBus << 16 | AddressOf(camera);
}

// The kernel's virtual hub knows no more than SuperSpeed.
std::uint32_t SpeedOf(const RemoteCamera& camera) {
    return camera.Settings().speed == usb::Speed::High ? kLinuxHighSpeed : kLinuxSuperSpeed;
}

ExportedDevice DescribeCamera(RemoteCamera& camera) {
    const Bytes& device = camera.GetDevice().GetDescriptors().Device();
    const Bytes& configuration = camera.GetDevice().GetDescriptors().Configuration();
    ExportedDevice exported;
    exported.busId = BusIdOf(camera);
    exported.path = "/sys/devices/virtual/tavix/" + exported.busId;
    exported.bus = kBus;
    exported.address = AddressOf(camera);
    exported.speed = SpeedOf(camera);
    exported.device = {device[4], device[5], device[6]};
    exported.vendor = Load<std::uint16_t>(device.data() + 8);
    exported.product = Load<std::uint16_t>(device.data() + 10);
    exported.release = Load<std::uint16_t>(device.data() + 12);
    exported.configurationCount = device[17];
    exported.configurationValue = configuration[5];
    exported.interfaces = InterfacesOf(configuration);
    return exported;
}

} // namespace virtualcam::usbip
