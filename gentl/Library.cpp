#include "gentl/Library.h"

#include "vexlo/Vexlo.h"

#include <atomic>
#include <utility>

#include <pthread.h>

namespace gentl {
namespace {

enum class Usage { No, Here, ByParent };

constexpr const char* kForked = "the library belongs to the process that this one was forked from; cameras are for a "
                                "program that is started anew (in Python by the start method \"spawn\")";

std::atomic<Usage> g_Usage{Usage::No};
std::shared_ptr<System>& Opened() TAVIX_REQUIRES(TreeMutex()) {
    static auto& system = *new std::shared_ptr<System>;
    return system;
}

/// A forked child has neither the parent's threads nor its cameras: to it the library was never initialised. Nor can it
/// be, for what is below would wait for ever for threads that only the parent has. Noted when it is born, for asking
/// the system who one is at each call costs more than an answer about a buffer. Nobody will give back the lock of a
/// tree that another thread was just changing.
void NoteChild() {
    if (TreeMutex().try_lock()) {
        TreeMutex().unlock();
        if (g_Usage != Usage::Here) return;
    }
    g_Usage = Usage::ByParent;
}

void WatchForks() {
    static const int refused = ::pthread_atfork(nullptr, nullptr, &NoteChild); // once; this file is never unloaded
    if (refused != 0) Fail(GC_ERR_OUT_OF_MEMORY, "there is no memory to watch for forks");
}

} // namespace

[[gnu::hot]] void CheckInitialized() {
    // Acquired: whoever sees it in use sees what was made before.
    const Usage usage = g_Usage.load(std::memory_order_acquire);
    if (usage == Usage::Here) return;
    Fail(GC_ERR_NOT_INITIALIZED, usage == Usage::ByParent ? kForked : "GCInitLib was not called in this process");
}

void InitLibrary() {
    if (g_Usage == Usage::ByParent) Fail(GC_ERR_RESOURCE_IN_USE, kForked);
    WatchForks();
    const Tavix::MutexLock guard(TreeMutex());
    if (g_Usage == Usage::Here) Fail(GC_ERR_RESOURCE_IN_USE, "the library is initialised already");
    Check(vexlo::Init(), "USB cannot be used here");
    g_Usage.store(Usage::Here, std::memory_order_release);
}

void CloseLibrary() {
    CheckInitialized(); // first, since a child may not wait for a thread of its parent
    const Tavix::MutexLock guard(TreeMutex());
    CheckInitialized();
    if (const auto system = std::exchange(Opened(), nullptr)) system->Close();
    g_Usage = Usage::No;
    vexlo::Exit();
}

std::shared_ptr<System> OpenSystem() {
    const Tavix::MutexLock guard(TreeMutex());
    CheckInitialized();
    if (Opened()) Fail(GC_ERR_RESOURCE_IN_USE, "the system is open already");
    auto system = std::make_shared<System>();
    system->Register();
    Opened() = system;
    return system;
}

void CloseSystem(System& system) {
    const Tavix::MutexLock guard(TreeMutex());
    if (Opened().get() != &system) Fail(GC_ERR_INVALID_HANDLE, "the system is closed");
    Opened() = nullptr;
    system.Close();
}

} // namespace gentl
