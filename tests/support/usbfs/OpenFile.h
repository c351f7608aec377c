#pragma once
// One open of a device node, with the transfers that were submitted through it.

#include "support/usbfs/TransferMemory.h"
#include "support/usbfs/system/ReadySignal.h"

#include <cstddef>
#include <deque>
#include <iterator>
#include <list>

struct usbdevfs_urb;

namespace usbfs {

/// A transfer on its way. The program's record is written to when it is reaped, not before.
struct Urb {
    usbdevfs_urb* record = nullptr; ///< borrowed from the program
    std::size_t memory = 0;         ///< taken from the transfers' memory
    std::size_t moved = 0;
    bool begun = false;
    int status = 0; ///< 0 or a negative errno, as the program will see it
};

/// Queues of one open file. All of it is guarded by the lock of the port; answers are 0 or an errno.
class OpenFile {
public:
    explicit OpenFile(TransferMemory& memory) : m_Memory(memory) {}
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int File() const { return m_Signal.File(); }
    bool IsConnected() const { return m_Connected; }
    std::list<Urb>& Pending() { return m_Pending; }

    /// ENOMEM when the transfers' memory is used up.
    int Submit(usbdevfs_urb* record);
    /// EINVAL when it is not pending.
    int Discard(const usbdevfs_urb* record);
    /// Discards what is pending on an endpoint for which `matches` holds.
    template<class Matches>
    void DiscardIf(Matches matches) {
        for (auto urb = m_Pending.begin(); urb != m_Pending.end();)
            urb = matches(*urb) ? Finish(urb, kDiscarded) : std::next(urb);
    }
    /// Moves a pending one to those that can be reaped; returns the one behind it.
    std::list<Urb>::iterator Finish(std::list<Urb>::iterator urb, int status);
    /// EAGAIN when there is none, ENODEV when there will be none any more.
    int Reap(usbdevfs_urb*& record);
    /// The device is gone: everything pending ends.
    void Disconnect();

private:
    static const int kDiscarded;

    TransferMemory& m_Memory;
    ReadySignal m_Signal;
    bool m_Connected = true;
    std::list<Urb> m_Pending; ///< its elements stay in place
    std::deque<Urb> m_Done;
};

} // namespace usbfs
