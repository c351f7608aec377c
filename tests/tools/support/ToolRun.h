#pragma once
// Running the program `tavix` as a shell does.

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace tooltest {

/// What a program left behind.
struct Outcome {
    int status = -1; ///< exit status; 128 + signal when a signal ended it
    std::string out, err;
    long peakKilobytes = 0; ///< of memory that it really had
};

using Arguments = std::vector<std::string>;

/// The program, from its start to its end. Killed if it still runs at the end of the scope. Bound to a thread.
class ToolRun {
public:
    /// `input` is the file that it reads as standard input.
    explicit ToolRun(const Arguments& arguments, const std::string& input = "/dev/null");
    ~ToolRun();
    ToolRun(const ToolRun&) = delete;
    ToolRun& operator=(const ToolRun&) = delete;

    void Signal(int signal) const;
    /// What it has written to standard output so far.
    std::string Output() const;
    /// Waits for its end.
    Outcome Finish();

private:
    std::string m_Folder;
    pid_t m_Process = -1;
};

/// Runs `tavix` with these arguments and waits for its end.
Outcome RunTool(const Arguments& arguments, const std::string& input = "/dev/null");

/// Asks until the condition holds; false when it does not within half a minute.
bool Eventually(const std::function<bool()>& condition);

/// The lines of a text; what follows the last line end counts if it is not empty.
std::vector<std::string> Lines(const std::string& text);

} // namespace tooltest
