#include "VirtualBus.h"

#include <stdexcept>

namespace integration {

VirtualBus::VirtualBus(const std::string& cameras, const std::string& others)
    : m_Cameras(PlugIn("{" + others + (others.empty() ? "" : ", ") + "\"cameras\": " + cameras + "}")) {
    m_Layer = Tavix::CTlFactory::GetInstance().CreateTl("VandrelUsb");
    if (!m_Layer) throw std::runtime_error("the factory found no USB transport layer");
}

VirtualBus::~VirtualBus() {
    Tavix::CTlFactory::GetInstance().ReleaseTl(m_Layer);
}

Tavix::DeviceInfoList VirtualBus::Cameras() {
    Tavix::DeviceInfoList list;
    m_Layer->EnumerateDevices(list);
    return list;
}

std::shared_ptr<Tavix::ITavixDevice> VirtualBus::Create(std::size_t index) {
    const Tavix::DeviceInfoList list = Cameras();
    if (index >= list.size()) throw std::runtime_error("no such camera on the virtual bus");
    Tavix::ITransportLayer* layer = m_Layer;
    return {layer->CreateDevice(list[index]), [layer](Tavix::ITavixDevice* device) { layer->DestroyDevice(device); }};
}

std::shared_ptr<Tavix::ITavixDevice> VirtualBus::Open(std::size_t index) {
    auto device = Create(index);
    device->Open();
    return device;
}

std::int64_t Integer(GenApi::INodeMap* map, const char* name) {
    return GenApi::CIntegerPtr(map->GetNode(name))->GetValue();
}

void Set(GenApi::INodeMap* map, const char* name, const char* value) {
    GenApi::CValuePtr(map->GetNode(name))->FromString(value);
}

void Execute(GenApi::INodeMap* map, const char* name) {
    GenApi::CCommandPtr(map->GetNode(name))->Execute();
}

} // namespace integration
