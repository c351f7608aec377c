// The file that a wire trace goes to.
#include "usb/trace/TraceFile.h"

#include "core/Log.h"
#include "core/Printable.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

/// Nobody sets these variables by chance, and the log is silent unless it is set up: so it is said twice.
void Complain(const std::string& what) {
    const std::string line = Tavix::Printable(what);
    Tavix::LogTrace(Tavix::LogGetCatID(TraceFile::kLogCategory), Tavix::kLogWarning, "%s", line.c_str());
    std::fprintf(stderr, "%s\n", line.c_str());
}

std::string ErrorText() {
    return std::generic_category().message(errno);
}

/// A plain file: a pipe would keep the bus waiting for its reader.
std::FILE* OpenPlainFile(const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (file < 0) return nullptr;
    struct stat status {};
    const bool isKnown = fstat(file, &status) == 0;
    if (isKnown && !S_ISREG(status.st_mode)) {
        errno = EINVAL;
    } else if (isKnown && ftruncate(file, 0) == 0) {
        if (std::FILE* stream = fdopen(file, "wb")) return stream;
    }
    const int error = errno;
    close(file);
    errno = error;
    return nullptr;
}

std::size_t PayloadBytes() {
    const char* wanted = secure_getenv(kPayloadSwitch);
    if (wanted == nullptr || *wanted == '\0') return kPayloadBytes;
    const std::string text = wanted;
    const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos && text.size() < 19;
    if (isNumber) return std::strtoull(wanted, nullptr, 10);
    Complain(std::string(kPayloadSwitch) + ": '" + text + "' is no number of bytes; " + std::to_string(kPayloadBytes) +
             " of each transfer are kept");
    return kPayloadBytes;
}

std::shared_ptr<TraceFile> ReadEnvironment() {
    const char* path = secure_getenv(kFileSwitch);
    if (path == nullptr || *path == '\0') return nullptr;
    auto trace = TraceFile::Create(path, PayloadBytes());
    if (trace == nullptr)
        Complain(std::string(kFileSwitch) + ": no trace can be written to " + path + ": " + ErrorText());
    return trace;
}

} // namespace

std::shared_ptr<TraceFile> TraceFile::OfEnvironment() {
    static const std::shared_ptr<TraceFile> trace = ReadEnvironment();
    return trace;
}

std::shared_ptr<TraceFile> TraceFile::Create(const std::string& path, std::size_t payloadBytes) {
    std::FILE* file = OpenPlainFile(path);
    if (file == nullptr) return nullptr;
    std::shared_ptr<TraceFile> trace(new TraceFile(file, path, payloadBytes));
    const Tavix::MutexLock lock(trace->m_Lock);
    trace->Write(SectionHeaderBlock());
    trace->Write(InterfaceBlock());
    return trace;
}

TraceFile::~TraceFile() {
    const Tavix::MutexLock lock(m_Lock);
    if (m_File != nullptr && std::fclose(std::exchange(m_File, nullptr)) != 0) Fail();
}

void TraceFile::Append(CaptureRecord record) {
    const std::size_t whole = record.data != nullptr ? record.captured : 0;
    if (!IsMessage(record)) record.captured = std::min(record.captured, m_PayloadBytes);
    const Tavix::MutexLock lock(m_Lock);
    if (m_File == nullptr) return;
    const std::uint64_t now = Now(); // under the lock, so that the file is in the order of time
    try {
        Write(PacketBlock(EncodeCapture(record, now), whole - record.captured, now));
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        Fail();
    }
    const auto time = std::chrono::steady_clock::now();
    if (m_File == nullptr || time - m_Flushed < std::chrono::seconds(1)) return;
    m_Flushed = time;
    FlushLocked();
}

void TraceFile::Write(const std::vector<std::uint8_t>& block) {
    if (m_File == nullptr || std::fwrite(block.data(), 1, block.size(), m_File) == block.size()) return;
    Fail();
}

void TraceFile::FlushLocked() {
    if (m_File != nullptr && std::fflush(m_File) != 0) Fail();
}

void TraceFile::Fail() {
    try {
        Complain(std::string(kFileSwitch) + ": the trace in " + m_Path + " is not whole: " + ErrorText());
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "%s: the trace is not whole, for want of memory\n", kFileSwitch);
    }
    if (m_File != nullptr) std::fclose(std::exchange(m_File, nullptr));
}

bool TraceFile::IsNew(const std::string& device) {
    const Tavix::MutexLock lock(m_Lock);
    return m_Devices.insert(device).second;
}

void TraceFile::Flush() {
    const Tavix::MutexLock lock(m_Lock);
    FlushLocked();
}

} // namespace usb
