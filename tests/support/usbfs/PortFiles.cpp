// What the open files of a device do with it.
#include "support/usbfs/Port.h"

#include <linux/usbdevice_fs.h>

#include <cerrno>

namespace usbfs {
namespace {

constexpr std::uint8_t kClearFeature = 0x01;
constexpr std::uint8_t kSetInterface = 0x0B;
constexpr int kSetupSize = 8;
constexpr std::uint8_t kRecipientMask = 0x1F;
constexpr std::uint8_t kTypeMask = 0x60;

} // namespace

int Port::Open(TransferMemory& memory, std::shared_ptr<OpenFile>& file) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!m_Present) return ENOENT;
    if (m_Refusals > 0) return --m_Refusals, m_RefusalError;
    const int refusal = m_Model->RefuseOpen();
    if (refusal != 0) return refusal;
    file = std::make_shared<OpenFile>(memory);
    if (file->File() < 0) return EMFILE;
    m_Files.push_back(file.get());
    return 0;
}

void Port::Close(OpenFile& file) {
    const Lock lock = LockAlone();
    m_Claims.ReleaseAll(file);
    m_Files.remove(&file);
}

int Port::CheckConnected(const OpenFile& file) const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return file.IsConnected() ? 0 : ENODEV;
}

int Port::Claim(OpenFile& file, unsigned int interface, bool detachDriver) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!file.IsConnected()) return ENODEV;
    if (!m_Configuration.HasInterface(interface)) return detachDriver ? EINVAL : ENOENT;
    const int refusal = m_Model->RefuseClaim();
    if (refusal != 0) return refusal;
    return detachDriver ? m_Claims.DetachAndClaim(interface, file) : m_Claims.Claim(interface, file);
}

/// The kernel ends what is pending on the interface.
int Port::Release(OpenFile& file, unsigned int interface) {
    const Lock lock = LockAlone();
    if (!file.IsConnected()) return ENODEV;
    const int error = m_Claims.Release(interface, file);
    if (error != 0) return error;
    file.DiscardIf([&](const Urb& urb) {
        return urb.record->type == USBDEVFS_URB_TYPE_BULK &&
               m_Configuration.InterfaceOf(urb.record->endpoint) == interface;
    });
    return 0;
}

int Port::DriverOf(OpenFile& file, unsigned int interface, std::string& driver) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!file.IsConnected()) return ENODEV;
    driver = m_Claims.DriverOf(interface);
    return driver.empty() ? ENODATA : 0;
}

std::string Port::BoundDriver(unsigned int interface) const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Claims.DriverOf(interface);
}

int Port::DetachDriver(OpenFile& file, unsigned int interface) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return file.IsConnected() ? m_Claims.DetachDriver(interface) : ENODEV;
}

int Port::AttachDriver(OpenFile& file, unsigned int interface) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return file.IsConnected() ? m_Claims.AttachDriver(interface) : ENODEV;
}

int Port::SelectSetting(OpenFile& file, unsigned int interface, unsigned int setting) {
    const Lock lock = LockAlone();
    if (!file.IsConnected()) return ENODEV;
    return Request(0x01, kSetInterface, setting, interface) ? 0 : EPIPE;
}

int Port::ClearHalt(OpenFile& file, std::uint8_t endpoint) {
    const Lock lock = LockAlone();
    if (!file.IsConnected()) return ENODEV;
    const int error = CheckEndpoint(file, endpoint);
    if (error != 0) return error;
    return Request(0x02, kClearFeature, 0, endpoint) ? 0 : EPIPE;
}

int Port::Reset(OpenFile& file) {
    const Lock lock = LockAlone();
    if (!file.IsConnected()) return ENODEV;
    file.DiscardIf([](const Urb&) { return true; });
    if (m_Model->Reset()) return 0;
    Unplug();
    Plug();
    return ENODEV;
}

int Port::Submit(OpenFile& file, usbdevfs_urb* record) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!file.IsConnected()) return ENODEV;
    const int wrong = CheckTarget(file, *record);
    if (wrong != 0) return wrong;
    const int refused = file.Submit(record);
    if (refused == 0) Wake();
    return refused;
}

int Port::CheckTarget(OpenFile& file, const usbdevfs_urb& record) {
    if (record.buffer_length < 0) return EINVAL;
    if (record.type == USBDEVFS_URB_TYPE_BULK) return CheckEndpoint(file, record.endpoint);
    if (record.type != USBDEVFS_URB_TYPE_CONTROL || record.buffer_length < kSetupSize) return EINVAL;
    const auto* setup = static_cast<const std::uint8_t*>(record.buffer);
    if (record.buffer_length < kSetupSize + (setup[6] | setup[7] << 8)) return EINVAL;
    if ((setup[0] & kTypeMask) != 0) return 0;
    switch (setup[0] & kRecipientMask) {
    case 1:
        return m_Configuration.HasInterface(setup[4]) ? m_Claims.Claim(setup[4], file) : ENOENT;
    case 2:
        return setup[4] == 0 ? 0 : CheckEndpoint(file, setup[4]);
    default:
        return 0;
    }
}

/// The kernel claims an interface that is used without a claim, if nobody has it.
int Port::CheckEndpoint(OpenFile& file, std::uint8_t endpoint) {
    const auto interface = m_Configuration.InterfaceOf(endpoint);
    return interface ? m_Claims.Claim(*interface, file) : ENOENT;
}

int Port::Discard(OpenFile& file, const usbdevfs_urb* record) {
    Lock lock(m_Lock);
    if (m_Served == record) WaitUntilAlone(lock);
    return file.IsConnected() ? file.Discard(record) : ENODEV;
}

int Port::Reap(OpenFile& file, usbdevfs_urb*& record) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return file.Reap(record);
}

} // namespace usbfs
