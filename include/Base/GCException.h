#pragma once
// GenICam's exceptions, and the macros that throw them with a printf-style text:
//   throw RUNTIME_EXCEPTION("Failed to open device '%hs'", name.c_str());
//   throw ACCESS_EXCEPTION_NODE(nodeName, "SetValue()", "Node is not writable.");

#include "Base/Export.h"

#include <cstdarg>
#include <exception>
#include <memory>
#include <string>

namespace GenICam {

/// What all exceptions of GenICam have in common. Copies share the texts, so copying never throws.
/// Re-entrant.
class TAVIX_GCBASE_API GenericException : public std::exception {
public:
    GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                     const char* exceptionType = "GenericException");
    /// Raised inside a node; methodName as in "SetValue()".
    GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine, const char* nodeName,
                     const char* methodName, const char* exceptionType = "GenericException");
    GenericException(const GenericException&) noexcept;
    GenericException& operator=(const GenericException&) noexcept;
    ~GenericException() override;

    /// The message text alone.
    const char* GetDescription() const noexcept;
    /// As the thrower named it; the macros below name it without its directory.
    const char* GetSourceFileName() const noexcept;
    unsigned int GetSourceLine() const noexcept;
    /// `DESCRIPTION : TYPE thrown (file 'FILE', line N)`, or, from inside a node,
    /// `DESCRIPTION : TYPE thrown in node 'NODE' while calling 'NODE.METHOD' (file 'FILE', line N)`
    const char* what() const noexcept override;

private:
    struct Texts;

    std::shared_ptr<const Texts> m_Texts; ///< constant after construction
};

// Each kind: thrown as itself, caught as itself or as GenericException.
// re-entrant
#define GENICAM_DECLARE_EXCEPTION(Kind)                                                                                \
    class TAVIX_GCBASE_API Kind : public GenericException {                                                            \
    public:                                                                                                            \
        Kind(const char* description, const char* sourceFileName, unsigned int sourceLine,                             \
             const char* exceptionType = #Kind)                                                                        \
            : GenericException(description, sourceFileName, sourceLine, exceptionType) {}                              \
        Kind(const char* description, const char* sourceFileName, unsigned int sourceLine, const char* nodeName,       \
             const char* methodName, const char* exceptionType = #Kind)                                                \
            : GenericException(description, sourceFileName, sourceLine, nodeName, methodName, exceptionType) {}        \
    }

GENICAM_DECLARE_EXCEPTION(BadAllocException);
GENICAM_DECLARE_EXCEPTION(InvalidArgumentException);
GENICAM_DECLARE_EXCEPTION(OutOfRangeException);
GENICAM_DECLARE_EXCEPTION(PropertyException);
GENICAM_DECLARE_EXCEPTION(RuntimeException);
GENICAM_DECLARE_EXCEPTION(LogicalErrorException);
GENICAM_DECLARE_EXCEPTION(AccessException);
GENICAM_DECLARE_EXCEPTION(TimeoutException);
GENICAM_DECLARE_EXCEPTION(DynamicCastException);

#undef GENICAM_DECLARE_EXCEPTION

/// The text of an exception; formats as core/Format.h says.
TAVIX_GCBASE_API std::string FormatDescription(const char* format, va_list arguments);

/// Remembers where an exception is thrown and makes it from a format (core/Format.h: `%hs`, `%Ix`; any length).
/// Arguments are those of printf: a gcstring goes in as c_str(), and the compiler refuses it otherwise.
/// Re-entrant.
template<class Exception>
class ExceptionReporter {
public:
    ExceptionReporter(const char* sourceFileName, unsigned int sourceLine)
        : m_SourceFileName(sourceFileName), m_SourceLine(sourceLine) {}

    Exception Report(const char* format, ...) const {
        va_list arguments;
        va_start(arguments, format);
        const std::string description = FormatDescription(format, arguments);
        va_end(arguments);
        return Exception(description.c_str(), m_SourceFileName, m_SourceLine);
    }

    Exception ReportNode(const char* nodeName, const char* methodName, const char* format, ...) const {
        va_list arguments;
        va_start(arguments, format);
        const std::string description = FormatDescription(format, arguments);
        va_end(arguments);
        return Exception(description.c_str(), m_SourceFileName, m_SourceLine, nodeName, methodName);
    }

private:
    const char* m_SourceFileName; ///< borrowed
    unsigned int m_SourceLine;
};

/// The name of a source file without its directory.
constexpr const char* SourceFileBaseName(const char* path) {
    const char* name = path;
    for (const char* at = path; *at != '\0'; ++at) {
        if (*at == '/') name = at + 1;
    }
    return name;
}

} // namespace GenICam

#ifdef __FILE_NAME__
#define GENICAM_SOURCE_FILE_NAME __FILE_NAME__
#else
#define GENICAM_SOURCE_FILE_NAME ::GenICam::SourceFileBaseName(__FILE__)
#endif

#define GENICAM_REPORTER(Kind) ::GenICam::ExceptionReporter<::GenICam::Kind>(GENICAM_SOURCE_FILE_NAME, __LINE__)

// throw X_EXCEPTION(format, ...)
#define GENERIC_EXCEPTION GENICAM_REPORTER(GenericException).Report
#define BAD_ALLOC_EXCEPTION GENICAM_REPORTER(BadAllocException).Report
#define INVALID_ARGUMENT_EXCEPTION GENICAM_REPORTER(InvalidArgumentException).Report
#define OUT_OF_RANGE_EXCEPTION GENICAM_REPORTER(OutOfRangeException).Report
#define PROPERTY_EXCEPTION GENICAM_REPORTER(PropertyException).Report
#define RUNTIME_EXCEPTION GENICAM_REPORTER(RuntimeException).Report
#define LOGICAL_ERROR_EXCEPTION GENICAM_REPORTER(LogicalErrorException).Report
#define ACCESS_EXCEPTION GENICAM_REPORTER(AccessException).Report
#define TIMEOUT_EXCEPTION GENICAM_REPORTER(TimeoutException).Report
#define DYNAMICCAST_EXCEPTION GENICAM_REPORTER(DynamicCastException).Report

// throw X_EXCEPTION_NODE(nodeName, methodName, format, ...)
#define GENERIC_EXCEPTION_NODE GENICAM_REPORTER(GenericException).ReportNode
#define BAD_ALLOC_EXCEPTION_NODE GENICAM_REPORTER(BadAllocException).ReportNode
#define INVALID_ARGUMENT_EXCEPTION_NODE GENICAM_REPORTER(InvalidArgumentException).ReportNode
#define OUT_OF_RANGE_EXCEPTION_NODE GENICAM_REPORTER(OutOfRangeException).ReportNode
#define PROPERTY_EXCEPTION_NODE GENICAM_REPORTER(PropertyException).ReportNode
#define RUNTIME_EXCEPTION_NODE GENICAM_REPORTER(RuntimeException).ReportNode
#define LOGICAL_ERROR_EXCEPTION_NODE GENICAM_REPORTER(LogicalErrorException).ReportNode
#define ACCESS_EXCEPTION_NODE GENICAM_REPORTER(AccessException).ReportNode
#define TIMEOUT_EXCEPTION_NODE GENICAM_REPORTER(TimeoutException).ReportNode
#define DYNAMICCAST_EXCEPTION_NODE GENICAM_REPORTER(DynamicCastException).ReportNode
