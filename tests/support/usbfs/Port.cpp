// A port of the emulated bus and the device in it.
#include "support/usbfs/Port.h"

#include "support/usbfs/Udev.h"

#include <linux/usbdevice_fs.h>

#include <cerrno>
#include <cstdio>
#include <utility>

namespace usbfs {
namespace {

constexpr std::uint8_t kSetConfiguration = 0x09;
constexpr unsigned int kAddressesOfPort = 7;
constexpr unsigned int kAddressStep = 16;

const char* SpeedText(usb::Speed speed) {
    switch (speed) {
    case usb::Speed::Low:
        return "1.5";
    case usb::Speed::Full:
        return "12";
    case usb::Speed::High:
        return "480";
    case usb::Speed::Super:
        return "5000";
    case usb::Speed::SuperPlus:
        return "10000";
    case usb::Speed::Unknown:
        break;
    }
    return "unknown";
}

} // namespace

Port::Port(unsigned int bus, unsigned int number, PortSettings settings, std::shared_ptr<DeviceModel> model)
    : m_Bus(bus), m_Number(number), m_Name(std::to_string(bus) + "-" + std::to_string(number)),
      m_Settings(std::move(settings)), m_Model(std::move(model)) {}

Port::~Port() {
    Stop();
}

bool Port::Start() {
    m_Model->Attached(*this);
    m_Worker = std::thread(&Port::Work, this);
    return !m_Model->IsPluggedAtFirst() || PlugNow();
}

void Port::Stop() {
    if (!m_Worker.joinable()) return;
    {
        const std::lock_guard<std::mutex> lock(m_SignalLock);
        m_Stopping = true;
        m_Signalled.notify_all();
    }
    m_Worker.join();
    UnplugNow();
    m_Model->Detached();
}

void Port::Wake() {
    const std::lock_guard<std::mutex> lock(m_SignalLock);
    m_Kicked = true;
    m_Signalled.notify_all();
}

void Port::Unplug() {
    Ask(Wish::Unplug);
}

void Port::Plug() {
    Ask(Wish::Plug);
}

void Port::Ask(Wish wish) {
    const std::lock_guard<std::mutex> lock(m_SignalLock);
    m_Wishes.push_back(wish);
    m_Signalled.notify_all();
}

void Port::Work() {
    std::unique_lock<std::mutex> lock(m_SignalLock);
    for (;;) {
        m_Signalled.wait(lock, [&] { return m_Kicked || m_Stopping || !m_Wishes.empty(); });
        if (m_Stopping) return;
        m_Kicked = false;
        const std::vector<Wish> wishes = std::exchange(m_Wishes, {});
        lock.unlock();
        for (const Wish wish : wishes)
            wish == Wish::Plug ? static_cast<void>(PlugNow()) : UnplugNow();
        // Before any wish that is waiting now: a device that has come back already asks for it behind its leaving.
        if (!ServeAll()) UnplugNow();
        lock.lock();
    }
}

bool Port::PlugNow() {
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        if (m_Present) return true;
        ++m_Generation;
        m_Claims = Claims();
        m_Gone = false;
        for (const auto& [interface, driver] : m_Settings.drivers)
            m_Claims.BindDriver(interface, driver);
        m_Present = m_Configuration.Enumerate(*m_Model);
        if (!m_Present) return false;
    }
    PostUdevEvent("add", Name(), Node());
    return true;
}

void Port::UnplugNow() {
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        if (!m_Present) return;
        m_Present = false;
        for (OpenFile* file : m_Files)
            file->Disconnect();
    }
    PostUdevEvent("remove", Name(), Node());
}

bool Port::IsPresent() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Present;
}

/// A port has addresses that no other port of its bus has, and changes them like a real bus each time.
unsigned int Port::Address() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Number + kAddressStep * (m_Generation % kAddressesOfPort);
}

std::string Port::Node() const {
    char path[32];
    std::snprintf(path, sizeof path, "/dev/bus/usb/%03u/%03u", m_Bus, Address());
    return path;
}

bool Port::ReadAttribute(const std::string& name, std::string& text) const {
    if (name == "busnum") return text = std::to_string(m_Bus) + "\n", true;
    if (name == "devnum") return text = std::to_string(Address()) + "\n", true;
    if (name == "speed") return text = std::string(SpeedText(m_Settings.speed)) + "\n", true;
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (name == "bConfigurationValue") return text = std::to_string(m_Configuration.ActiveValue()) + "\n", true;
    if (name != "descriptors") return false;
    text.assign(m_Configuration.Bytes().begin(), m_Configuration.Bytes().end());
    return true;
}

void Port::RefuseOpens(int error, unsigned int times) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_RefusalError = error;
    m_Refusals = times;
}

/// Asks until nothing moves any more: a device may answer on one endpoint because of what it took on another. False
/// when the device is gone.
bool Port::ServeAll() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    for (bool moved = true; moved;) {
        moved = false;
        for (OpenFile* file : m_Files)
            moved |= ServeFile(*file);
    }
    return !m_Gone;
}

/// True when anything has moved. One that waits holds up those behind it on its endpoint.
bool Port::ServeFile(OpenFile& file) {
    bool any = false;
    std::uint32_t waiting = 0;
    auto& pending = file.Pending();
    for (auto urb = pending.begin(); urb != pending.end();) {
        const unsigned int endpoint = urb->record->endpoint;
        const std::uint32_t bit = std::uint32_t{1} << ((endpoint & 0x0Fu) | (endpoint & 0x80u) >> 3);
        const Answer answer = (waiting & bit) != 0 ? Answer{} : Serve(*urb);
        switch (answer.status) {
        case AnswerStatus::Complete:
            urb = file.Finish(urb, 0);
            break;
        case AnswerStatus::Stall:
            urb = file.Finish(urb, -EPIPE);
            break;
        case AnswerStatus::Overflow:
            urb = file.Finish(urb, -EOVERFLOW);
            break;
        case AnswerStatus::Error:
            urb = file.Finish(urb, -EPROTO);
            break;
        case AnswerStatus::Gone:
            m_Gone = true;
            [[fallthrough]];
        case AnswerStatus::NotYet:
            waiting |= bit;
            ++urb;
            any |= answer.bytes > 0;
            continue;
        }
        any = true;
    }
    return any;
}

Answer Port::Serve(Urb& urb) {
    const usbdevfs_urb& record = *urb.record;
    auto* data = static_cast<std::uint8_t*>(record.buffer);
    const auto word = [&](int at) { return static_cast<std::uint16_t>(data[at] | data[at + 1] << 8); };
    Answer answer;
    const std::size_t room = static_cast<std::size_t>(record.buffer_length) - urb.moved;
    if (record.type == USBDEVFS_URB_TYPE_CONTROL)
        answer = m_Model->Control({data[0], data[1], word(2), word(4), word(6)}, data + 8);
    else if ((record.endpoint & 0x80) != 0)
        answer = m_Model->In(record.endpoint, data + urb.moved, room);
    else
        answer = m_Model->Out(record.endpoint, data + urb.moved, room);
    urb.moved += answer.bytes;
    return answer;
}

/// Sends a request without data. True when the device took it.
bool Port::Request(std::uint8_t type, std::uint8_t request, unsigned int value, unsigned int index) {
    const usb::ControlSetup setup{type, request, static_cast<std::uint16_t>(value), static_cast<std::uint16_t>(index),
                                  0};
    return m_Model->Control(setup, nullptr).status == AnswerStatus::Complete;
}

int Port::SelectConfiguration(OpenFile& file, int value) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!file.IsConnected()) return ENODEV;
    if (!m_Configuration.Select(value)) return EINVAL;
    return Request(0x00, kSetConfiguration, static_cast<unsigned int>(value), 0) ? 0 : EPIPE;
}

} // namespace usbfs
