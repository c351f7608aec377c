#pragma once
// The border to the outside world: what this project asks of a USB bus. libusb is one implementation, the
// virtual camera another, the null backend a third.
//
// Rules for implementers and callers alike:
//  - Nothing here throws. Every operation answers with a Result; whatever a Result other than Ok leaves in an
//    out-parameter is unspecified unless stated.
//  - A Handle may be used from several threads at once: synchronous calls from any thread, completions from the
//    one thread that runs HandleEvents.
//  - Transfers on one endpoint complete in the order of their submission.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace usb {

enum class Result : int {
    Ok = 0,
    Io,
    InvalidParam,
    Access,
    NoDevice,
    NotFound,
    Busy,
    Timeout,
    Overflow,
    Pipe,
    Interrupted,
    NoMemory,
    NotSupported,
    TooManyFiles,
    Other
};

enum class TransferStatus : int { Completed = 0, Error, TimedOut, Cancelled, Stall, NoDevice, Overflow };

/// Link speed, in the order of rate.
enum class Speed : std::uint8_t { Unknown = 0, Low, Full, High, Super, SuperPlus };

/// What is known of a device on the bus without opening it. Descriptors are raw bytes as the device sent them;
/// nothing in them has been checked.
struct DeviceEntry {
    std::string id;                   ///< key for Backend::Open; unique among all attached devices of a backend
    std::uint8_t bus = 0;             ///< bus number
    std::uint8_t address = 0;         ///< device address on that bus
    std::vector<std::uint8_t> ports;  ///< port path from the root hub
    Speed speed = Speed::Unknown;     ///< speed of the link as negotiated
    int activeConfiguration = 0;      ///< bConfigurationValue; 0 when unconfigured or unknown
    std::vector<std::uint8_t> device; ///< device descriptor (18 bytes when well formed)
    std::vector<std::vector<std::uint8_t>> configurations; ///< each whole configuration descriptor set
};

/// In a request type or an endpoint address: from the device to the host.
constexpr std::uint8_t kDirectionIn = 0x80;

/// Setup stage of a control transfer.
struct ControlSetup {
    std::uint8_t requestType = 0;
    std::uint8_t request = 0;
    std::uint16_t value = 0;
    std::uint16_t index = 0;
    std::uint16_t length = 0;
};

/// One asynchronous bulk transfer. The owner keeps it and its buffer alive from Submit until its completion ran.
/// The backend fills status and actualLength before it calls `completed`.
/// Bound to a thread while idle; the backend owns it between Submit and completion.
struct Transfer {
    std::uint8_t endpoint = 0;      ///< endpoint address, direction bit included
    std::uint8_t* buffer = nullptr; ///< borrowed
    std::size_t length = 0;         ///< bytes asked for (IN) or to send (OUT)
    std::size_t actualLength = 0;   ///< bytes moved; may be > 0 for any status
    TransferStatus status = TransferStatus::Completed;
    void (*completed)(Transfer&) = nullptr; ///< runs in HandleEvents; must not call synchronous operations
    void* context = nullptr;                ///< for the owner
    void* backendData = nullptr;            ///< for the backend; null before the first Submit, see Handle::Forget
};

/// An opened device. Closed by its destructor: no transfer may be in flight then (the libusb handle cancels what is
/// left and runs its completion), every transfer must have been forgotten, and memory of AllocateMemory given back. A
/// time limit of 0 ms means no limit, except for HandleEvents. Thread-safe.
class Handle {
public:
    Handle() = default;
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    virtual ~Handle() = default;

    /// Claims an interface of the active configuration (Busy when another handle or process holds it); a kernel driver
    /// bound to it is detached where the system allows.
    [[nodiscard]] virtual Result Claim(std::uint8_t interfaceNumber) = 0;
    virtual Result Release(std::uint8_t interfaceNumber) = 0;

    /// Makes a configuration the active one, by its bConfigurationValue; does nothing when it is. Nothing may be
    /// claimed: Busy when another handle or process has a claim.
    [[nodiscard]] virtual Result SelectConfiguration(std::uint8_t) { return Result::NotSupported; }

    /// Synchronous control transfer on endpoint 0. `data` has setup.length bytes; `actual` is the data stage's length.
    /// At most 4096 bytes.
    [[nodiscard]] virtual Result Control(const ControlSetup& setup, std::uint8_t* data, std::size_t& actual,
                                         unsigned int timeoutMs) = 0;
    /// Synchronous bulk transfer; the direction is the endpoint's. On Timeout `actual` may be > 0.
    [[nodiscard]] virtual Result Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length,
                                      std::size_t& actual, unsigned int timeoutMs) = 0;

    /// Queues an asynchronous bulk transfer without time limit. NoMemory when the system refuses more of them now.
    /// With any answer but Ok the transfer is idle and its completion does not run.
    [[nodiscard]] virtual Result Submit(Transfer& transfer) = 0;
    /// Asks for the end of a queued transfer; its completion still runs (Cancelled, or what was faster), whatever this
    /// answers. NotFound when it has already completed or is being cancelled, NoDevice when the device is gone.
    virtual Result Cancel(Transfer& transfer) = 0;
    /// Gives back what the backend keeps in transfer.backendData. Only for an idle transfer; callable in its
    /// completion. Also needed before the transfer is submitted to a handle of another backend.
    virtual void Forget(Transfer& transfer) = 0;

    /// Runs completions of this handle's transfers on the calling thread; returns Ok when at least one has run, after
    /// timeoutMs (0: without waiting), or after WakeEvents. Completions never run elsewhere, even if other threads make
    /// synchronous calls meanwhile. One thread at a time.
    virtual Result HandleEvents(unsigned int timeoutMs) = 0;
    /// Makes a running or the next HandleEvents return. Callable from any thread, also in a completion.
    virtual void WakeEvents() = 0;

    /// Clears the halt of an endpoint on both sides. Nothing may be queued on it.
    [[nodiscard]] virtual Result ClearHalt(std::uint8_t endpoint) = 0;
    /// True when the device that was opened is certainly still attached: a notice that a device of its id has left was
    /// of another one then, which was on the same port before. No traffic on the bus.
    virtual bool IsAttached() { return false; }
    /// Resets the port. NotFound or NoDevice: the device came back as another one, the handle is dead.
    [[nodiscard]] virtual Result Reset() = 0;
    /// Reads a string descriptor as ASCII (other characters become '?'); empty when index is 0 or unreadable.
    virtual std::string ReadString(std::uint8_t index) = 0;

    /// Contiguous memory that the kernel maps for transfers without a copy; null where there is none (use ordinary
    /// memory then). It may be laid together from pieces of `piece` bytes, a multiple of 64 KiB, across whose borders
    /// no transfer may reach.
    virtual std::uint8_t* AllocateMemory(std::size_t /*size*/, std::size_t /*piece*/) { return nullptr; }
    virtual void FreeMemory(std::uint8_t*, std::size_t) {}
};

enum class HotplugEvent : int { Arrived = 0, Left };

/// Receives arrivals and removals. Called on a thread of the backend that holds no lock of the backend; must return
/// soon and do no I/O on the bus. `id` is DeviceEntry::id.
using HotplugHandler = std::function<void(HotplugEvent event, const std::string& id)>;

/// A bus. Thread-safe. Handles must be closed before their backend is destroyed.
class Backend {
public:
    Backend() = default;
    Backend(const Backend&) = delete;
    Backend& operator=(const Backend&) = delete;
    virtual ~Backend() = default;

    /// Short name for messages ("libusb", "virtual").
    virtual const char* Name() const = 0;
    /// Appends all devices of the bus, whatever they are, in a stable order; opens none of them.
    [[nodiscard]] virtual Result Enumerate(std::vector<DeviceEntry>& devices) = 0;
    /// Opens a device by DeviceEntry::id. Access when not permitted, NotFound when it is not attached.
    [[nodiscard]] virtual Result Open(const std::string& id, std::unique_ptr<Handle>& handle) = 0;
    /// True for a moment after a device was attached, while the system may still be making its node and giving it to
    /// its users: Access and NoDevice are then perhaps not the last word. False when it is not attached.
    virtual bool IsArriving(const std::string& /*id*/) const { return false; }
    /// Registers a handler; 0 when the backend has no hotplug, or neither thread nor memory for it now. Deregister
    /// returns after a running call has ended, except when called from within the handler.
    virtual std::uint64_t RegisterHotplug(HotplugHandler handler) = 0;
    virtual void DeregisterHotplug(std::uint64_t registration) = 0;
    /// Bytes that all queued transfers together may use, 0 for no known limit (usbfs: usbfs_memory_mb).
    virtual std::size_t TransferMemoryLimit() const { return 0; }
};

/// Text of a result, for messages. Never null.
const char* ToText(Result result);
const char* ToText(TransferStatus status);

/// Name of the C function that a loadable backend exports:
/// `usb::Backend* UsbCreateBackend(const char* settings, std::string& reason)`.
/// It returns null when the settings are not understood and says why in `reason`; it prints nothing. For want of a
/// thread it throws std::system_error. The caller deletes the backend before it unloads the library.
inline constexpr const char* kCreateBackendSymbol = "UsbCreateBackend";
using CreateBackendFunction = Backend* (*)(const char* settings, std::string& reason);

} // namespace usb
