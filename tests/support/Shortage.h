#pragma once
// Memory and threads that run out when a test wants them to.

#include <cstddef>

#include <pthread.h>

namespace shortage {

inline thread_local unsigned int t_Ample = 0;

/// What a stand-in for the world outside does needs memory of its own, which never runs out. Bound to a thread.
class AmpleMemory {
public:
    AmpleMemory() { ++t_Ample; }
    ~AmpleMemory() { --t_Ample; }
    AmpleMemory(const AmpleMemory&) = delete;
    AmpleMemory& operator=(const AmpleMemory&) = delete;
};

/// Whose allocations: those of the thread that made the shortage, those of all others, or everybody's. Those of threads
/// with ample memory never count.
enum class Whose { Mine, Others, All };

/// As long as it lives, allocations fail that come after the next `left` ones: `count` of them. One at a time. Needs
/// Shortage.cpp in the program.
class MemoryShortage {
public:
    MemoryShortage(Whose whose, long left, long count = 1);
    ~MemoryShortage();
    MemoryShortage(const MemoryShortage&) = delete;
    MemoryShortage& operator=(const MemoryShortage&) = delete;

    /// Whether it came to that.
    bool WasMet() const;
};

/// Pieces of memory that are allocated now. Needs Shortage.cpp in the program.
long LiveAllocations();

/// As long as it lives, no thread can be started: each would need more stack than any machine has.
class ThreadShortage {
public:
    ThreadShortage() {
        pthread_getattr_default_np(&m_Before);
        pthread_attr_t absurd;
        pthread_attr_init(&absurd);
        pthread_attr_setstacksize(&absurd, std::size_t(1) << 50);
        pthread_setattr_default_np(&absurd);
        pthread_attr_destroy(&absurd);
    }
    ~ThreadShortage() {
        pthread_setattr_default_np(&m_Before);
        pthread_attr_destroy(&m_Before);
    }
    ThreadShortage(const ThreadShortage&) = delete;
    ThreadShortage& operator=(const ThreadShortage&) = delete;

private:
    pthread_attr_t m_Before;
};

/// As long as it lives, no thread can be started after the next `left` ones. Without effect under sanitizers, which
/// start threads themselves. One at a time. Needs Shortage.cpp in the program.
class LaterThreadShortage {
public:
    explicit LaterThreadShortage(long left);
    ~LaterThreadShortage();
    LaterThreadShortage(const LaterThreadShortage&) = delete;
    LaterThreadShortage& operator=(const LaterThreadShortage&) = delete;

    static bool CanBe();
};

} // namespace shortage
