#pragma once
// An endpoint that plays packets into queued transfers the way USB does, and faults where the script wants them.

#include "usb/Backend.h"

#include <climits>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace streamtest {

using Bytes = std::vector<std::uint8_t>;

/// Packets fill the oldest queued transfer; it ends when it is full or a short packet came. What nobody has queued a
/// transfer for waits in the camera. Completions run in HandleEvents only. Thread-safe.
class PacketBus final : public usb::Handle {
public:
    explicit PacketBus(std::size_t packetSize = 1024) : m_PacketSize(packetSize) {}

    // The camera's side.
    /// Cut into packets; the last one is short unless `bytes` is a multiple of the packet size. Empty bytes are one
    /// empty packet.
    void Send(const Bytes& bytes);
    void Send(const std::vector<Bytes>& transfers);
    /// Ends the transfer that receives when the script comes to it. Stall halts the endpoint until the halt is cleared;
    /// with NoDevice all transfers end and nothing works any more.
    void Fail(usb::TransferStatus status);
    /// Drops what has not been sent, as a camera does that is switched off.
    void DropUnsent();
    /// At once, as if the cable were pulled.
    void Unplug();
    /// The receiving transfer fails as of a bad link before the removal is known.
    void FailAndUnplug(usb::TransferStatus status);
    bool IsGone() const;

    // Faults of the system.
    /// More at once are refused, with NoMemory if nothing else is said.
    void AllowTransfers(std::size_t count, usb::Result refusal = usb::Result::NoMemory);
    void AllowBytes(std::size_t bytes);                        ///< the same for what all of them take together
    void RefuseSubmits(usb::Result result, unsigned int each); ///< each n-th
    void FailEvents(usb::Result result);                       ///< HandleEvents answers this at once; Ok ends it
    void RefuseClearHalt(usb::Result result);
    void RefuseSubmit(usb::Result result); ///< the next one

    /// Called once, at the next transfer that the host cancels, with no lock held.
    void OnCancel(std::function<void()> handler);

    // What the host did.
    std::size_t Queued() const;
    std::size_t Ended() const; ///< transfers whose completion has not run yet
    unsigned int HaltsSet() const;
    std::vector<usb::Transfer> QueuedTransfers() const;
    std::size_t MostQueued() const;
    std::size_t Unsent() const; ///< packets and faults of the script that are still to come
    unsigned int EventCalls() const;
    unsigned int Wakes() const;
    /// Of all waits for events, in milliseconds.
    unsigned int ShortestWait() const;
    /// Transfers that came after the camera had gone.
    unsigned int Refused() const;
    unsigned int HaltsCleared() const;
    /// Offences against the border's rules; empty is good.
    std::vector<std::string> Offences() const;
    /// False when the condition does not hold after some seconds.
    bool WaitFor(const std::function<bool()>& condition) const;

    /// Handles that are open on this bus besides itself, and claims.
    int Handles() const;
    void CountHandles(int change);
    int Claims() const;
    void RefuseClaim(usb::Result result);

    [[nodiscard]] usb::Result Claim(std::uint8_t number) override;
    usb::Result Release(std::uint8_t number) override;
    [[nodiscard]] usb::Result Control(const usb::ControlSetup& setup, std::uint8_t*, std::size_t&,
                                      unsigned int) override;
    [[nodiscard]] usb::Result Bulk(std::uint8_t, std::uint8_t*, std::size_t, std::size_t&, unsigned int) override {
        return usb::Result::NotSupported;
    }
    [[nodiscard]] usb::Result Submit(usb::Transfer& transfer) override;
    usb::Result Cancel(usb::Transfer& transfer) override;
    void Forget(usb::Transfer& transfer) override;
    usb::Result HandleEvents(unsigned int timeoutMs) override;
    void WakeEvents() override;
    [[nodiscard]] usb::Result ClearHalt(std::uint8_t endpoint) override;
    [[nodiscard]] usb::Result Reset() override { return usb::Result::NotSupported; }
    std::string ReadString(std::uint8_t) override { return {}; }

private:
    struct Step {
        Bytes packet;
        usb::TransferStatus fault = usb::TransferStatus::Completed;
    };

    void Append(const Bytes& bytes);
    void Play();
    void PlayPacket(const Bytes& packet);
    void End(std::size_t index, usb::TransferStatus status);
    void UnplugLocked();
    bool IsBusy(const usb::Transfer& transfer) const;
    usb::Result Refusal(const usb::Transfer& transfer);

    const std::size_t m_PacketSize;
    mutable std::mutex m_Mutex;
    mutable std::condition_variable m_Changed;
    std::deque<Step> m_Script;
    std::deque<usb::Transfer*> m_Queue;
    std::deque<usb::Transfer*> m_Ended;
    std::vector<std::string> m_Offences;
    std::size_t m_Limit = SIZE_MAX;
    std::size_t m_ByteLimit = SIZE_MAX;
    usb::Result m_Refusal = usb::Result::NoMemory;
    usb::Result m_EachRefusal = usb::Result::Ok;
    unsigned int m_Each = 0;
    unsigned int m_Submits = 0;
    std::size_t m_MostQueued = 0;
    std::function<void()> m_OnCancel;
    unsigned int m_EventCalls = 0;
    unsigned int m_Wakes = 0;
    unsigned int m_ShortestWait = UINT_MAX;
    unsigned int m_Refused = 0;
    unsigned int m_HaltsCleared = 0;
    unsigned int m_HaltsSet = 0;
    usb::Result m_Events = usb::Result::Ok;
    usb::Result m_ClearHalt = usb::Result::Ok;
    usb::Result m_NextSubmit = usb::Result::Ok;
    usb::Result m_Claim = usb::Result::Ok;
    int m_Handles = 0;
    int m_Claims = 0;
    bool m_Halted = false;
    bool m_Gone = false;
    bool m_Wake = false;
};

} // namespace streamtest
