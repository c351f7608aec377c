#pragma once
// A process that was forked off one that used the library: the threads and the bus are the parent's.

#include <memory>

namespace tavixpython {

/// From now on nothing of the library is touched any more in this process: also at the end of one whose own threads
/// stay inside. With the interpreter's lock held.
void LeaveToParent();
bool IsLeftToParent();

/// The process ends without the ends of libraries, which other threads may be using still.
void LeaveLibraries();

/// Destroys what it holds, except in a forked process, where that would wait for threads that are not there and stop
/// the parent's cameras.
template<class T>
struct Destroy {
    void operator()(T* object) const {
        if (!IsLeftToParent()) delete object;
    }
};

/// How the interpreter owns objects of the library.
template<class T>
using Owned = std::unique_ptr<T, Destroy<T>>;

} // namespace tavixpython
