#include "Library.h"

#include "vexlo/Vexlo.h"

#include <atomic>
#include <utility>

#include <unistd.h>

namespace gentl {
namespace {

std::atomic<pid_t> g_Owner{0};      // the process that initialised the library; 0 for nobody
std::shared_ptr<System>& Opened() { // guarded by TreeMutex()
    static auto& system = *new std::shared_ptr<System>;
    return system;
}

} // namespace

/// A forked child has neither the parent's threads nor its cameras: to it the library was never initialised.
void CheckInitialized() {
    if (g_Owner.load(std::memory_order_acquire) != ::getpid())
        Fail(GC_ERR_NOT_INITIALIZED, "GCInitLib was not called in this process");
}

void InitLibrary() {
    const std::lock_guard<std::mutex> guard(TreeMutex());
    if (g_Owner == ::getpid()) Fail(GC_ERR_RESOURCE_IN_USE, "the library is initialised already");
    if (g_Owner != 0) Fail(GC_ERR_RESOURCE_IN_USE, "the library belongs to the process that this one was forked from");
    Check(vexlo::Init(), "USB cannot be used here");
    g_Owner.store(::getpid(), std::memory_order_release);
}

void CloseLibrary() {
    const std::lock_guard<std::mutex> guard(TreeMutex());
    CheckInitialized();
    if (const auto system = std::exchange(Opened(), nullptr)) system->Close();
    g_Owner = 0;
    vexlo::Exit();
}

std::shared_ptr<System> OpenSystem() {
    const std::lock_guard<std::mutex> guard(TreeMutex());
    CheckInitialized();
    if (Opened()) Fail(GC_ERR_RESOURCE_IN_USE, "the system is open already");
    auto system = std::make_shared<System>();
    system->Register();
    Opened() = system;
    return system;
}

void CloseSystem(System& system) {
    const std::lock_guard<std::mutex> guard(TreeMutex());
    if (Opened().get() != &system) Fail(GC_ERR_INVALID_HANDLE, "the system is closed");
    Opened() = nullptr;
    system.Close();
}

} // namespace gentl
