#pragma once
// Who of this process is at a camera: one who opens it and keeps it, or one who asks it something for a moment.

#include <string>

namespace gentl {

/// A camera, by its path, that nobody else of this process opens or asks until the end of the scope. Bound to a thread
/// at a time.
class Reservation {
public:
    /// RESOURCE_IN_USE when it is reserved already. Waits for nobody.
    explicit Reservation(std::string path);
    ~Reservation() { Release(); }
    Reservation(const Reservation&) = delete;
    Reservation& operator=(const Reservation&) = delete;

    /// Until nobody asks it any more; before it is opened.
    void AwaitTurn() const;
    void Release() noexcept;

private:
    const std::string m_Path;
    bool m_IsHeld = true;
};

/// One question at a time to a camera, by its path, until the end of the scope. Bound to a thread.
class Question {
public:
    /// Waits while another is asked, not while the camera is reserved.
    explicit Question(std::string path);
    ~Question();
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

    /// False when it is reserved: who opens a camera is not to find it taken.
    bool IsAllowed() const { return m_IsAllowed; }

private:
    const std::string m_Path;
    bool m_IsAllowed = false;
};

} // namespace gentl
