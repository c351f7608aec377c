#pragma once
// Virtual cameras of one's own, reached as an application reaches cameras: factory, plug-in, USB access library.

#include "CamerasOnBus.h"

#include <tavix/Tavix.h>

#include <GenApi/GenApi.h>

#include <memory>
#include <string>

namespace integration {

/// The transport layer over a bus with the described cameras; given back at the end of its scope, so that the next one
/// starts afresh. One at a time. Bound to a thread.
class VirtualBus {
public:
    /// The settings are the JSON text of the array of cameras, e.g. `[{"frameRateEnable": false}]`.
    /// `others` are further members of the settings, e.g. `"transferMemoryLimit": 1000000`.
    explicit VirtualBus(const std::string& cameras, const std::string& others = {});
    ~VirtualBus();
    VirtualBus(const VirtualBus&) = delete;
    VirtualBus& operator=(const VirtualBus&) = delete;

    Tavix::ITransportLayer& Layer() { return *m_Layer; }
    Tavix::DeviceInfoList Cameras();
    /// The camera itself; only below the real libusb.
    virtualcam::Device& Camera(std::size_t index = 0) { return *m_Cameras->Find(index); }
    /// Creates the index-th camera of the list; given back with the returned pointer.
    std::shared_ptr<Tavix::ITavixDevice> Create(std::size_t index = 0);
    /// Creates and opens.
    std::shared_ptr<Tavix::ITavixDevice> Open(std::size_t index = 0);

private:
    std::unique_ptr<CamerasOnBus> m_Cameras;
    Tavix::ITransportLayer* m_Layer;
};

std::int64_t Integer(GenApi::INodeMap* map, const char* name);
void Set(GenApi::INodeMap* map, const char* name, const char* value);
void Execute(GenApi::INodeMap* map, const char* name);
/// The description of the exception that the call throws; empty when it throws none.
template<class Call>
std::string ErrorOf(Call call) {
    try {
        call();
    } catch (const GenICam::GenericException& e) {
        return e.GetDescription();
    }
    return {};
}

} // namespace integration
