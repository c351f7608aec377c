#include "OddCamera.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace integration {
namespace {

constexpr std::uint8_t kGetDescriptor = 0x06;
constexpr std::uint8_t kSetConfiguration = 0x09;
constexpr std::uint16_t kDeviceDescriptor = 0x0100;
constexpr std::uint16_t kFirstConfiguration = 0x0200;
constexpr std::uint16_t kSecondConfiguration = 0x0201;

/// One vendor-specific interface without endpoints.
constexpr std::uint8_t kOtherConfiguration[] = {0x09, 0x02, 0x12, 0x00, 0x01, SecondConfiguration::kOther,
                                                0x00, 0x80, 0x32, 0x09, 0x04, 0x00,
                                                0x00, 0x00, 0xFF, 0x00, 0x00, 0x00};

} // namespace

usbfs::Answer SecondConfiguration::Control(const usb::ControlSetup& setup, std::uint8_t* data) {
    if (setup.requestType == 0x00 && setup.request == kSetConfiguration) return Select(setup.value);
    if (setup.requestType != 0x80 || setup.request != kGetDescriptor) return OddCamera::Control(setup, data);
    if (setup.value == kFirstConfiguration) {
        const std::size_t count = std::min<std::size_t>(setup.length, std::size(kOtherConfiguration));
        std::memcpy(data, kOtherConfiguration, count);
        return {usbfs::AnswerStatus::Complete, count};
    }
    usb::ControlSetup passed = setup;
    if (setup.value == kSecondConfiguration) passed.value = kFirstConfiguration;
    const usbfs::Answer answer = OddCamera::Control(passed, data);
    if (setup.value == kDeviceDescriptor && answer.bytes > 17) data[17] = 2; // configurations
    if (setup.value == kSecondConfiguration && answer.bytes > 5) data[5] = kCamera;
    return answer;
}

usbfs::Answer SecondConfiguration::Select(std::uint16_t value) {
    if (value > kCamera) return {usbfs::AnswerStatus::Stall, 0};
    ++m_Choices;
    m_Active = value;
    const std::uint16_t ofCamera = value == kCamera ? 1 : 0;
    return OddCamera::Control({0x00, kSetConfiguration, ofCamera, 0, 0}, nullptr);
}

} // namespace integration
