#include "core/LogCore.h"

#include "core/Log.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <sys/stat.h>

#include <log4cpp/Category.hh>
#include <log4cpp/PropertyConfigurator.hh>

namespace Tavix {
namespace logging {
namespace {

struct LevelPriority {
    unsigned int level;
    log4cpp::Priority::Value priority;
};

// From the gravest down. The last priority lies between DEBUG and NOTSET, because NOTSET means "inherit" to log4cpp.
constexpr std::array<LevelPriority, 5> kPriorities = {{
    {kLogError, log4cpp::Priority::ERROR},
    {kLogWarning, log4cpp::Priority::WARN},
    {kLogInfo, log4cpp::Priority::INFO},
    {kLogDetail, log4cpp::Priority::DEBUG},
    {kLogDebug, log4cpp::Priority::DEBUG + 50},
}};

// True between a successful configuration and the destruction of log4cpp's categories at exit.
std::atomic<bool> g_HasAppenders{false};

// Made after log4cpp's own statics and therefore destroyed before them: lines of later destructors are dropped.
struct StopAtExit {
    StopAtExit() = default;
    StopAtExit(const StopAtExit&) = delete;
    StopAtExit& operator=(const StopAtExit&) = delete;
    ~StopAtExit() { g_HasAppenders = false; }
};

// Why the file is not read at all; null when it is. A pipe might never end, and reading one waits for its other end.
const char* Objection(const char* file) {
    constexpr off_t kMostBytes = 1 << 20;
    struct stat status = {};
    if (stat(file, &status) != 0) return std::strerror(errno);
    if (!S_ISREG(status.st_mode)) return "it is no regular file";
    return status.st_size > kMostBytes ? "it is larger than 1 MiB" : nullptr;
}

void Configure() {
    // Null in a program that runs with more rights than its user, for the file says which files are written.
    const char* file = secure_getenv("TAVIX_LOG_CONFIG");
    if (file == nullptr || *file == '\0') return;
    if (const char* objection = Objection(file)) {
        std::fprintf(stderr, "TAVIX_LOG_CONFIG: cannot use '%s': %s\n", file, objection);
        return;
    }
    try {
        log4cpp::PropertyConfigurator::configure(file);
        g_HasAppenders = true;
        static const StopAtExit stopAtExit;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "TAVIX_LOG_CONFIG: cannot use '%s': %s\n", file, error.what());
    }
}

log4cpp::Priority::Value PriorityOf(unsigned int level) {
    for (const LevelPriority& row : kPriorities) {
        if (level >= row.level) return row.priority;
    }
    return kPriorities.back().priority;
}

} // namespace

void ConfigureOnce() {
    static const bool configured = (Configure(), true);
    static_cast<void>(configured);
}

unsigned int LowestAppenderLevel(const std::string& category) {
    if (!g_HasAppenders) return kNothing;
    const log4cpp::Category& target = log4cpp::Category::getInstance(category);
    unsigned int lowest = kNothing;
    for (const LevelPriority& row : kPriorities) {
        if (target.isPriorityEnabled(row.priority)) lowest = row.level;
    }
    return lowest == kLogDebug ? 0 : lowest;
}

void Append(const std::string& category, unsigned int level, const std::string& text) {
    if (g_HasAppenders) log4cpp::Category::getInstance(category).log(PriorityOf(level), text);
}

} // namespace logging
} // namespace Tavix
