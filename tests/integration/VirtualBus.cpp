#include "VirtualBus.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <unistd.h>

namespace integration {
namespace {

std::string WriteSettings(const std::string& cameras) {
    char path[] = "/tmp/tavix-cameras-XXXXXX";
    const int file = mkstemp(path);
    if (file < 0) throw std::runtime_error("cannot write the cameras' settings");
    const std::string text = "{\"cameras\": " + cameras + "}";
    const bool whole = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(file);
    if (!whole) throw std::runtime_error("cannot write the cameras' settings");
    return path;
}

} // namespace

VirtualBus::VirtualBus(const std::string& cameras) : m_SettingsPath(WriteSettings(cameras)) {
    setenv("TAVIX_VIRTUAL_CAMERAS", m_SettingsPath.c_str(), /*overwrite=*/1);
    m_Layer = Tavix::CTlFactory::GetInstance().CreateTl("VandrelUsb");
    if (!m_Layer) throw std::runtime_error("the factory found no USB transport layer");
}

VirtualBus::~VirtualBus() {
    Tavix::CTlFactory::GetInstance().ReleaseTl(m_Layer);
    std::remove(m_SettingsPath.c_str());
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
