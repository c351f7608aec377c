#pragma once
// Failures of the system itself: the n-th call of a kind fails.

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <tuple>

namespace usbfs {

/// What libusb asks of the system, and the two ways in which a transfer can fail later.
enum class Call {
    OpenNode,
    OpenAttribute, ///< a file of sysfs
    Capabilities,
    Claim,
    Release,
    Driver, ///< who has an interface; attaching and detaching
    Configuration,
    Setting,
    ClearHalt,
    Reset,
    Submit,
    Reap,
    Discard,
    TransferStart, ///< it fails before the device has seen anything of it
    TransferEnd    ///< it fails although the device has done its part
};

/// Transfers and what is done to them are counted for each endpoint (address, with direction); other calls have 0.
struct CallSite {
    Call call = Call::OpenNode;
    std::uint8_t endpoint = 0;

    bool operator<(const CallSite& other) const {
        return std::tie(call, endpoint) < std::tie(other.call, other.endpoint);
    }
    bool operator==(const CallSite& other) const { return call == other.call && endpoint == other.endpoint; }
};

struct CallFault {
    static constexpr unsigned int kAlways = ~0u;

    CallSite site;
    unsigned int index = 0;       ///< how many pass first
    int error = 0;                ///< errno of the call, or the (positive) status of the transfer
    unsigned int times = 1;       ///< how many fail
    std::function<void()> before; ///< called each time before it fails, on the calling thread; may be empty
};

/// "submit 81, call 3: Cannot allocate memory"
std::string ToText(const CallFault& fault);

/// Counts calls and lets some fail. A call that fails does nothing, except that a transfer always ends when it is
/// discarded. Thread-safe.
class CallFaults {
public:
    using Counts = std::map<CallSite, unsigned int>;

    /// Counts from zero, with a fault or without one.
    void Count();
    void Arm(CallFault fault);
    /// From now on nothing fails. Returns how many calls have.
    unsigned int Disarm();
    Counts GetCounts() const;

    /// For the bus: counts a call, and returns the errno with which it is to fail, or 0.
    int Next(const CallSite& site);

private:
    bool IsHit(const CallSite& site, unsigned int index) const;

    mutable std::mutex m_Lock;
    // guarded by m_Lock
    Counts m_Counts;
    CallFault m_Fault;
    unsigned int m_Fired = 0;
};

} // namespace usbfs
