#pragma once
// The cameras that this computer's kernel has, reached as an application reaches them.

#include <tavix/Tavix.h>

#include <GenApi/GenApi.h>

#include <chrono>
#include <memory>
#include <string>

namespace systemtest {

/// Waits until the condition holds; false when it does not in time.
template<class Condition>
bool Await(Condition condition, std::chrono::seconds timeout = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    const Tavix::WaitObjectEx never = Tavix::WaitObjectEx::Create();
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        (void)Tavix::WaitObject(never).Wait(20);
    }
    return true;
}

/// The transport layer, for as long as its scope. Bound to a thread.
class KernelBus {
public:
    KernelBus();
    ~KernelBus();
    KernelBus(const KernelBus&) = delete;
    KernelBus& operator=(const KernelBus&) = delete;

    Tavix::DeviceInfoList Cameras();
    /// Waits for the first camera, creates and opens it.
    std::shared_ptr<Tavix::ITavixDevice> Open();

private:
    Tavix::ITransportLayer* m_Layer;
};

/// Has the server that lends the camera do something ("unplug 1"); TAVIX_TELL_SERVER is the command that tells it.
void TellServer(const std::string& command);

} // namespace systemtest
