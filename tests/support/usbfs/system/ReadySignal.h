#pragma once
// A file descriptor that poll() sees as a usbfs node.

namespace usbfs {

/// The write end of a pipe of one page, because it can show all that usbfs shows:
///
///     one byte in it  full, no POLLOUT   nothing to reap
///     empty           POLLOUT            something to reap
///     read end closed POLLERR            the device is gone
///
/// Bound to a thread; its owner locks.
class ReadySignal {
public:
    ReadySignal();
    ~ReadySignal();
    ReadySignal(const ReadySignal&) = delete;
    ReadySignal& operator=(const ReadySignal&) = delete;

    /// What poll() is to be given; -1 when the system had none. Whoever uses it closes it.
    int File() const { return m_WriteEnd; }
    void Set(bool ready);
    /// For ever; Set has no effect any more.
    void Break();

private:
    int m_ReadEnd = -1;  ///< owned
    int m_WriteEnd = -1; ///< borrowed: the program's own close() ends it
    bool m_Full = false;
};

} // namespace usbfs
