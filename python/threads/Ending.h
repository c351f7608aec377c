#pragma once
// The end of the program, which no thread that waits for a camera puts off.

#include <chrono>

namespace tavixpython {

/// Whose waits are over: those of threads that the interpreter would wait for, or all but the main thread's.
enum class Ended { ThreadsThatAreJoined, AllThreads };

/// From now on these threads wait no more. `mainThread` as the interpreter numbers threads; it may go on. With the
/// interpreter's lock held.
void EndWaits(Ended whose, unsigned long mainThread);
bool IsEnding();
/// Whether a thread of the library that asked for the interpreter's lock might never get it. Needs no lock.
bool MayNotCallPython();

/// Whether a thread that is not joined learns of it by SystemExit, whatever it asks for.
bool EndsSilently();

/// Called at each step of a wait, with the interpreter's lock held. Once waits have ended it throws StateError in a
/// thread that is joined; SystemExit, which ends a thread without a word, in one that asks again, and in all others.
void LeaveAtEnd();
/// The same, but only once cameras are being closed: until then a thread that is joined may open one.
void LeaveAtClosing();

/// How long a loop over a given number of images waits for one of them when the program ends: it ends by itself where
/// the camera sends, and nobody knows whether it does.
inline constexpr std::chrono::milliseconds kPatienceAtEnd{5000};

} // namespace tavixpython
