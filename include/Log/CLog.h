#pragma once
// GenICam's own log: the category "GenApi" and those below it.

#include "Base/Export.h"
#include "core/Log.h"

#include <string>

namespace GenICam {

/// One category of GenICam's log. Made once and kept, for instance as a function-local static:
///     static const CLog log("Port"); // "GenApi.Port"
///     log.Error("Read of %u bytes failed", count);
/// Formats as core/Format.h says. Nothing here throws, and the log is silent unless configured (core/Log.h).
/// Thread-safe.
class TAVIX_GCBASE_API CLog {
public:
    /// The category "GenApi" itself.
    CLog() : m_Id(Tavix::LogGetCatID("GenApi")) {}
    /// A category below it.
    explicit CLog(const char* name) : m_Id(Tavix::LogGetCatID((std::string("GenApi.") + name).c_str())) {}

    bool IsEnabled(unsigned int level) const { return Tavix::LogIsEnabled(m_Id, level); }

    void Error(const char* format, ...) const;
    void Warning(const char* format, ...) const;
    void Info(const char* format, ...) const;
    void Debug(const char* format, ...) const;

private:
    unsigned int m_Id; ///< constant after construction
};

} // namespace GenICam
