#pragma once
// Transfers of a host outside this process, between its session and the device.

#include <cstdint>
#include <deque>
#include <map>
#include <optional>

#include "virtualcam/device/Device.h"

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

/// The session that transfers come from and go back to. Called by RemoteTransfers, which it must not call back.
class RemoteHost {
public:
    /// The device has ended a transfer.
    virtual void Finished(const RemoteTransfer& transfer, const RemoteOutcome& outcome) = 0;
    /// Whether one more outcome can be taken now; ServeAll when it can again.
    virtual bool HasRoom() = 0;

protected:
    ~RemoteHost() = default;
};

/// What is queued on the endpoints, first come first served on each. A length that the host states costs nothing before
/// bytes come, and all bytes held together stay within a budget: a transfer that would go beyond it ends with NoMemory.
/// Bound to a thread.
class RemoteTransfers {
public:
    RemoteTransfers(Device& device, RemoteHost& host, std::size_t budget)
        : m_Device(device), m_Host(host), m_Budget(budget) {}

    void Submit(RemoteTransfer transfer);
    /// Takes a transfer back, without a call to Finished; the bytes that had come for it are lost, as on a real bus.
    /// Nothing when there is none of this number.
    std::optional<RemoteTransfer> Cancel(std::uint64_t number);
    /// Serves an endpoint as far as the device and the host go.
    void Serve(std::uint8_t endpoint);
    void ServeAll();
    void Clear() { m_Queues.clear(); }
    std::size_t Count() const;
    /// Bytes that are held for transfers now.
    std::size_t Held() const;
    /// Whether so many bytes more would be within the budget; lets go of what is held for later if they are not.
    bool HasRoomFor(std::size_t bytes);

private:
    struct Queue {
        std::deque<RemoteTransfer> waiting;
        Bytes buffer;         // of the oldest, IN; kept for the next one
        std::size_t done = 0; // bytes of it
    };

    Device& m_Device;
    RemoteHost& m_Host;
    const std::size_t m_Budget;
    std::map<std::uint8_t, Queue> m_Queues;

    bool ServeQueue(Queue& queue);
    bool ServeOldest(Queue& queue);
    PipeAnswer Move(Queue& queue);
    PipeAnswer MoveIn(Queue& queue);
    bool Grow(Queue& queue, std::size_t most);
};

/// A transfer on endpoint 0. `data` holds what comes OUT; afterwards, what goes IN.
PipeAnswer RemoteControl(Device& device, const usb::ControlSetup& setup, Bytes& data);

} // namespace virtualcam
