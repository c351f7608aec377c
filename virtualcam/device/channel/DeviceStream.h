#pragma once
// One stream of a camera on its way to its endpoint.

#include "core/Mutex.h"
#include "virtualcam/device/ScriptedFaults.h"
#include "virtualcam/device/channel/StreamChannel.h"
#include "virtualcam/device/channel/StreamMeter.h"

namespace virtualcam {

/// The channel and its meter under a lock of their own: images are drawn under it alone, so that commands are answered
/// meanwhile. Thread-safe.
class DeviceStream {
public:
    DeviceStream(unsigned index, std::size_t packetSize) : m_Index(index), m_Channel(packetSize, index) {}
    DeviceStream(const DeviceStream&) = delete;
    DeviceStream& operator=(const DeviceStream&) = delete;

    unsigned Index() const { return m_Index; }
    void SetFaults(const ScriptedFaults& faults);
    /// As StreamChannel's.
    void SetExtraPayload(std::uint32_t bytes);
    void Start(const StreamLayout& layout, std::uint32_t largestTransfer);
    void Stop();

    struct Taken {
        PipeAnswer answer; ///< as of StreamChannel::Take
        bool wantsFrame;   ///< nothing more comes before Begin
    };
    Taken Take(std::uint8_t* buffer, std::size_t room);
    /// False when no frame is wanted any more.
    bool Begin(const Frame& frame);
    Bytes Figures() const;

private:
    const unsigned m_Index;
    mutable Tavix::Mutex m_Lock;
    StreamChannel m_Channel TAVIX_GUARDED_BY(m_Lock);
    StreamMeter m_Meter TAVIX_GUARDED_BY(m_Lock);
};

} // namespace virtualcam
