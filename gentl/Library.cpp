#include "gentl/Library.h"

#include "vexlo/Vexlo.h"

#include <atomic>

#include <pthread.h>

namespace gentl {
namespace {

enum class Usage { No, Here, ByParent };

constexpr const char* kForked = "the library belongs to the process that this one was forked from; cameras are for a "
                                "program that is started anew (in Python by the start method \"spawn\")";

std::atomic<Usage> g_Usage{Usage::No};

/// Beginning and ending, before all other locks: who begins anew waits until everything has been closed.
Tavix::Mutex& UsageMutex() {
    static Tavix::Mutex& mutex = *new Tavix::Mutex; // as that of the tree
    return mutex;
}

/// Until it has been closed.
std::shared_ptr<System>& Opened() TAVIX_REQUIRES(TreeMutex()) {
    static auto& system = *new std::shared_ptr<System>;
    return system;
}

bool IsFree(Tavix::Mutex& mutex) {
    if (!mutex.try_lock()) return false;
    mutex.unlock();
    return true;
}

/// A forked child has neither the parent's threads nor its cameras: to it the library was never initialised. Nor can it
/// be, for what is below would wait for ever for threads that only the parent has. Noted when it is born, for asking
/// the system who one is at each call costs more than an answer about a buffer. Nobody will give back the locks that
/// another thread just had.
void NoteChild() {
    if (IsFree(UsageMutex()) && IsFree(TreeMutex()) && g_Usage != Usage::Here) return;
    g_Usage = Usage::ByParent;
}

void WatchForks() {
    static const int refused = ::pthread_atfork(nullptr, nullptr, &NoteChild); // once; this file is never unloaded
    if (refused != 0) Fail(GC_ERR_OUT_OF_MEMORY, "there is no memory to watch for forks");
}

void ForgetSystem(const System* system) TAVIX_EXCLUDES(TreeMutex()) {
    const Tavix::MutexLock tree(TreeMutex());
    if (Opened().get() == system) Opened() = nullptr;
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
    const Tavix::MutexLock guard(UsageMutex());
    if (g_Usage == Usage::Here) Fail(GC_ERR_RESOURCE_IN_USE, "the library is initialised already");
    Check(vexlo::Init(), "USB cannot be used here");
    g_Usage.store(Usage::Here, std::memory_order_release);
}

void CloseLibrary() {
    CheckInitialized(); // first, since a child may not wait for a thread of its parent
    const Tavix::MutexLock guard(UsageMutex());
    std::shared_ptr<System> system;
    {
        const Tavix::MutexLock tree(TreeMutex());
        CheckInitialized();
        g_Usage = Usage::No; // nothing more is opened
        system = Opened();
        if (system) system->Leave();
    }
    if (system) system->End();
    ForgetSystem(system.get());
    vexlo::Exit();
}

std::shared_ptr<System> OpenSystem() {
    const auto system = std::make_shared<System>();
    try {
        system->Open([&]() TAVIX_REQUIRES(TreeMutex()) {
            CheckInitialized();
            if (Opened()) Fail(GC_ERR_RESOURCE_IN_USE, "the system is open already");
            Opened() = system;
        });
    } catch (...) {
        ForgetSystem(system.get());
        throw;
    }
    return system;
}

void CloseSystem(System& system) {
    {
        const Tavix::MutexLock tree(TreeMutex());
        system.CheckOpen();
        system.Leave();
    }
    system.End();
    ForgetSystem(&system);
}

} // namespace gentl
