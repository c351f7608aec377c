#pragma once
// Transfers of a host outside this process, between its session and the device.

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>

#include "virtualcam/Device.h"

namespace virtualcam {

/// A transfer on a bulk endpoint. Its number is the host's and means nothing here.
struct RemoteTransfer {
    std::uint64_t number = 0;
    std::uint8_t endpoint = 0; ///< with the direction bit
    std::size_t length = 0;    ///< bytes asked for, IN
    Bytes data;                ///< bytes to take, OUT
};

/// How one ended.
struct RemoteOutcome {
    PipeStatus status = PipeStatus::Complete;
    const std::uint8_t* data = nullptr; ///< what came IN; until the call returns
    std::size_t bytes = 0;              ///< that were moved
};

/// What is queued on the endpoints, first come first served on each. Bound to a thread.
class RemoteTransfers {
public:
    /// Called for each transfer that the device has ended; must not call back.
    using Finished = std::function<void(const RemoteTransfer& transfer, const RemoteOutcome& outcome)>;

    RemoteTransfers(Device& device, Finished finished) : m_Device(device), m_Finished(std::move(finished)) {}

    void Submit(RemoteTransfer transfer);
    /// Takes a transfer back, without a call to Finished; the bytes that had come for it are lost, as on a real bus.
    /// Nothing when there is none of this number.
    std::optional<RemoteTransfer> Cancel(std::uint64_t number);
    /// Serves an endpoint as far as the device goes.
    void Serve(std::uint8_t endpoint);
    void Clear() { m_Queues.clear(); }
    std::size_t Count() const;

private:
    struct Queue {
        std::deque<RemoteTransfer> waiting;
        Bytes buffer;         // of the oldest, IN
        std::size_t done = 0; // bytes of it
    };

    Device& m_Device;
    const Finished m_Finished;
    std::map<std::uint8_t, Queue> m_Queues;

    bool ServeAll(Queue& queue);
    bool ServeOldest(Queue& queue);
    PipeAnswer Move(Queue& queue);
};

/// A transfer on endpoint 0. `data` holds what comes OUT; afterwards, what goes IN.
PipeAnswer RemoteControl(Device& device, const usb::ControlSetup& setup, Bytes& data);

} // namespace virtualcam
