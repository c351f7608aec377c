#pragma once
// A virtual camera reached through the USB access library itself, below transport layer and features.

#include "CamerasOnBus.h"

#include <core/WaitObject.h>
#include <vexlo/DeviceDiscoveryInfo.h>
#include <vexlo/VxDevice.h>
#include <vexlo/VxStream.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace integration {

/// Where a virtual camera has the registers of its stream.
constexpr unsigned long kStreamRegisters = 0x20000;

/// The cameras that the USB access library finds.
std::vector<vexlo::DeviceDiscoveryInfo> Discovered();
/// The text of a status.
std::string TextOf(vexlo::VxStatus status);

/// A device object of the library; closed and destroyed at the end of its scope.
struct DeviceDeleter {
    void operator()(vexlo::CVxDevice* device) const { vexlo::CVxDevice::DestroyDevice(device); }
};
using DevicePointer = std::unique_ptr<vexlo::CVxDevice, DeviceDeleter>;
DevicePointer NewDevice();

template<class Value, class Object, class Id>
vexlo::VxStatus SetProperty(Object& object, Id id, Value value) {
    return object.SetProperty(id, &value, sizeof value);
}
template<class Value, class Object, class Id>
Value GetProperty(Object& object, Id id) {
    Value value{};
    (void)object.GetProperty(id, &value, sizeof value);
    return value;
}

/// The library over a bus with one camera. The settings are the JSON text of the array of cameras. Bound to a thread.
class DirectCamera {
public:
    explicit DirectCamera(const std::string& cameras);
    ~DirectCamera();
    DirectCamera(const DirectCamera&) = delete;
    DirectCamera& operator=(const DirectCamera&) = delete;

    vexlo::CVxDevice& Device() { return *m_Device; }
    vexlo::CVxStream& Stream();
    /// A register of four bytes.
    vexlo::VxStatus Write(unsigned long address, std::uint32_t value);
    std::uint32_t Read(unsigned long address);

private:
    std::unique_ptr<CamerasOnBus> m_Cameras;
    DevicePointer m_Device;
};

/// The camera's stream with buffers for the camera's images; closed at the end of its scope. Bound to a thread.
class DirectStream {
public:
    explicit DirectStream(DirectCamera& camera);
    ~DirectStream();
    DirectStream(const DirectStream&) = delete;
    DirectStream& operator=(const DirectStream&) = delete;

    vexlo::CVxStream& operator*() { return m_Stream; }
    /// Switches the stream on, queues buffers, starts the acquisition.
    void Start();
    void Finish();
    /// The next result, its buffer queued again; VX_E_TIMEOUT when none came in time.
    vexlo::CVxStream::GrabResult Next(unsigned int timeoutMs = 10000);
    std::uint64_t Count(vexlo::CVxStream::EPropertyValue id) { return GetProperty<std::uint64_t>(m_Stream, id); }

private:
    DirectCamera& m_Camera;
    vexlo::CVxStream& m_Stream;
    Tavix::WaitObjectEx m_Wait = Tavix::WaitObjectEx::Create();
    std::deque<std::vector<std::uint8_t>> m_Memory;
};

} // namespace integration
