// A port of the emulated bus and the device in it.
#include "support/usbfs/Port.h"

#include "support/Shortage.h"
#include "support/usbfs/Bus.h"
#include "support/usbfs/system/LibusbStart.h"
#include "support/usbfs/system/Udev.h"

#include <linux/usbdevice_fs.h>
#include <pthread.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

namespace usbfs {
namespace {

constexpr std::uint8_t kSetConfigurationRequest = 0x09;
constexpr unsigned int kAddressesOfPort = 7;
constexpr unsigned int kAddressStep = 16;
constexpr std::time_t kOldSeconds = 60;

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

/// Where claims are shared with other processes; empty when they are not.
std::string LockName(const std::string& port) {
    const char* const folder = std::getenv("TAVIX_USBFS_CLAIMS");
    return folder == nullptr ? std::string() : std::string(folder) + "/" + port + "-";
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
        m_Stopping = m_Interrupted = true;
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
    m_Interrupted = true;
    m_Signalled.notify_all();
}

void Port::Work() {
    const shortage::AmpleMemory ample;
    pthread_setname_np(pthread_self(), "usbfs-port");
    std::unique_lock<std::mutex> lock(m_SignalLock);
    for (;;) {
        m_Signalled.wait(lock, [&] { return m_Kicked || m_Stopping || !m_Wishes.empty(); });
        if (m_Stopping) return;
        m_Kicked = false;
        m_Interrupted = false;
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
        const Lock lock = LockAlone();
        if (m_Present) return true;
        ++m_Generation;
        m_NodeTime = std::time(nullptr);
        m_Claims = Claims(LockName(m_Name));
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
        const std::lock_guard<std::recursive_mutex> leaving(LeavingLock());
        const Lock lock = LockAlone();
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

std::time_t Port::NodeTime() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_NodeTime;
}

void Port::MakeNodeOld() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_NodeTime -= kOldSeconds;
}

/// Asks until nothing moves any more: a device may answer on one endpoint because of what it took on another. False
/// when the device is gone.
bool Port::ServeAll() {
    Lock lock(m_Lock);
    Waiting waiting;
    while (!m_Interrupted) {
        m_Turn.wait(lock, [&] { return m_WaitingForTurn == 0; });
        const Next next = FindNext(waiting);
        if (next.file == nullptr || m_Gone) break;
        Serve(lock, next, waiting);
    }
    return !m_Gone;
}

/// The oldest transfer of an endpoint that does not wait. Looked up afresh each time, because everything may have
/// changed while the device was asked.
Port::Next Port::FindNext(const Waiting& waiting) const {
    for (OpenFile* file : m_Files)
        for (auto urb = file->Pending().begin(); urb != file->Pending().end(); ++urb)
            if (waiting.count({file, urb->record->endpoint}) == 0) return {file, urb};
    return {};
}

/// The device copies whole images here. Meanwhile programs submit, reap and claim as they can with a kernel.
void Port::Serve(Lock& lock, const Next& next, Waiting& waiting) {
    CallFaults& faults = Bus::Instance().Faults();
    const std::uint8_t endpoint = next.urb->record->endpoint;
    const int lost = std::exchange(next.urb->begun, true) ? 0 : faults.Next({Call::TransferStart, endpoint});
    if (lost != 0) {
        next.file->Finish(next.urb, -lost);
        return;
    }
    m_Served = next.urb->record;
    lock.unlock();
    const Answer answer = AskModel(*next.urb);
    lock.lock();
    m_Served = nullptr;
    m_Turn.notify_all();
    next.urb->moved += answer.bytes;
    if (answer.status != AnswerStatus::NotYet || answer.bytes > 0) waiting.clear();
    switch (answer.status) {
    case AnswerStatus::Complete:
        next.file->Finish(next.urb, -faults.Next({Call::TransferEnd, endpoint}));
        break;
    case AnswerStatus::Stall:
        next.file->Finish(next.urb, -EPIPE);
        break;
    case AnswerStatus::Overflow:
        next.file->Finish(next.urb, -EOVERFLOW);
        break;
    case AnswerStatus::Error:
        next.file->Finish(next.urb, -EPROTO);
        break;
    case AnswerStatus::Gone:
        m_Gone = true;
        break;
    case AnswerStatus::NotYet:
        if (answer.bytes == 0) waiting.insert({next.file, next.urb->record->endpoint});
        break;
    }
}

Answer Port::AskModel(const Urb& urb) {
    const usbdevfs_urb& record = *urb.record;
    auto* data = static_cast<std::uint8_t*>(record.buffer);
    const auto word = [&](int at) { return static_cast<std::uint16_t>(data[at] | data[at + 1] << 8); };
    if (record.type == USBDEVFS_URB_TYPE_CONTROL)
        return m_Model->Control({data[0], data[1], word(2), word(4), word(6)}, data + 8);
    const std::size_t room = static_cast<std::size_t>(record.buffer_length) - urb.moved;
    return (record.endpoint & 0x80) != 0 ? m_Model->In(record.endpoint, data + urb.moved, room)
                                         : m_Model->Out(record.endpoint, data + urb.moved, room);
}

/// Locks when the device has nothing in its hands.
Port::Lock Port::LockAlone() const {
    Lock lock(m_Lock);
    WaitUntilAlone(lock);
    return lock;
}

void Port::WaitUntilAlone(Lock& lock) const {
    ++m_WaitingForTurn;
    m_Turn.wait(lock, [&] { return m_Served == nullptr; });
    --m_WaitingForTurn;
    m_Turn.notify_all();
}

/// Sends a request without data. True when the device took it.
bool Port::Request(std::uint8_t type, std::uint8_t request, unsigned int value, unsigned int index) {
    const usb::ControlSetup setup{type, request, static_cast<std::uint16_t>(value), static_cast<std::uint16_t>(index),
                                  0};
    return m_Model->Control(setup, nullptr).status == AnswerStatus::Complete;
}

int Port::SelectConfiguration(OpenFile& file, int value) {
    const Lock lock = LockAlone();
    if (!file.IsConnected()) return ENODEV;
    if (m_Claims.IsAnyHeld()) return EBUSY;
    if (!m_Configuration.Select(value)) return EINVAL;
    return Request(0x00, kSetConfigurationRequest, static_cast<unsigned int>(value), 0) ? 0 : EPIPE;
}

} // namespace usbfs
