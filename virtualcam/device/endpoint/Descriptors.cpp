#include "virtualcam/device/endpoint/Descriptors.h"

#include <cstdlib>
#include <initializer_list>

#include "virtualcam/device/Protocol.h"

namespace virtualcam {
namespace {

void Add(Bytes& to, std::initializer_list<int> values) {
    for (const int value : values)
        to.push_back(static_cast<std::uint8_t>(value));
}

int IndexOf(Text text) {
    return static_cast<int>(text);
}

bool HasText(const CameraSettings& settings, Text text) {
    return !settings.registers.stringIndexZero && (text != Text::Family || !settings.family.empty());
}

} // namespace

Descriptors::Descriptors(const CameraSettings& settings)
    : m_SuperSpeed(settings.speed >= usb::Speed::Super), m_MaxPacketSize(m_SuperSpeed ? 1024 : 512) {
    const auto set = [this](Text text, const std::string& value) { m_Texts[static_cast<std::size_t>(text)] = value; };
    set(Text::Manufacturer, settings.vendor);
    set(Text::Product, settings.model);
    set(Text::Serial, settings.serial);
    set(Text::Guid, settings.guid);
    set(Text::Vendor, settings.vendor);
    set(Text::Model, settings.model);
    set(Text::Family, settings.family);
    set(Text::DeviceVersion, settings.deviceVersion);
    set(Text::ManufacturerInfo, settings.manufacturerInfo);
    set(Text::SerialNumber, settings.serial);
    set(Text::Function, "USB3 Vision Device");
    BuildDevice(settings);
    BuildConfiguration(settings);
    Add(m_BinaryObjectStore, {0x05, 0x0F, 0x16, 0x00, 0x02});
    Add(m_BinaryObjectStore, {0x07, 0x10, 0x02, 0x02, 0x00, 0x00, 0x00});
    Add(m_BinaryObjectStore, {0x0A, 0x10, 0x03, 0x00, 0x0C, 0x00, 0x02, 0x0A, 0xFF, 0x07});
}

std::uint8_t Descriptors::SpeedBit(usb::Speed speed) {
    switch (speed) {
    case usb::Speed::Low:
        return 0x01;
    case usb::Speed::Full:
        return 0x02;
    case usb::Speed::High:
        return 0x04;
    case usb::Speed::SuperPlus:
        return 0x10;
    default:
        return 0x08;
    }
}

void Descriptors::BuildDevice(const CameraSettings& settings) {
    const unsigned long vendorId = std::strtoul(settings.guid.substr(0, 4).c_str(), nullptr, 16);
    const int version = settings.speed == usb::Speed::SuperPlus ? 0x0310 : m_SuperSpeed ? 0x0300 : 0x0210;
    Add(m_Device, {0x12, 0x01, version & 0xFF, version >> 8, 0xEF, 0x02, 0x01, m_SuperSpeed ? 0x09 : 0x40});
    Append<std::uint16_t>(m_Device, static_cast<std::uint16_t>(vendorId));
    Append<std::uint16_t>(m_Device, settings.productId);
    Append<std::uint16_t>(m_Device, 0x0100);
    Add(m_Device, {IndexOf(Text::Manufacturer), IndexOf(Text::Product), IndexOf(Text::Serial), 1});
}

void Descriptors::AddEndpoint(std::uint8_t address, std::uint8_t burst) {
    Add(m_Configuration, {0x07, 0x05, address, 0x02, m_MaxPacketSize & 0xFF, m_MaxPacketSize >> 8, 0x00});
    if (m_SuperSpeed) Add(m_Configuration, {0x06, 0x30, burst, 0x00, 0x00, 0x00});
}

void Descriptors::BuildConfiguration(const CameraSettings& settings) {
    Bytes& set = m_Configuration;
    const unsigned streams = settings.registers.noStreamInterface ? 0 : settings.streams;
    const int count = static_cast<int>(kStreamInterface + streams);
    Add(set, {0x09, 0x02, 0, 0, count, 0x01, 0x00, 0x80, m_SuperSpeed ? 0x70 : 0xFA});
    Add(set, {0x08, 0x0B, kControlInterface, count, 0xEF, 0x05, 0x00, IndexOf(Text::Function)});
    Add(set, {0x09, 0x04, kControlInterface, 0x00, 0x02, 0xEF, 0x05, 0x00, 0x00});
    Add(set, {settings.registers.longDeviceInfo ? 0x16 : 0x14, 0x24, 0x01});
    Append<std::uint32_t>(set, kGenCpVersion);
    Append<std::uint32_t>(set, kU3vVersion);
    for (Text text = Text::Guid; text <= Text::UserName; text = static_cast<Text>(IndexOf(text) + 1))
        set.push_back(static_cast<std::uint8_t>(HasText(settings, text) ? IndexOf(text) : 0));
    set.push_back(static_cast<std::uint8_t>(0x0C | SpeedBit(settings.speed)));
    if (settings.registers.longDeviceInfo) Add(set, {0xAB, 0xCD});
    AddEndpoint(kControlOut, 0);
    AddEndpoint(settings.registers.asymmetricEndpoints ? kControlInApart : kControlIn, 0);
    Add(set, {0x09, 0x04, kEventInterface, 0x00, 0x01, 0xEF, 0x05, 0x01, 0x00});
    AddEndpoint(kEventIn, 0);
    for (unsigned stream = 0; stream < streams; ++stream) {
        const std::uint8_t endpoint = StreamEndpoint(stream);
        Add(set, {0x09, 0x04, InterfaceOf(endpoint), 0x00, 0x01, 0xEF, 0x05, 0x02, 0x00});
        AddEndpoint(endpoint, 0x0F);
    }
    Store<std::uint16_t>(set.data() + 2, static_cast<std::uint16_t>(set.size()));
}

Bytes Descriptors::String(std::uint8_t index, const std::string& userName) const {
    if (index == 0) return {0x04, 0x03, 0x09, 0x04};
    if (index >= m_Texts.size()) return {};
    const std::string& text = index == IndexOf(Text::UserName) ? userName : m_Texts[index];
    Bytes descriptor{0, 0x03};
    for (const char character : text.substr(0, 126)) {
        descriptor.push_back(static_cast<std::uint8_t>(character));
        descriptor.push_back(0);
    }
    descriptor[0] = static_cast<std::uint8_t>(descriptor.size());
    return descriptor;
}

} // namespace virtualcam
