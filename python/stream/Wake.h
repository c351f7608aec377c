#pragma once
// What an event loop watches.

namespace tavixpython {

/// A descriptor that is readable from Set() to Reset(). Thread-safe.
class Wake {
public:
    Wake();
    ~Wake();
    Wake(const Wake&) = delete;
    Wake& operator=(const Wake&) = delete;

    int Descriptor() const { return m_Descriptor; }
    void Set() const noexcept;
    void Reset() const noexcept;
    /// All that there are.
    static void SetAll() noexcept;

private:
    const int m_Descriptor;
};

} // namespace tavixpython
