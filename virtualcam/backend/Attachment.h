#pragma once
// One stay of a virtual device on the bus, from plug to unplug: its address, its claims, its endpoints.

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <string>

#include "core/Mutex.h"
#include "virtualcam/device/endpoint/EndpointQueue.h"

namespace virtualcam {

/// Thread-safe. Outlives its stay as long as a handle needs it; every transfer then ends with NoDevice.
class Attachment {
public:
    Attachment(Device& device, std::uint8_t bus, std::uint8_t address, std::uint8_t port);

    Device& GetDevice() const { return m_Device; }
    const std::string& Id() const { return m_Entry.id; }
    const usb::DeviceEntry& Entry() const { return m_Entry; }
    bool IsPresent() const { return m_Generation % 2 == 1 && m_Device.Generation() == m_Generation; }

    /// Claims for an owner (any pointer that stands for a handle).
    usb::Result Claim(std::uint8_t interfaceNumber, const void* owner);
    usb::Result Release(std::uint8_t interfaceNumber, const void* owner);
    void ReleaseAll(const void* owner);
    /// The endpoint's queue if the owner has claimed its interface, else null.
    EndpointQueue* ClaimedEndpoint(std::uint8_t endpoint, const void* owner);

    EndpointQueue* FindEndpoint(std::uint8_t endpoint);
    /// Where acknowledges are waited for.
    EndpointQueue& Acknowledges() { return m_Endpoints[1]; }
    /// Serves all endpoints; after the end of the stay this fails whatever is queued.
    void PumpAll();

private:
    Device& m_Device;
    const std::uint64_t m_Generation;
    usb::DeviceEntry m_Entry;              // constant after construction
    std::deque<EndpointQueue> m_Endpoints; // in the order of the device's
    Tavix::Mutex m_Lock;
    std::map<std::uint8_t, const void*> m_Claims TAVIX_GUARDED_BY(m_Lock);
};

} // namespace virtualcam
