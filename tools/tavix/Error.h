#pragma once
// What the tool says when it cannot go on.

#include <exception>
#include <stdexcept>
#include <string>

namespace tool {

/// One line that says what is wrong and what to do next; printed as it is, exit status 1.
class Error : public std::runtime_error {
public:
    explicit Error(const std::string& line) : std::runtime_error(line) {}
};

/// What an exception says to a person: its text without source file and line, on one line, without the full stop.
std::string Reason(const std::exception& exception);

} // namespace tool
