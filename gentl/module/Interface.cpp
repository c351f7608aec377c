#include "gentl/module/Interface.h"

#include "gentl/module/Device.h"
#include "gentl/module/System.h"

#include <algorithm>

namespace gentl {

Interface::Interface(std::shared_ptr<System> system, HostController controller)
    : Module(Kind::Interface), m_System(std::move(system)), m_Controller(std::move(controller)),
      m_Port("TLInterface", m_Controller.id) {
    BuildPort();
}

Interface::~Interface() = default;

void Interface::Info(const HostController& controller, INTERFACE_INFO_CMD command, Answer& answer) {
    switch (command) {
    case INTERFACE_INFO_ID:
        return answer.String(controller.id);
    case INTERFACE_INFO_DISPLAYNAME:
        return answer.String(controller.name);
    case INTERFACE_INFO_TLTYPE:
        return answer.String(kTechnology);
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about an interface");
    }
}

void Interface::BuildPort() {
    m_Port.Constant("InterfaceID", m_Controller.id);
    m_Port.Constant("InterfaceDisplayName", m_Controller.name);
    m_Port.Choice("InterfaceType", {{"USB3Vision", 0}, {"Custom", 1}}, [] { return 0; });
    m_Port.Command("DeviceUpdateList", [this] { (void)UpdateDevices(); });
    m_Port.Limited(
        "DeviceSelector", {0, [this] { return std::max<size_t>(1, CountDevices()) - 1; }, 1},
        [this] {
            const Tavix::MutexLock guard(m_Mutex);
            return m_Selected;
        },
        [this](std::uint64_t number) {
            const Tavix::MutexLock guard(m_Mutex);
            if (number >= std::max<size_t>(1, m_Devices.size()))
                Fail(GC_ERR_INVALID_VALUE, "there is no device of that number");
            m_Selected = number;
        },
        {"DeviceID", "DeviceVendorName", "DeviceModelName", "DeviceSerialNumber", "DeviceUserID", "DeviceAccessStatus",
         "DeviceTLType"});
    m_Port.Text("DeviceID", [this] { return Selected().id; });
    m_Port.Text("DeviceVendorName", [this] { return Selected().Vendor(); });
    m_Port.Text("DeviceModelName", [this] { return Selected().Model(); });
    m_Port.Text("DeviceSerialNumber", [this] { return Selected().Serial(); });
    m_Port.Text("DeviceUserID", [this] { return Selected().UserName(); });
    m_Port.Choice("DeviceAccessStatus",
                  {{"Unknown", 0},
                   {"ReadWrite", 1},
                   {"ReadOnly", 2},
                   {"NoAccess", 3},
                   {"Busy", 4},
                   {"OpenReadWrite", 5},
                   {"OpenReadOnly", 6}},
                  [this]() -> std::uint64_t {
                      return CountDevices() == 0 ? 0 : static_cast<std::uint64_t>(AccessStatus(Selected()));
                  });
    m_Port.Choice("DeviceTLType", {{"USB3Vision", 0}, {"Custom", 1}}, [] { return 0; });
    m_Port.Event("EventDeviceListChanged", kListEvent);
}

FoundCamera Interface::Selected() {
    const Tavix::MutexLock guard(m_Mutex);
    return m_Devices.empty() ? FoundCamera() : m_Devices[std::min<size_t>(m_Selected, m_Devices.size() - 1)];
}

bool Interface::UpdateDevices() {
    std::vector<FoundCamera> devices = FindCameras();
    devices.erase(std::remove_if(devices.begin(), devices.end(),
                                 [this](const FoundCamera& each) { return each.controller.id != m_Controller.id; }),
                  devices.end());
    for (const FoundCamera& each : devices)
        if (const auto device = OpenHere(each)) device->NoteUserName(each.UserName());
    {
        const Tavix::MutexLock guard(m_Mutex);
        const bool isSame = std::equal(devices.begin(), devices.end(), m_Devices.begin(), m_Devices.end(),
                                       [](const FoundCamera& a, const FoundCamera& b) {
                                           return a.id == b.id && a.Path() == b.Path() && a.UserName() == b.UserName();
                                       });
        m_Devices = std::move(devices);
        if (isSame) return false;
        m_Selected = 0;
    }
    NoteChange();
    return true;
}

size_t Interface::CountDevices() {
    const Tavix::MutexLock guard(m_Mutex);
    return m_Devices.size();
}

FoundCamera Interface::DeviceAt(size_t index) {
    const Tavix::MutexLock guard(m_Mutex);
    if (index >= m_Devices.size()) Fail(GC_ERR_INVALID_INDEX, "there is no device of that number");
    return m_Devices[index];
}

FoundCamera Interface::FindDevice(const std::string& id) {
    const Tavix::MutexLock guard(m_Mutex);
    const auto found = std::find_if(m_Devices.begin(), m_Devices.end(),
                                    [&](const FoundCamera& each) { return each.id == id || each.Path() == id; });
    if (found == m_Devices.end()) Fail(GC_ERR_INVALID_ID, "there is no device of that ID");
    return *found;
}

int32_t Interface::AccessStatus(const FoundCamera& camera) {
    const auto device = OpenHere(camera);
    return device ? device->AccessStatus() : AccessStatusOf(camera);
}

std::string Interface::Version(const FoundCamera& camera) {
    const auto device = OpenHere(camera);
    return device ? device->Version() : VersionOf(camera);
}

std::shared_ptr<Device> Interface::OpenHere(const FoundCamera& camera) {
    const Tavix::MutexLock guard(m_OpenHereMutex);
    const auto open = m_OpenHere.find(camera.Path());
    return open == m_OpenHere.end() ? nullptr : open->second.lock();
}

void Interface::DeviceInfo(const FoundCamera& camera, DEVICE_INFO_CMD command, Answer& answer) {
    switch (command) {
    case DEVICE_INFO_ID:
        return answer.String(camera.id);
    case DEVICE_INFO_VENDOR:
        return answer.String(camera.Vendor());
    case DEVICE_INFO_MODEL:
        return answer.String(camera.Model());
    case DEVICE_INFO_TLTYPE:
        return answer.String(kTechnology);
    case DEVICE_INFO_DISPLAYNAME:
        return answer.String(camera.DisplayName());
    case DEVICE_INFO_ACCESS_STATUS:
        return answer.Int32(AccessStatus(camera));
    case DEVICE_INFO_USER_DEFINED_NAME:
        return answer.String(camera.UserName());
    case DEVICE_INFO_SERIAL_NUMBER:
        return answer.String(camera.Serial());
    case DEVICE_INFO_VERSION:
        return answer.String(Version(camera));
    case DEVICE_INFO_TIMESTAMP_FREQUENCY:
        return answer.Uint64(1000000000); // this technology counts nanoseconds
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about a device");
    }
}

std::shared_ptr<Device> Interface::OpenDevice(const std::string& id, DEVICE_ACCESS_FLAGS flags) {
    const FoundCamera camera = FindDevice(id);
    const auto device =
        std::make_shared<Device>(std::static_pointer_cast<Interface>(shared_from_this()), camera, flags);
    device->Open([] {});
    return device;
}

void Interface::Admit(const std::shared_ptr<Device>& device) {
    CheckOpen();
    m_Open[device->PathInUse()] = device;
    const Tavix::MutexLock here(m_OpenHereMutex);
    m_OpenHere[device->PathInUse()] = device;
}

void Interface::Forget(const Device& device) noexcept {
    const Tavix::MutexLock tree(TreeMutex());
    const auto found = m_Open.find(device.PathInUse());
    if (found == m_Open.end() || found->second.get() != &device) return; // it never came so far
    m_Open.erase(found);
    const Tavix::MutexLock guard(m_OpenHereMutex);
    m_OpenHere.erase(device.PathInUse());
}

void Interface::NoteChange() noexcept {
    Invalidate("DeviceSelector");
    Invalidate("DeviceID");
    Tell(kListEvent);
}

void Interface::DoLeave() noexcept {
    for (const auto& [path, device] : m_Open)
        device->Leave();
    Module::DoLeave();
}

void Interface::DoEnd() noexcept {
    EndAll([this]() TAVIX_REQUIRES(TreeMutex()) {
        return m_Open.empty() ? std::shared_ptr<Device>() : m_Open.begin()->second;
    });
    Module::DoEnd();
    m_System->Forget(*this);
}

} // namespace gentl
