#pragma once
// The least that a host can do: one thread that hands transfers to libusb and takes them back.

#include "BenchCamera.h"

#include <cstdint>
#include <vector>

#include <libusb.h>

namespace bench {

/// Streams from a camera that our library has open for its registers. It looks at nothing that comes: each transfer is
/// submitted again as soon as it is complete. Bound to a thread.
class RawHost {
public:
    /// Transfers of leader, payload and trailer for eight images are queued.
    explicit RawHost(BenchCamera& camera);
    ~RawHost();
    RawHost(const RawHost&) = delete;
    RawHost& operator=(const RawHost&) = delete;

    /// Takes so many images.
    void Frames(unsigned int count);

private:
    static void Completed(libusb_transfer* transfer);
    void OpenStream();
    void Program(std::uint32_t payload);
    void AddTransfer(std::uint32_t size, bool isTrailer);
    void Write(std::uint64_t offset, std::uint32_t value);
    std::uint64_t Read(std::uint64_t address, std::size_t size);

    BenchCamera& m_Camera;
    libusb_context* m_Context = nullptr;
    libusb_device_handle* m_Handle = nullptr;
    int m_Interface = -1;
    unsigned char m_Endpoint = 0;
    std::uint64_t m_Registers = 0;
    std::vector<std::vector<std::uint8_t>> m_Memory;
    std::vector<libusb_transfer*> m_Transfers;
    unsigned int m_Images = 0;
    unsigned int m_InFlight = 0;
    bool m_IsEnding = false;
};

} // namespace bench
