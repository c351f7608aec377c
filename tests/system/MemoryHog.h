#pragma once
// Another program that takes most of the kernel's memory for USB transfers.

#include <libusb.h>

#include <deque>
#include <vector>

namespace systemtest {

/// Queues reads of 1 MiB on the camera's event endpoint, where nothing comes, until the kernel refuses one, and gives
/// so many back. Gives all back at the end of its scope. Bound to a thread.
class MemoryHog {
public:
    explicit MemoryHog(unsigned int megabytesLeft);
    ~MemoryHog();
    MemoryHog(const MemoryHog&) = delete;
    MemoryHog& operator=(const MemoryHog&) = delete;

    /// Megabytes that it holds.
    std::size_t Held() const { return m_Reads.size(); }
    /// The kernel's answer to the read that it refused.
    int Refusal() const { return m_Refusal; }

private:
    struct Read {
        std::vector<unsigned char> buffer;
        libusb_transfer* transfer = nullptr;
        int done = 0;
    };

    libusb_context* m_Context = nullptr;
    libusb_device_handle* m_Handle = nullptr;
    std::deque<Read> m_Reads;
    int m_Refusal = 0;

    bool Add();
    void GiveBackLast();
};

} // namespace systemtest
