#include "KernelBus.h"

#include <cstdlib>
#include <stdexcept>

namespace systemtest {

KernelBus::KernelBus() : m_Layer(Tavix::CTlFactory::GetInstance().CreateTl("VandrelUsb")) {
    if (!m_Layer) throw std::runtime_error("the factory found no USB transport layer");
}

KernelBus::~KernelBus() {
    Tavix::CTlFactory::GetInstance().ReleaseTl(m_Layer);
}

Tavix::DeviceInfoList KernelBus::Cameras() {
    Tavix::DeviceInfoList list;
    m_Layer->EnumerateDevices(list);
    return list;
}

std::shared_ptr<Tavix::ITavixDevice> KernelBus::Open() {
    Tavix::DeviceInfoList list;
    const bool found = Await([&] {
        list = Cameras();
        return !list.empty();
    });
    if (!found) throw std::runtime_error("the kernel has no camera");
    Tavix::ITransportLayer* layer = m_Layer;
    std::shared_ptr<Tavix::ITavixDevice> device(layer->CreateDevice(list[0]),
                                                [layer](Tavix::ITavixDevice* given) { layer->DestroyDevice(given); });
    device->Open();
    return device;
}

void TellServer(const std::string& command) {
    const char* const teller = std::getenv("TAVIX_TELL_SERVER");
    if (!teller) throw std::runtime_error("TAVIX_TELL_SERVER does not name a command");
    if (std::system((std::string(teller) + " '" + command + "'").c_str()) != 0)
        throw std::runtime_error("the server cannot be told anything");
}

} // namespace systemtest
