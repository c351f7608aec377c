#pragma once
// Memory and threads that run out when a test wants them to.

namespace virtualcam::test {

/// Whose allocations: those of the thread that made the shortage, or those of all others.
enum class Whose { Mine, Others };

/// As long as it lives, allocations fail that come after the next `left` ones: `count` of them. One at a time.
class MemoryShortage {
public:
    MemoryShortage(Whose whose, long left, long count = 1);
    ~MemoryShortage();
    MemoryShortage(const MemoryShortage&) = delete;
    MemoryShortage& operator=(const MemoryShortage&) = delete;

    /// Whether it came to that.
    bool WasMet() const;
};

/// As long as it lives, no thread can be started after the next `left` ones. Without effect under sanitizers, which
/// start threads themselves. One at a time.
class ThreadShortage {
public:
    explicit ThreadShortage(long left = 0);
    ~ThreadShortage();
    ThreadShortage(const ThreadShortage&) = delete;
    ThreadShortage& operator=(const ThreadShortage&) = delete;

    static bool CanBe();
};

/// Pieces of memory that are allocated now.
long LiveAllocations();

} // namespace virtualcam::test
