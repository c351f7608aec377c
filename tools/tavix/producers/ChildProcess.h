#pragma once
// A program that is run to see how it ends.

#include <string>
#include <vector>

namespace tool {

/// Re-entrant.
struct ChildOutcome {
    enum class End { Exited, Killed, TimedOut };

    End end = End::Exited;
    int code = 0;       ///< exit status, or the signal
    std::string errors; ///< the first 64 KiB of its standard error
    std::string ending; ///< the last bytes of its standard output, 16 at most
};

/// Runs a program without input; kills it after `timeoutMs`. Throws std::system_error when it cannot be started.
ChildOutcome RunChild(const std::string& program, const std::vector<std::string>& arguments, int timeoutMs);

/// How a program has ended that is to say when it is done. Re-entrant.
struct ReportedEnd {
    ChildOutcome::End end = ChildOutcome::End::Exited;
    int code = 0;             ///< exit status, or the signal
    bool hasReported = false; ///< it got so far as to say so
};

/// Runs a program with our own standard files until its end; it does not outlive us. In it there is a ReportFile.
/// Throws std::system_error when it cannot be started.
ReportedEnd RunToReport(const std::string& program, const std::vector<std::string>& arguments);

/// Where a program of RunToReport says that it is done, whatever came of it: at the end of the scope, unless code of
/// others has ended the process before. Bound to a thread.
class ReportFile {
public:
    ReportFile() = default;
    ~ReportFile();
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;
    /// False in any other program.
    static bool IsThere();
};

} // namespace tool
