// What a device says of itself when it is enumerated.
#include "support/usbfs/Configuration.h"

#include <algorithm>

namespace usbfs {
namespace {

constexpr std::uint8_t kGetDescriptor = 0x06;
constexpr std::uint8_t kSetConfiguration = 0x09;
constexpr std::uint16_t kDeviceType = 0x0100;
constexpr std::uint16_t kConfigurationType = 0x0200;
constexpr std::uint8_t kInterfaceDescriptor = 0x04;
constexpr std::uint8_t kEndpointDescriptor = 0x05;
constexpr std::uint16_t kDeviceSize = 18;
constexpr std::uint16_t kHeaderSize = 9;

/// Empty unless the device answers with all the bytes asked for.
std::vector<std::uint8_t> ReadDescriptor(DeviceModel& model, unsigned int value, std::uint16_t length) {
    std::vector<std::uint8_t> bytes(length);
    const Answer answer =
        model.Control({0x80, kGetDescriptor, static_cast<std::uint16_t>(value), 0, length}, bytes.data());
    if (answer.status != AnswerStatus::Complete || answer.bytes != length) bytes.clear();
    return bytes;
}

std::vector<std::uint8_t> ReadConfiguration(DeviceModel& model, unsigned int index) {
    const auto header = ReadDescriptor(model, kConfigurationType | index, kHeaderSize);
    if (header.empty()) return {};
    const auto total = static_cast<std::uint16_t>(header[2] | header[3] << 8);
    return total < kHeaderSize ? std::vector<std::uint8_t>() : ReadDescriptor(model, kConfigurationType | index, total);
}

} // namespace

bool Configuration::Enumerate(DeviceModel& model) {
    m_Configurations.clear();
    m_Bytes = ReadDescriptor(model, kDeviceType, kDeviceSize);
    if (m_Bytes.empty()) return false;
    const unsigned int count = m_Bytes[17];
    for (unsigned int i = 0; i < count; ++i) {
        m_Configurations.push_back(ReadConfiguration(model, i));
        if (m_Configurations.back().empty()) return false;
        m_Bytes.insert(m_Bytes.end(), m_Configurations.back().begin(), m_Configurations.back().end());
    }
    if (count == 0) return true;
    const std::uint8_t value = m_Configurations[0][5];
    return model.Control({0x00, kSetConfiguration, value, 0, 0}, nullptr).status == AnswerStatus::Complete &&
           Select(value);
}

bool Configuration::Select(int value) {
    const auto found = std::find_if(m_Configurations.begin(), m_Configurations.end(),
                                    [&](const auto& each) { return each[5] == value; });
    if (found == m_Configurations.end()) return false;
    m_ActiveValue = value;
    m_Interfaces.clear();
    m_Endpoints.clear();
    const auto& bytes = *found;
    for (std::size_t at = 0; at + 2 <= bytes.size() && bytes[at] >= 2 && at + bytes[at] <= bytes.size();
         at += bytes[at]) {
        if (bytes[at + 1] == kInterfaceDescriptor && bytes[at] >= 9) m_Interfaces.push_back(bytes[at + 2]);
        if (bytes[at + 1] == kEndpointDescriptor && bytes[at] >= 7 && !m_Interfaces.empty())
            m_Endpoints.push_back({bytes[at + 2], m_Interfaces.back()});
    }
    return true;
}

bool Configuration::HasInterface(unsigned int number) const {
    return std::find(m_Interfaces.begin(), m_Interfaces.end(), number) != m_Interfaces.end();
}

std::optional<unsigned int> Configuration::InterfaceOf(std::uint8_t endpoint) const {
    for (const Endpoint& each : m_Endpoints)
        if (each.address == endpoint) return each.interface;
    return std::nullopt;
}

} // namespace usbfs
