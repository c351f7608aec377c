#include "gentl/module/System.h"

#include "gentl/module/Interface.h"

#include <algorithm>
#include <filesystem>

#include <dlfcn.h>

namespace gentl {

std::string ProducerPath() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<const void*>(&GCInitLib), &info) == 0 || !info.dli_fname) return "libtavixgentl.cti";
    // Consumers may have given a relative name; what they are told is one that also others can use.
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::canonical(info.dli_fname, error);
    return error ? info.dli_fname : whole.string();
}

namespace {

std::string FileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

constexpr uint32_t kGenTLMajor = 1;
constexpr uint32_t kGenTLMinor = 6;
constexpr const char* kDisplayName = "Tavix USB3 Vision";

} // namespace

System::System() : Module(Kind::System), m_Port("TLSystem", FileName(ProducerPath())) {
    BuildPort();
}

System::~System() = default;

void System::Info(TL_INFO_CMD command, Answer& answer) {
    switch (command) {
    case TL_INFO_ID:
    case TL_INFO_NAME:
        return answer.String(FileName(ProducerPath()));
    case TL_INFO_VENDOR:
        return answer.String(kVendor);
    case TL_INFO_MODEL:
        return answer.String(kModel);
    case TL_INFO_VERSION:
        return answer.String(kVersion);
    case TL_INFO_TLTYPE:
        return answer.String(kTechnology);
    case TL_INFO_PATHNAME:
        return answer.String(ProducerPath());
    case TL_INFO_DISPLAYNAME:
        return answer.String(kDisplayName);
    case TL_INFO_CHAR_ENCODING:
        return answer.Int32(TL_CHAR_ENCODING_UTF8);
    case TL_INFO_GENTL_VER_MAJOR:
        return answer.Uint32(kGenTLMajor);
    case TL_INFO_GENTL_VER_MINOR:
        return answer.Uint32(kGenTLMinor);
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about a system");
    }
}

void System::BuildPort() {
    m_Port.Constant("TLID", FileName(ProducerPath()));
    m_Port.Constant("TLVendorName", kVendor);
    m_Port.Constant("TLModelName", kModel);
    m_Port.Constant("TLVersion", kVersion);
    m_Port.Constant("TLFileName", FileName(ProducerPath()));
    m_Port.Constant("TLDisplayName", kDisplayName);
    m_Port.Constant("TLPath", ProducerPath());
    m_Port.Choice("TLType", {{"USB3Vision", 0}, {"Mixed", 1}, {"Custom", 2}}, [] { return 0; });
    m_Port.Number("GenTLVersionMajor", [] { return kGenTLMajor; });
    m_Port.Number("GenTLVersionMinor", [] { return kGenTLMinor; });
    m_Port.Command("InterfaceUpdateList", [this] { (void)UpdateInterfaces(); });
    const auto selected = [this] {
        const Tavix::MutexLock guard(m_Mutex);
        return m_Selected;
    };
    m_Port.Limited("InterfaceSelector", {0, [this] { return std::max<size_t>(1, CountInterfaces()) - 1; }, 1}, selected,
                   [this](std::uint64_t number) {
                       const Tavix::MutexLock guard(m_Mutex);
                       if (number >= std::max<size_t>(1, m_Interfaces.size()))
                           Fail(GC_ERR_INVALID_VALUE, "there is no interface of that number");
                       m_Selected = number;
                   },
                   {"InterfaceID", "InterfaceDisplayName"});
    const auto text = [this, selected](std::string HostController::*member) {
        return CountInterfaces() == 0 ? std::string() : InterfaceAt(selected()).*member;
    };
    m_Port.Text("InterfaceID", [text] { return text(&HostController::id); });
    m_Port.Text("InterfaceDisplayName", [text] { return text(&HostController::name); });
    m_Port.Event("EventInterfaceListChanged", kListEvent);
}

bool System::UpdateInterfaces() {
    std::vector<HostController> interfaces = FindHostControllers();
    for (const FoundCamera& camera : FindCameras()) {
        if (std::find(interfaces.begin(), interfaces.end(), camera.controller) == interfaces.end())
            interfaces.push_back(camera.controller);
    }
    {
        const Tavix::MutexLock guard(m_Mutex);
        if (interfaces == m_Interfaces) return false;
        m_Interfaces = std::move(interfaces);
        m_Selected = 0;
    }
    Invalidate("InterfaceSelector");
    Invalidate("InterfaceID");
    Tell(kListEvent);
    return true;
}

size_t System::CountInterfaces() {
    const Tavix::MutexLock guard(m_Mutex);
    return m_Interfaces.size();
}

HostController System::InterfaceAt(size_t index) {
    const Tavix::MutexLock guard(m_Mutex);
    if (index >= m_Interfaces.size()) Fail(GC_ERR_INVALID_INDEX, "there is no interface of that number");
    return m_Interfaces[index];
}

HostController System::FindInterface(const std::string& id) {
    const Tavix::MutexLock guard(m_Mutex);
    const auto found = std::find_if(m_Interfaces.begin(), m_Interfaces.end(),
                                    [&](const HostController& each) { return each.id == id; });
    if (found == m_Interfaces.end()) Fail(GC_ERR_INVALID_ID, "there is no interface of that ID");
    return *found;
}

std::shared_ptr<Interface> System::OpenInterface(const std::string& id) {
    const HostController controller = FindInterface(id);
    const auto interface =
        std::make_shared<Interface>(std::static_pointer_cast<System>(shared_from_this()), controller);
    interface->Open([&]() TAVIX_REQUIRES(TreeMutex()) {
        CheckOpen();
        if (!m_Open.try_emplace(id, interface).second) Fail(GC_ERR_RESOURCE_IN_USE, "the interface is open already");
    });
    return interface;
}

void System::Forget(const Interface& interface) noexcept {
    const Tavix::MutexLock tree(TreeMutex());
    m_Open.erase(interface.Controller().id);
}

void System::DoLeave() noexcept {
    for (const auto& [id, interface] : m_Open)
        interface->Leave();
    Module::DoLeave();
}

void System::DoEnd() noexcept {
    EndAll([this]() TAVIX_REQUIRES(TreeMutex()) {
        return m_Open.empty() ? std::shared_ptr<Interface>() : m_Open.begin()->second;
    });
    Module::DoEnd();
}

} // namespace gentl
