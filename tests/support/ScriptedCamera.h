#pragma once
// A bus with one camera that does what a test tells it, byte by byte.

#include "support/ScriptedBytes.h"
#include "usb/Backend.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace scripted {

constexpr std::uint8_t kControlOut = 0x01;
constexpr std::uint8_t kControlIn = 0x85;
constexpr std::uint8_t kEventIn = 0x82;
constexpr std::uint8_t kStreamIn = 0x83;
constexpr std::size_t kPacket = 1024;

// Where the camera has its registers.
constexpr std::uint64_t kSbrm = 0x10000;
constexpr std::uint64_t kSirm = 0x20000;
constexpr std::uint64_t kEirm = 0x30000;
constexpr std::uint64_t kManifest = 0x40000;
constexpr std::uint64_t kFile = 0x50000;

/// Transfers of a handle that have ended but not been completed. Bound to the camera's lock.
struct ReadyTransfers {
    std::deque<usb::Transfer*> ready;
};

/// The camera's side. Thread-safe.
class Camera {
public:
    /// Answers instead of the camera when it returns something: the packets to send, perhaps none. Called under the
    /// camera's lock.
    using Intercept = std::function<std::optional<std::vector<Bytes>>(const Command&)>;

    Camera();

    void Set(std::uint64_t address, const Bytes& bytes);
    void Set32(std::uint64_t address, std::uint32_t value);
    void Set64(std::uint64_t address, std::uint64_t value);
    std::uint32_t Get32(std::uint64_t address) const;
    /// All that it holds, to be given back to it.
    using Memory = std::map<std::uint64_t, std::uint8_t>;
    Memory Remember() const;
    void Restore(const Memory& memory);
    void OnCommand(Intercept intercept);
    std::vector<Command> Commands() const;
    /// Values written to a register, in order.
    std::vector<std::uint32_t> WritesTo(std::uint64_t address) const;
    std::vector<std::size_t> ControlInSizes() const;
    /// Time limits of the reads of acknowledges, in milliseconds.
    std::vector<unsigned int> ControlInTimeouts() const;
    unsigned int HaltsCleared(std::uint8_t endpoint) const;
    /// Halts that the host set, of all endpoints.
    unsigned int HaltsSet() const;
    std::set<int> Claimed() const;
    int OpenHandles() const;
    unsigned int Resets() const;
    std::vector<int> SelectedConfigurations() const;
    std::size_t MappedBytes() const;
    /// What the memory that was mapped last is laid together from.
    std::size_t MappedPiece() const;

    // Faults.
    void RefuseOpen(usb::Result result);
    void RefuseClaim(usb::Result result);
    void RefuseConfiguration(usb::Result result);
    void HideStrings();
    /// Changes how the device is listed: descriptors, speed, configurations.
    void Describe(std::function<void(usb::DeviceEntry&)> change);
    void SetString(int index, const std::string& text);
    /// What a reset of the port does, under no lock; Ok without one.
    void OnReset(std::function<usb::Result()> handler);
    /// Told how long a read of an acknowledge that does not come was to wait, instead of waiting.
    void OnWaiting(std::function<void(unsigned int)> handler);
    /// Memory that the system maps for transfers; none at first.
    void AllowMapping(std::size_t bytes);
    void FailNextOut(usb::Result result);
    /// Of the next command so much is said to have been sent; none of it arrives.
    void CutNextOut(std::size_t sent, usb::Result result);
    void FailNextIn(usb::Result result);
    void RefuseClearing(usb::Result result);
    void AllowTransfers(std::size_t count); ///< more at once give NoMemory
    void Unplug(bool announce);
    /// The bus says that the camera has left.
    void AnnounceRemoval();
    /// The same, and it does not deny it when it is asked; but its transfers go on until it is unplugged.
    void BeginUnplug();
    /// What happens while it is asked whether the camera that was opened is still there, under no lock.
    void OnAttachedQuestion(std::function<void()> handler);
    /// How often it was asked whether the camera that was opened is still there.
    unsigned int AskedWhetherAttached() const { return m_AskedWhetherAttached; }
    void Replug();

    // Bulk data to the host. A transfer ends short unless it is a multiple of the packet size; {} is an empty packet.
    void Send(std::uint8_t endpoint, const std::vector<Bytes>& transfers);
    /// Drops what no transfer has taken, as a camera does that is switched off.
    void DropUnsent(std::uint8_t endpoint);
    /// Ends the oldest queued transfer of the endpoint with a failure.
    void Fail(std::uint8_t endpoint, usb::TransferStatus status);
    /// Ends all queued transfers of the endpoint with a failure.
    void FailAll(std::uint8_t endpoint, usb::TransferStatus status);
    std::size_t Queued(std::uint8_t endpoint) const;
    std::vector<std::size_t> QueuedLengths(std::uint8_t endpoint) const;
    std::vector<const std::uint8_t*> QueuedBuffers(std::uint8_t endpoint) const;
    /// Until a condition on this camera holds; false after some seconds.
    bool WaitFor(const std::function<bool()>& condition) const;

    usb::ControlSetup LastControl() const;
    Bytes controlAnswer; ///< data stage of device-to-host requests; set before use

private:
    friend class ScriptedHandle;
    friend class ScriptedBackend;
    struct Pipe {
        std::deque<Bytes> data; ///< consumed from the front
        std::size_t consumed = 0;
        std::deque<std::pair<usb::Transfer*, ReadyTransfers*>> queue;
    };

    void Execute(const Command& command);
    void Match(std::uint8_t endpoint);
    void Finish(std::uint8_t endpoint, std::size_t index, usb::TransferStatus status);
    std::size_t QueuedInAll() const;

    mutable std::mutex m_Mutex;
    mutable std::condition_variable m_Changed;
    Memory m_Memory;
    Intercept m_Intercept;
    std::vector<Command> m_Commands;
    std::deque<Bytes> m_Answers;
    std::vector<std::size_t> m_InSizes;
    std::vector<unsigned int> m_InTimeouts;
    std::function<void(usb::DeviceEntry&)> m_Describe;
    std::map<int, std::string> m_Strings;
    std::function<usb::Result()> m_OnReset;
    std::function<void(unsigned int)> m_OnWaiting;
    std::function<void()> m_OnAttachedQuestion;
    unsigned int m_Resets = 0;
    std::vector<int> m_Selected;
    std::size_t m_Mappable = 0, m_Piece = 0;
    std::map<std::uint8_t*, Bytes> m_Mapped;
    std::map<int, unsigned int> m_HaltsCleared;
    unsigned int m_HaltsSet = 0;
    std::set<int> m_Claimed;
    std::map<std::uint8_t, Pipe> m_Pipes;
    int m_Handles = 0;
    bool m_HasStrings = true;
    std::atomic<unsigned int> m_AskedWhetherAttached{0};
    unsigned int m_Departures = 0;
    bool m_Gone = false;
    usb::Result m_OpenResult = usb::Result::Ok;
    usb::Result m_ClaimResult = usb::Result::Ok;
    usb::Result m_ClearResult = usb::Result::Ok;
    usb::Result m_SelectResult = usb::Result::Ok;
    usb::Result m_NextOut = usb::Result::Ok;
    std::optional<std::size_t> m_NextSent; ///< of a command that does not arrive
    usb::Result m_NextIn = usb::Result::Ok;
    std::size_t m_TransferLimit = SIZE_MAX;
    usb::ControlSetup m_LastControl;
    std::map<std::uint64_t, usb::HotplugHandler> m_Hotplug;
    std::uint64_t m_LastHotplug = 0;
};

} // namespace scripted
