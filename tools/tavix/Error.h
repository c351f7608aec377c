#pragma once
// What the tool says when it cannot go on.

#include "Status.h"

#include <exception>
#include <stdexcept>
#include <string>

namespace tool {

/// One line that says what is wrong and what to do next; printed as it is, and the program ends with `status`.
class Error : public std::runtime_error {
public:
    explicit Error(const std::string& line, ExitStatus status = kFailed) : std::runtime_error(line), m_Status(status) {}
    ExitStatus Status() const { return m_Status; }

private:
    ExitStatus m_Status;
};

/// What an exception says to a person: its text without source file and line, on one line, without the full stop.
std::string Reason(const std::exception& exception);

/// The same of whatever is being handled, in a catch block; "out of memory" when there is none left for the text.
std::string CaughtReason() noexcept;

/// When something that was printed has not arrived.
inline constexpr const char* kOutputLost = "the output could not be written; the disk that it goes to may be full";

/// What to do when a camera has gone, to follow the reason.
inline constexpr const char* kPlugIn = "; plug it in again";

} // namespace tool
