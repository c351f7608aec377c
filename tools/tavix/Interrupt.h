#pragma once
// Ctrl-C, the request to terminate, the terminal that went away, and the reader who did.

#include <thread>

namespace tool {

/// While it lives, the first SIGINT, SIGTERM or SIGHUP is taken note of, and a second one ends the program at once; a
/// SIGPIPE, which is nobody's order, is taken note of each time. A command has some time to end in good order then; one
/// that is stuck, in the opening of a silent camera for instance, is ended by a thread of this object: within a second
/// of the signal the program is gone, with the same line and status. Signals that the program was started to ignore
/// stay ignored. Made once, before all other threads.
class InterruptWatch {
public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

private:
    std::thread m_Thread; // without it signals do what they do to any program
};

bool IsInterrupted();
/// As a shell reports a program that the signal ended: 130, 143, 129 or 141.
int InterruptedStatus();
/// Readable from the interrupt on, for `poll`; never read. -1 when signals do what they do to any program.
int InterruptDescriptor();
/// False once the reader of the output has gone, `head -1` for instance: then no line tells of the end, as of any
/// program that this happens to.
bool HasReader();
/// For commands that are silent for long: interrupts, as the next line would, when the reader has gone.
void EndWithoutReader();

/// How the program's last line begins when it was interrupted.
inline constexpr char kInterruptedLine[] = "tavix: interrupted\n";

} // namespace tool
