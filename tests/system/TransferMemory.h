#pragma once
// What the kernel lends programs for USB transfers.

#include <fstream>
#include <stdexcept>
#include <string>

namespace systemtest {

/// Another limit for as long as its scope; only root may set it. Bound to a thread.
class TransferMemory {
public:
    explicit TransferMemory(unsigned int megabytes) : m_Before(Get()) { Set(std::to_string(megabytes)); }
    ~TransferMemory() { std::ofstream(kPath) << m_Before; }
    TransferMemory(const TransferMemory&) = delete;
    TransferMemory& operator=(const TransferMemory&) = delete;

private:
    static constexpr const char* kPath = "/sys/module/usbcore/parameters/usbfs_memory_mb";
    const std::string m_Before;

    static std::string Get() {
        std::string text;
        std::getline(std::ifstream(kPath), text);
        return text;
    }
    static void Set(const std::string& text) {
        std::ofstream file(kPath);
        file << text << std::flush;
        if (!file) throw std::runtime_error("the kernel's limit of transfer memory cannot be set");
    }
};

} // namespace systemtest
