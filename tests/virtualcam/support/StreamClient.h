#pragma once
// A host's stream in a few lines, for tests of the device model.

#include <vector>

#include "virtualcam/support/DeviceClient.h"

namespace virtualcam::test {

/// One block as its transfers came.
struct Block {
    std::vector<Bytes> transfers; ///< leader, payload transfers, trailer
    std::vector<PipeStatus> statuses;

    const Bytes& Leader() const { return transfers.front(); }
    const Bytes& Trailer() const { return transfers.back(); }
    Bytes Payload() const {
        Bytes all;
        for (std::size_t i = 1; i + 1 < transfers.size(); ++i)
            all.insert(all.end(), transfers[i].begin(), transfers[i].end());
        return all;
    }
    std::uint64_t Id() const { return Load<std::uint64_t>(Leader().data() + 8); }
    std::uint64_t TrailerId() const { return Load<std::uint64_t>(Trailer().data() + 8); }
    std::uint16_t Status() const { return Load<std::uint16_t>(Trailer().data() + 16); }
    std::uint64_t ValidBytes() const { return Load<std::uint64_t>(Trailer().data() + 20); }
    std::uint64_t Timestamp() const { return Load<std::uint64_t>(Leader().data() + 20); }
};

/// Programs a stream and reads its transfers. Bound to a thread.
class StreamClient {
public:
    /// The stream's registers are at `base`.
    explicit StreamClient(DeviceClient& control, std::uint64_t base = 0x20000, std::uint8_t endpoint = 0x83)
        : m_Client(control), m_Base(base), m_Endpoint(endpoint) {}

    std::vector<std::uint32_t> sizes{}; ///< programmed size of each transfer of a block

    /// Programs S, C, F1, F2 and sets stream enable; the status of that write.
    std::uint16_t Start(std::uint32_t size, std::uint32_t count, std::uint32_t final1 = 0, std::uint32_t final2 = 0) {
        const std::uint32_t values[] = {1024, size, count, final1, final2, 1024};
        for (std::size_t i = 0; i < 6; ++i)
            m_Client.Write32(m_Base + 0x18 + 4 * i, values[i]);
        sizes.assign(1, 1024);
        if (size != 0) sizes.insert(sizes.end(), count, size);
        if (final1 != 0) sizes.push_back(final1);
        if (final2 != 0) sizes.push_back(final2);
        sizes.push_back(1024);
        return m_Client.Write32(m_Base + 0x04, 1);
    }
    void Stop() { m_Client.Write32(m_Base + 0x04, 0); }
    void StartAcquisition() { m_Client.Write32(0x102004, 1); }
    void StopAcquisition() { m_Client.Write32(0x102008, 1); }
    /// Reads `count` transfers of the programmed sizes from the start of a block.
    Block Read(std::size_t count) {
        Block block;
        for (std::size_t i = 0; i < count; ++i) {
            block.transfers.emplace_back();
            block.statuses.push_back(m_Client.Receive(m_Endpoint, sizes[i % sizes.size()], block.transfers.back()));
        }
        return block;
    }
    Block Read() { return Read(sizes.size()); }

private:
    DeviceClient& m_Client;
    const std::uint64_t m_Base;
    const std::uint8_t m_Endpoint;
};

} // namespace virtualcam::test
