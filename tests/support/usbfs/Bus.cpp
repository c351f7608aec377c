// The emulated USB bus of this process.
#include "support/usbfs/Bus.h"

#include <cerrno>

namespace usbfs {
namespace {

constexpr unsigned int kBusNumber = 2;
constexpr unsigned int kPortCount = 15;

} // namespace

Bus& Bus::Instance() {
    static Bus& bus = *new Bus;
    return bus;
}

std::string Bus::Plug(std::shared_ptr<DeviceModel> device, PortSettings settings) {
    std::shared_ptr<Port> port;
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        unsigned int number = 1;
        while (m_Ports.count(number) != 0)
            ++number;
        if (number > kPortCount) return {};
        port = std::make_shared<Port>(kBusNumber, number, std::move(settings), std::move(device));
        m_Ports[number] = port;
    }
    if (port->Start()) return port->Name();
    Remove(port->Name());
    return {};
}

void Bus::Remove(const std::string& name) {
    std::shared_ptr<Port> port;
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        for (const auto& item : m_Ports)
            if (item.second->Name() == name) port = item.second;
    }
    if (port == nullptr) return;
    port->Stop();
    const std::lock_guard<std::mutex> lock(m_Lock);
    for (auto item = m_Ports.begin(); item != m_Ports.end();)
        item = item->second == port ? m_Ports.erase(item) : std::next(item);
}

void Bus::Unplug(const std::string& name) {
    for (const auto& port : Ports())
        if (port->Name() == name) port->UnplugNow();
}

void Bus::Replug(const std::string& name) {
    for (const auto& port : Ports())
        if (port->Name() == name) port->PlugNow();
}

void Bus::RefuseOpens(const std::string& name, int error, unsigned int times) {
    for (const auto& port : Ports())
        if (port->Name() == name) port->RefuseOpens(error, times);
}

void Bus::MakeNodeOld(const std::string& name) {
    for (const auto& port : Ports())
        if (port->Name() == name) port->MakeNodeOld();
}

std::time_t Bus::NodeTime(unsigned int bus, unsigned int address) const {
    for (const auto& port : Ports())
        if (port->BusNumber() == bus && port->Address() == address && port->IsPresent()) return port->NodeTime();
    return 0;
}

std::size_t Bus::OpenFileCount() const {
    return m_OpenCount;
}

void Bus::SetStarter(void (*starter)()) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Starter = starter;
}

void Bus::Start() {
    void (*starter)() = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        starter = std::exchange(m_Starter, nullptr);
    }
    if (starter != nullptr) starter();
}

std::vector<std::shared_ptr<Port>> Bus::Ports() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    std::vector<std::shared_ptr<Port>> ports;
    for (const auto& item : m_Ports)
        ports.push_back(item.second);
    return ports;
}

std::shared_ptr<Port> Bus::FindPort(const std::string& name) const {
    for (const auto& port : Ports())
        if (port->Name() == name && port->IsPresent()) return port;
    return nullptr;
}

int Bus::OpenNode(unsigned int bus, unsigned int address) {
    if (const int failure = m_Faults.Next({Call::OpenNode})) return -failure;
    for (const auto& port : Ports()) {
        if (port->BusNumber() != bus || port->Address() != address) continue;
        std::shared_ptr<OpenFile> file;
        const int error = port->Open(m_Memory, file);
        if (error != 0) return -error;
        const std::lock_guard<std::mutex> lock(m_Lock);
        m_Opened[file->File()] = {port, file};
        ++m_OpenCount;
        Mark(file->File(), true);
        return file->File();
    }
    return -ENOENT;
}

bool Bus::MayBeOurs(int file) const {
    if (file < 0) return false;
    const auto index = static_cast<std::size_t>(file);
    return index < kWatchedFiles ? m_IsOurs[index].load() : m_OpenCount != 0;
}

void Bus::Mark(int file, bool isOurs) {
    const auto index = static_cast<std::size_t>(file);
    if (index < kWatchedFiles) m_IsOurs[index] = isOurs;
}

Bus::Opened Bus::FindOpened(int file) const {
    if (!MayBeOurs(file)) return {};
    const std::lock_guard<std::mutex> lock(m_Lock);
    const auto found = m_Opened.find(file);
    return found != m_Opened.end() ? found->second : Opened{};
}

Bus::Opened Bus::TakeOpened(int file) {
    if (!MayBeOurs(file)) return {};
    const std::lock_guard<std::mutex> lock(m_Lock);
    const auto found = m_Opened.find(file);
    if (found == m_Opened.end()) return {};
    const Opened opened = found->second;
    m_Opened.erase(found);
    --m_OpenCount;
    Mark(file, false);
    return opened;
}

} // namespace usbfs
