// One open of a device node.
#include "support/usbfs/OpenFile.h"

#include <linux/usbdevice_fs.h>

#include <algorithm>
#include <cerrno>

namespace usbfs {
namespace {

/// What the kernel needs beside the buffer; the exact figure does not matter, but it is not 0: sixteen transfers of
/// 1 MiB do not fit into 16 MiB.
constexpr std::size_t kOverhead = 256;

std::size_t MemoryOf(const usbdevfs_urb& record) {
    return static_cast<std::size_t>(std::max(record.buffer_length, 0)) + kOverhead;
}

} // namespace

const int OpenFile::kDiscarded = -ENOENT;

OpenFile::~OpenFile() {
    for (const Urb& urb : m_Pending)
        m_Memory.GiveBack(urb.memory);
    for (const Urb& urb : m_Done)
        m_Memory.GiveBack(urb.memory);
}

int OpenFile::Submit(usbdevfs_urb* record) {
    const std::size_t memory = MemoryOf(*record);
    if (!m_Memory.Take(memory)) return ENOMEM;
    m_Pending.push_back({record, memory, 0, false, 0});
    return 0;
}

int OpenFile::Discard(const usbdevfs_urb* record) {
    const auto urb =
        std::find_if(m_Pending.begin(), m_Pending.end(), [&](const Urb& each) { return each.record == record; });
    if (urb == m_Pending.end()) return EINVAL;
    Finish(urb, kDiscarded);
    return 0;
}

std::list<Urb>::iterator OpenFile::Finish(std::list<Urb>::iterator urb, int status) {
    urb->status = status;
    m_Done.push_back(*urb);
    m_Signal.Set(true);
    return m_Pending.erase(urb);
}

int OpenFile::Reap(usbdevfs_urb*& record) {
    if (m_Done.empty()) return m_Connected ? EAGAIN : ENODEV;
    const Urb urb = m_Done.front();
    m_Done.pop_front();
    if (m_Done.empty()) m_Signal.Set(false);
    m_Memory.GiveBack(urb.memory);
    record = urb.record;
    record->status = urb.status;
    record->actual_length = static_cast<int>(urb.moved);
    return 0;
}

void OpenFile::Disconnect() {
    while (!m_Pending.empty())
        Finish(m_Pending.begin(), -ESHUTDOWN);
    m_Connected = false;
    m_Signal.Break();
}

} // namespace usbfs
