// The file that a wire trace goes to.
#include "usb/trace/TraceFile.h"

#include "core/Log.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace usb {
namespace {

constexpr const char* kFileSwitch = "TAVIX_TRACE";
constexpr const char* kPayloadSwitch = "TAVIX_TRACE_PAYLOAD";
constexpr std::size_t kPayloadBytes = 64;
constexpr std::uint8_t kMagic[] = {'U', '3', 'V'};

/// Everything but payload begins so.
bool IsMessage(const CaptureRecord& record) {
    return record.isControl ||
           (record.captured >= sizeof kMagic && std::memcmp(record.data, kMagic, sizeof kMagic) == 0);
}

std::uint64_t Now() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

void Complain(const char* what) {
    Tavix::LogTrace(Tavix::LogGetCatID("Tavix.USB"), Tavix::kLogWarning, "%s", what);
}

std::shared_ptr<TraceFile> ReadEnvironment() {
    const char* path = std::getenv(kFileSwitch);
    if (path == nullptr || *path == '\0') return nullptr;
    const char* bytes = std::getenv(kPayloadSwitch);
    auto trace = TraceFile::Create(path, bytes == nullptr ? kPayloadBytes : std::strtoull(bytes, nullptr, 10));
    if (trace == nullptr) Complain("The wire trace cannot be written to the file that TAVIX_TRACE names.");
    return trace;
}

} // namespace

std::shared_ptr<TraceFile> TraceFile::OfEnvironment() {
    static const std::shared_ptr<TraceFile> trace = ReadEnvironment();
    return trace;
}

std::shared_ptr<TraceFile> TraceFile::Create(const std::string& path, std::size_t payloadBytes) {
    std::FILE* file = std::fopen(path.c_str(), "wbe");
    if (file == nullptr) return nullptr;
    std::shared_ptr<TraceFile> trace(new TraceFile(file, payloadBytes));
    const std::lock_guard<std::mutex> lock(trace->m_Lock);
    trace->Write(SectionHeaderBlock());
    trace->Write(InterfaceBlock());
    return trace;
}

TraceFile::~TraceFile() {
    if (m_File != nullptr) std::fclose(m_File);
}

void TraceFile::Append(CaptureRecord record) {
    const std::size_t whole = record.data != nullptr ? record.captured : 0;
    if (!IsMessage(record)) record.captured = std::min(record.captured, m_PayloadBytes);
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_File == nullptr) return;
    const std::uint64_t now = Now(); // under the lock, so that the file is in the order of time
    Write(PacketBlock(EncodeCapture(record, now), whole - record.captured, now));
    const auto time = std::chrono::steady_clock::now();
    if (m_File == nullptr || time - m_Flushed < std::chrono::seconds(1)) return;
    m_Flushed = time;
    std::fflush(m_File);
}

void TraceFile::Write(const std::vector<std::uint8_t>& block) {
    if (m_File == nullptr || std::fwrite(block.data(), 1, block.size(), m_File) == block.size()) return;
    Complain("The wire trace ends here: its file cannot be written any more.");
    std::fclose(m_File);
    m_File = nullptr;
}

bool TraceFile::IsNew(const std::string& device) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Devices.insert(device).second;
}

void TraceFile::Flush() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_File != nullptr) std::fflush(m_File);
}

} // namespace usb
