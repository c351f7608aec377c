// A small vendor device for the tests of the real bus.
#include "usb/support/TestDevice.h"

#include <algorithm>
#include <cstring>
#include <string>

using usbfs::Answer;
using usbfs::AnswerStatus;

namespace {

using Bytes = std::vector<std::uint8_t>;

Answer Give(const Bytes& bytes, const usb::ControlSetup& setup, std::uint8_t* data) {
    const std::size_t count = std::min<std::size_t>(bytes.size(), setup.length);
    std::copy_n(bytes.begin(), count, data);
    return {AnswerStatus::Complete, count};
}

Bytes StringDescriptor(unsigned int index) {
    static const std::u16string texts[] = {u"\u0409", u"Tester", u"K\u00fcche 7"};
    if (index >= 3) return {};
    Bytes bytes = {static_cast<std::uint8_t>(2 + 2 * texts[index].size()), 3};
    for (const char16_t unit : texts[index]) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return bytes;
}

Answer GiveDescriptor(const usb::ControlSetup& setup, std::uint8_t* data) {
    const unsigned int index = setup.value & 0xFFu;
    Bytes bytes;
    switch (setup.value >> 8) {
    case 1:
        bytes = TestDevice::DeviceDescriptor();
        break;
    case 2:
        bytes = TestDevice::ConfigurationDescriptor(static_cast<std::uint8_t>(index + 1));
        break;
    case 3:
        bytes = StringDescriptor(index);
        break;
    default:
        break;
    }
    return bytes.empty() ? Answer{AnswerStatus::Stall, 0} : Give(bytes, setup, data);
}

} // namespace

Bytes TestDevice::DeviceDescriptor() {
    return {18, 1, 0x00, 0x03, 0xEF, 2, 1, 9, 0x09, 0x12, 0x01, 0x00, 0x34, 0x12, 1, 2, 3, 2};
}

Bytes TestDevice::ConfigurationDescriptor(std::uint8_t value) {
    Bytes bytes = {
        9, 2,    0,    0,    2,    value, 0, 0x80, 112, // configuration
        8, 0x0B, 0,    1,    0xEF, 5,     0, 1,         // association of interface 0
        9, 4,    0,    0,    2,    0xFF,  1, 0,    0,   // interface 0
        5, 0x24, 1,    0xAA, 0xBB,                      // class-specific
        7, 5,    0x01, 2,    0x00, 0x04,  0,            // echo OUT
        6, 0x30, 0,    0,    0,    0,                   // companion
        7, 5,    0x82, 2,    0x00, 0x04,  0,            // echo IN
        6, 0x30, 0,    0,    0,    0,                   // companion
        4, 0x24, 2,    0xCC,                            // class-specific, behind an endpoint
        8, 0x0B, 1,    1,    0xFF, 2,     0, 0,         // association of interface 1
        9, 4,    1,    0,    1,    0xFF,  2, 0,    0,   // interface 1
        7, 5,    0x83, 2,    0x00, 0x04,  0,            // source
        6, 0x30, 15,   0,    0,    0,                   // companion
    };
    bytes[2] = static_cast<std::uint8_t>(bytes.size());
    return bytes;
}

void TestDevice::Queue(Kind kind, std::size_t bytes) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Items.push_back({kind, bytes});
    if (m_Port != nullptr) m_Port->Wake();
}

void TestDevice::Send(std::size_t bytes) {
    Queue(Kind::Whole, bytes);
}
void TestDevice::SendPart(std::size_t bytes) {
    Queue(Kind::Part, bytes);
}
void TestDevice::SendOverflow() {
    Queue(Kind::Overflow);
}
void TestDevice::SendLineError() {
    Queue(Kind::LineError);
}
void TestDevice::Halt() {
    Queue(Kind::Halt);
}
void TestDevice::LeaveWhenAsked() {
    Queue(Kind::Leave);
}

void TestDevice::Flow() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Flowing = true;
    if (m_Port != nullptr) m_Port->Wake();
}

void TestDevice::ChangeIdentityOnReset() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_ChangesIdentity = true;
}

unsigned int TestDevice::ResetCount() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Resets;
}

void TestDevice::Attached(usbfs::DevicePort& port) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Port = &port;
}

void TestDevice::Detached() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Port = nullptr;
}

Answer TestDevice::Control(const usb::ControlSetup& setup, std::uint8_t* data) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    const unsigned int kind = static_cast<unsigned int>(setup.requestType) << 8 | setup.request;
    const std::size_t count = std::min<std::size_t>(setup.length, m_Scratch.size());
    switch (kind) {
    case 0x8006:
        return GiveDescriptor(setup, data);
    case 0x0009: // SET_CONFIGURATION
    case 0x010B: // SET_INTERFACE
        return {AnswerStatus::Complete, 0};
    case 0x0203: // SET_FEATURE(ENDPOINT_HALT)
    case 0x0201: // CLEAR_FEATURE(ENDPOINT_HALT)
        if (setup.index == kSource) m_Halted = setup.request == 0x03;
        return {AnswerStatus::Complete, 0};
    case 0xC000 | kScratchRequest:
        std::copy_n(m_Scratch.begin(), count, data);
        return {AnswerStatus::Complete, count};
    case 0x4000 | kScratchRequest:
        std::copy_n(data, count, m_Scratch.begin());
        return {AnswerStatus::Complete, count};
    case 0xC000 | kSilentRequest:
        return {AnswerStatus::NotYet, 0};
    default:
        return {AnswerStatus::Stall, 0};
    }
}

Answer TestDevice::In(std::uint8_t endpoint, std::uint8_t* data, std::size_t room) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return endpoint == kSource ? Source(data, room) : Echo(data, room);
}

Answer TestDevice::Echo(std::uint8_t* data, std::size_t room) {
    if (m_Echo.empty()) return {AnswerStatus::NotYet, 0};
    const Bytes bytes = std::move(m_Echo.front());
    m_Echo.pop_front();
    if (bytes.size() > room) return {AnswerStatus::Overflow, 0};
    std::copy(bytes.begin(), bytes.end(), data);
    return {AnswerStatus::Complete, bytes.size()};
}

Answer TestDevice::Source(std::uint8_t* data, std::size_t room) {
    if (m_Halted) return {AnswerStatus::Stall, 0};
    if (m_Items.empty()) {
        if (!m_Flowing) return {AnswerStatus::NotYet, 0};
        Fill(data, room);
        return {AnswerStatus::Complete, room};
    }
    const Item item = m_Items.front();
    m_Items.pop_front();
    const std::size_t bytes = std::min(item.bytes, room);
    Fill(data, bytes);
    switch (item.kind) {
    case Kind::Whole:
        return {AnswerStatus::Complete, bytes};
    case Kind::Part:
        return {AnswerStatus::NotYet, bytes};
    case Kind::Overflow:
        return {AnswerStatus::Overflow, 0};
    case Kind::LineError:
        return {AnswerStatus::Error, 0};
    case Kind::Halt:
        m_Halted = true;
        return {AnswerStatus::Stall, 0};
    case Kind::Leave:
        break;
    }
    return {AnswerStatus::Gone, 0};
}

void TestDevice::Fill(std::uint8_t* data, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i)
        data[i] = ExpectedByte(m_Sent++);
}

Answer TestDevice::Out(std::uint8_t, const std::uint8_t* data, std::size_t length) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Echo.emplace_back(data, data + length);
    return {AnswerStatus::Complete, length};
}

bool TestDevice::Reset() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    ++m_Resets;
    m_Halted = false;
    m_Echo.clear();
    return !m_ChangesIdentity;
}
