#pragma once
// The file that a wire trace goes to.

#include "usb/trace/CapturePacket.h"

#include "core/Mutex.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace usb {

/// A pcapng file. Commands, acknowledges, leaders, trailers and events are kept whole, of other bulk transfers (the
/// payload) the first bytes. When it cannot be written any more it says so once, in the log and on standard error, and
/// takes nothing. It is brought to the disk once a second and by Flush. Thread-safe.
class TraceFile {
public:
    /// Every line of it is that a trace is not what was asked for.
    static constexpr const char* kLogCategory = "Tavix.USB.Trace";

    /// The trace that the environment asks for: TAVIX_TRACE names the file, TAVIX_TRACE_PAYLOAD the bytes that are kept
    /// of each payload transfer (64). One for the whole life of the process; null when none is asked for, or when the
    /// file cannot be made, which is told as above.
    static std::shared_ptr<TraceFile> OfEnvironment();
    /// Null when the file cannot be made or is no plain one; errno tells why.
    static std::shared_ptr<TraceFile> Create(const std::string& path, std::size_t payloadBytes);
    ~TraceFile();
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    /// Writes a record; cuts its data. Throws nothing.
    void Append(CaptureRecord record);
    /// Number for the two records of a transfer.
    std::uint64_t NextId() { return ++m_LastId; }
    /// True the first time that the device is asked about.
    bool IsNew(const std::string& device);
    void Flush();

private:
    TraceFile(std::FILE* file, std::string path, std::size_t payloadBytes)
        : m_Path(std::move(path)), m_PayloadBytes(payloadBytes), m_File(file) {}
    void Write(const std::vector<std::uint8_t>& block) TAVIX_REQUIRES(m_Lock);
    void FlushLocked() TAVIX_REQUIRES(m_Lock);
    void Fail() TAVIX_REQUIRES(m_Lock);

    const std::string m_Path;
    const std::size_t m_PayloadBytes;
    std::atomic<std::uint64_t> m_LastId{0};

    Tavix::Mutex m_Lock;
    std::FILE* m_File TAVIX_GUARDED_BY(m_Lock); ///< owned; null after a failure
    std::chrono::steady_clock::time_point m_Flushed TAVIX_GUARDED_BY(m_Lock){};
    std::set<std::string> m_Devices TAVIX_GUARDED_BY(m_Lock);
};

} // namespace usb
