#include "Log/CLog.h"

namespace GenICam {

void CLog::Error(const char* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    Tavix::LogTraceV(m_Id, Tavix::kLogError, format, arguments);
    va_end(arguments);
}

void CLog::Warning(const char* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    Tavix::LogTraceV(m_Id, Tavix::kLogWarning, format, arguments);
    va_end(arguments);
}

void CLog::Info(const char* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    Tavix::LogTraceV(m_Id, Tavix::kLogInfo, format, arguments);
    va_end(arguments);
}

void CLog::Debug(const char* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    Tavix::LogTraceV(m_Id, Tavix::kLogDetail, format, arguments);
    va_end(arguments);
}

} // namespace GenICam
