#pragma once
// Ctrl-C and the request to terminate.

namespace tool {

/// From now on the first SIGINT or SIGTERM is taken note of, and a second one ends the program at once. Thread-safe.
void CatchInterrupts();
bool IsInterrupted();
/// For the end of a command: says on standard error that it was interrupted, and gives the exit status.
int InterruptedStatus();
/// For commands that are silent for long: ends the program, as the next line would, when the reader of its output has
/// gone, `head -1` for instance.
void EndWithoutReader();

} // namespace tool
