#pragma once
// The memory that all transfers of usbfs together may use.

#include <atomic>
#include <cstddef>

namespace usbfs {

/// The kernel's usbfs_memory_mb and how much of it is in use. Thread-safe.
class TransferMemory {
public:
    /// 0: no limit, as in the kernel.
    void SetLimit(unsigned int megabytes) { m_Megabytes = megabytes; }
    unsigned int Limit() const { return m_Megabytes; }
    std::size_t Used() const { return m_Used; }

    /// False when it would exceed the limit; nothing is taken then.
    bool Take(std::size_t bytes) {
        const std::size_t limit = static_cast<std::size_t>(m_Megabytes) << 20;
        std::size_t used = m_Used;
        do {
            if (limit != 0 && used + bytes > limit) return false;
        } while (!m_Used.compare_exchange_weak(used, used + bytes));
        return true;
    }
    void GiveBack(std::size_t bytes) { m_Used -= bytes; }

private:
    std::atomic<unsigned int> m_Megabytes{0};
    std::atomic<std::size_t> m_Used{0};
};

} // namespace usbfs
