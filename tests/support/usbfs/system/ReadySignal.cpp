// A file descriptor that poll() sees as a usbfs node.
#include "support/usbfs/system/ReadySignal.h"

#include "support/usbfs/system/RealCalls.h"

#include <fcntl.h>
#include <unistd.h>

namespace usbfs {

ReadySignal::ReadySignal() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;
    m_ReadEnd = ends[0];
    m_WriteEnd = ends[1];
    ::fcntl(m_WriteEnd, F_SETPIPE_SZ, 4096);
    Set(false);
}

ReadySignal::~ReadySignal() {
    Break();
}

void ReadySignal::Set(bool ready) {
    if (m_ReadEnd < 0 || ready != m_Full) return;
    char byte = 0;
    if (ready ? ::read(m_ReadEnd, &byte, 1) == 1 : ::write(m_WriteEnd, &byte, 1) == 1) m_Full = !ready;
}

void ReadySignal::Break() {
    if (m_ReadEnd >= 0) real::Close(m_ReadEnd);
    m_ReadEnd = -1;
}

} // namespace usbfs
