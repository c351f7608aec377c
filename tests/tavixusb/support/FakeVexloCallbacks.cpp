// The stand-in's notifications, with the real library's rules: a deregistration waits for a running call of the handler
// except on the thread of that call; who comes second finds nothing and waits for nobody.

#include "support/FakeVexlo.h"

#include <condition_variable>
#include <memory>
#include <thread>

using vexlo::VX_OK;
using vexlo::VxStatus;

namespace {

struct Registration {
    vexlo::VxCallbackParams params;
    bool registered = true;
    bool running = false;
    std::thread::id runner;
};

std::mutex g_Lock;
std::condition_variable g_Changed;
std::map<unsigned long, std::shared_ptr<Registration>> g_Registrations;
unsigned long g_LastHandle = 0;

std::vector<std::shared_ptr<Registration>> RegisteredFor(vexlo::EVxCallbackKind kind) {
    const std::lock_guard<std::mutex> guard(g_Lock);
    std::vector<std::shared_ptr<Registration>> found;
    for (const auto& [handle, registration] : g_Registrations) {
        if (registration->registered && registration->params.Kind == kind) found.push_back(registration);
    }
    return found;
}

void Run(Registration& registration) {
    {
        const std::lock_guard<std::mutex> guard(g_Lock);
        if (!registration.registered) return;
        registration.running = true;
        registration.runner = std::this_thread::get_id();
    }
    const vexlo::VxCallbackData data = {registration.params.Kind, registration.params.Context,
                                        registration.params.Device};
    registration.params.Handler(&data);
    const std::lock_guard<std::mutex> guard(g_Lock);
    registration.running = false;
    g_Changed.notify_all();
}

} // namespace

void FakeVexlo::Notify(vexlo::EVxCallbackKind kind) {
    std::thread runner([kind] {
        for (const auto& registration : RegisteredFor(kind))
            Run(*registration);
    });
    runner.join();
}

std::size_t FakeVexlo::NumberOfRegistrations() const {
    const std::lock_guard<std::mutex> guard(g_Lock);
    std::size_t count = 0;
    for (const auto& [handle, registration] : g_Registrations)
        count += registration->registered ? 1 : 0;
    return count;
}

namespace vexlo {

VxStatus VxRegisterCallback(const VxCallbackParams* params, unsigned long* pHandle) {
    const FakeVexlo::Call call("RegisterCallback");
    FakeVexlo::Get().registered.push_back(*params);
    *pHandle = ~0ul; // nobody may rely on what a failure leaves
    if (!call) return call.status;
    const std::lock_guard<std::mutex> guard(g_Lock);
    const auto registration = std::make_shared<Registration>();
    registration->params = *params;
    *pHandle = ++g_LastHandle;
    g_Registrations[*pHandle] = registration;
    return VX_OK;
}

VxStatus VxDeregisterCallback(unsigned long handle) {
    FakeVexlo::Call call("DeregisterCallback");
    call.GiveLockBack();
    std::unique_lock<std::mutex> guard(g_Lock);
    const auto found = g_Registrations.find(handle);
    if (found == g_Registrations.end()) return VX_E_NOT_FOUND;
    const std::shared_ptr<Registration> registration = found->second;
    if (!registration->registered) return VX_E_NOT_FOUND;
    registration->registered = false;
    if (registration->runner != std::this_thread::get_id()) {
        g_Changed.wait(guard, [&] { return !registration->running; });
    }
    return call.status;
}

} // namespace vexlo
