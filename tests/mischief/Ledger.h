#pragma once
// What has been seen: the books that must balance, and the complaints when they do not.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>

namespace mischief {

/// Counts of all cameras. Thread-safe.
struct Ledger {
    std::atomic<std::uint64_t> rounds{0};     ///< streams opened and closed
    std::atomic<std::uint64_t> good{0};       ///< buffers that came back with an image
    std::atomic<std::uint64_t> failed{0};     ///< with an error
    std::atomic<std::uint64_t> cancelled{0};  ///< unused
    std::atomic<std::uint64_t> events{0};     ///< event messages
    std::atomic<std::uint64_t> removals{0};   ///< removal callbacks
    std::atomic<std::uint64_t> exceptions{0}; ///< calls that a disturbed camera refused
    std::atomic<std::uint64_t> mischief{0};   ///< disturbances
    std::atomic<std::uint64_t> complaints{0}; ///< broken promises: must stay 0

    /// Prints what is wrong and counts it.
    void Complain(const std::string& camera, const std::string& what);
    void Print() const;
};

/// The buffers of one stream: each queued one comes back exactly once. Bound to a thread.
class BufferBooks {
public:
    BufferBooks(Ledger& ledger, std::string camera) : m_Ledger(ledger), m_Camera(std::move(camera)) {}

    void Queued(const void* buffer);
    void Returned(const void* buffer);
    std::size_t Outside() const { return m_Queued.size(); }
    /// Nothing may be outside any more.
    void Close();

private:
    Ledger& m_Ledger;
    const std::string m_Camera;
    std::set<const void*> m_Queued;
};

/// Notices that somebody is stuck: ends the process with a message. Thread-safe.
class Pulse {
public:
    explicit Pulse(std::string name) : m_Name(std::move(name)) { Beat("starting"); }
    /// `doing` must be a literal.
    void Beat(const char* doing);
    /// Seconds since the last beat, and what was done then.
    double Silence(std::string& doing) const;

private:
    const std::string m_Name;
    std::atomic<const char*> m_Doing{nullptr};
    std::atomic<std::chrono::steady_clock::time_point> m_Last{};
};

} // namespace mischief
