// Backends that live in a shared library of their own.
#include "usb/LoadedBackend.h"

#include "core/Threads.h"

#include <dlfcn.h>

#include <system_error>
#include <utility>

namespace usb {
namespace {

struct CloseLibrary {
    void operator()(void* library) const { ::dlclose(library); }
};
using Library = std::unique_ptr<void, CloseLibrary>;

/// Forwards to the backend of a library, which it unloads last. Thread-safe.
class LoadedBackend final : public Backend {
public:
    LoadedBackend(Library library, std::unique_ptr<Backend> backend)
        : m_Library(std::move(library)), m_Backend(std::move(backend)) {}

    const char* Name() const override { return m_Backend->Name(); }
    [[nodiscard]] Result Enumerate(std::vector<DeviceEntry>& devices) override { return m_Backend->Enumerate(devices); }
    [[nodiscard]] Result Open(const std::string& id, std::unique_ptr<Handle>& handle) override {
        return m_Backend->Open(id, handle);
    }
    bool IsArriving(const std::string& id) const override { return m_Backend->IsArriving(id); }
    std::uint64_t RegisterHotplug(HotplugHandler handler) override {
        return m_Backend->RegisterHotplug(std::move(handler));
    }
    void DeregisterHotplug(std::uint64_t registration) override { m_Backend->DeregisterHotplug(registration); }
    std::size_t TransferMemoryLimit() const override { return m_Backend->TransferMemoryLimit(); }

private:
    // constant after construction; the order matters: the backend's code is in the library
    const Library m_Library;
    const std::unique_ptr<Backend> m_Backend;
};

std::string LoaderText() {
    const char* text = ::dlerror();
    return text != nullptr ? text : "unknown error of the dynamic loader";
}

std::unique_ptr<Backend> Create(CreateBackendFunction create, const std::string& settings, std::string& reason) {
    std::error_code lack;
    try {
        return std::unique_ptr<Backend>(create(settings.c_str(), reason));
    } catch (const std::system_error& error) {
        lack = error.code();
    }
    throw Tavix::NoThread(lack); // one of ours: the library's own would need its code until it is caught
}

} // namespace

std::unique_ptr<Backend> LoadBackend(const std::string& path, const std::string& settings, std::string& reason) {
    Library library(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!library) {
        reason = "cannot load the bus '" + path + "': " + LoaderText();
        return nullptr;
    }
    const auto create = reinterpret_cast<CreateBackendFunction>(::dlsym(library.get(), kCreateBackendSymbol));
    if (create == nullptr) {
        reason = "'" + path + "' is no bus: it does not export " + kCreateBackendSymbol;
        return nullptr;
    }
    std::string why;
    std::unique_ptr<Backend> backend = Create(create, settings, why);
    if (!backend) {
        reason = "the bus '" + path + "' does not understand its settings: " + why;
        return nullptr;
    }
    return std::make_unique<LoadedBackend>(std::move(library), std::move(backend));
}

} // namespace usb
