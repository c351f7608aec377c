#pragma once
// Memory that runs out when a test wants it to.

namespace genapi_test {

/// As long as it lives, this thread's allocation after the next `left` ones fails, once.
class Shortage {
public:
    explicit Shortage(long left);
    ~Shortage();
    Shortage(const Shortage&) = delete;
    Shortage& operator=(const Shortage&) = delete;

    /// Whether it came to that.
    bool WasMet() const;
};

} // namespace genapi_test
