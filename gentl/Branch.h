#pragma once
// What is opened and closed: modules and events.

#include "gentl/Handles.h"
#include "gentl/TreeMutex.h"

#include "core/Mutex.h"

#include <functional>

namespace gentl {

/// A part of the tree of modules. It takes its place there before it is opened and gives it up when it has ended, so
/// that nobody else comes to what it uses. Both may have to wait for a camera, and nobody else is to wait for that:
///
///   new --place--> opening --handle--> open --Leave--> closing --End--> ended, gives its place up
///                     `------ failure, or Leave ----------^
///
/// Who ends what it belongs to ends it first, and so waits for whoever is opening or ending it. Thread-safe.
class Branch : public Object {
public:
    using Object::Object;

    /// Opens it, once, and gives it its handle. `takePlace` runs with TreeMutex() held and throws when the place is
    /// taken or there is none any more; then nothing has been done. INVALID_HANDLE when what it belongs to was closed
    /// meanwhile.
    void Open(const std::function<void()>& takePlace) TAVIX_EXCLUDES(TreeMutex(), m_Life);
    /// Its handle and those of what is below it are void from here on, who waits for its events is turned away, and
    /// nothing is opened below it any more. Waits for no camera; twice is harmless.
    void Leave() noexcept TAVIX_REQUIRES(TreeMutex());
    /// After Leave: ends what is below it and itself. Returns when that is done, whoever does it.
    void End() noexcept TAVIX_EXCLUDES(TreeMutex(), m_Life);

    bool IsOpen() const TAVIX_REQUIRES(TreeMutex()) { return Handle() && !m_HasLeft; }
    /// INVALID_HANDLE after Leave.
    void CheckOpen() const TAVIX_REQUIRES(TreeMutex());

protected:
    /// May wait for a camera.
    virtual void DoOpen() TAVIX_EXCLUDES(TreeMutex()) {}
    /// Before it gets its handle; waits for nothing.
    virtual void DoBegin() TAVIX_REQUIRES(TreeMutex()) {}
    /// Also of one whose opening failed.
    virtual void DoLeave() noexcept TAVIX_REQUIRES(TreeMutex()) = 0;
    /// After DoLeave. May wait for a camera; gives the place up.
    virtual void DoEnd() noexcept TAVIX_EXCLUDES(TreeMutex()) = 0;

private:
    void EndOnce() noexcept TAVIX_REQUIRES(m_Life) TAVIX_EXCLUDES(TreeMutex());

    Tavix::Mutex m_Life; // held by who opens or ends it; before those of what is below it, and before TreeMutex()
    bool m_HasLeft TAVIX_GUARDED_BY(TreeMutex()) = false;
    bool m_HasEnded TAVIX_GUARDED_BY(m_Life) = false;
};

} // namespace gentl
