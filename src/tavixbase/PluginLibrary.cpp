#include "tavixbase/PluginLibrary.h"

#include <dlfcn.h>
#include <exception>
#include <sys/stat.h>

namespace Tavix {
namespace {

std::string LoaderError() {
    const char* const text = dlerror();
    return text ? text : "unknown reason";
}

// The loader would wait for a pipe's other end.
bool IsOtherThanFile(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

} // namespace

PluginLibrary::PluginLibrary(const std::string& path) : m_Path(path) {
    if (IsOtherThanFile(path)) Fail("not a regular file");
    const auto close = [](void* pHandle) { dlclose(pHandle); };
    std::unique_ptr<void, decltype(close)> handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL), close);
    if (!handle) Fail(LoaderError());
    m_GetTLInfoList = Find<plugin::GetTLInfoListFunction>(handle.get(), plugin::kGetTLInfoListName);
    m_Create = Find<plugin::CreateFunction>(handle.get(), plugin::kCreateName);
    m_Destroy = Find<plugin::DestroyFunction>(handle.get(), plugin::kDestroyName);
    (void)handle.release(); // stays loaded, see the class comment
}

TlInfoList PluginLibrary::GetInfos() const {
    TlInfoList offered;
    bool offersAny = false;
    Call(plugin::kGetTLInfoListName, [&] { offersAny = m_GetTLInfoList(offered); });
    if (!offersAny) return {};
    for (CTlInfo& info : offered) {
        info.SetFileName(m_Path);
        info.ClearUserProvided();
        info.ClearModified();
    }
    return offered;
}

ITransportLayer* PluginLibrary::Create(const CTlInfo& info) const {
    ITransportLayer* pTl = nullptr;
    Call(plugin::kCreateName, [&] { pTl = m_Create(info); });
    if (!pTl) Fail("Create refuses the transport layer '" + info.GetFullName().str() + "' that it offers itself");
    return pTl;
}

void PluginLibrary::Destroy(ITransportLayer* pTl) const {
    Call(plugin::kDestroyName, [&] { m_Destroy(pTl); });
}

template<class Function>
Function PluginLibrary::Find(void* pHandle, const char* name) const {
    void* const pSymbol = dlsym(pHandle, name);
    if (!pSymbol) Fail("symbol '" + std::string(name) + "' is missing");
    return reinterpret_cast<Function>(pSymbol);
}

template<class Step>
void PluginLibrary::Call(const char* function, Step step) const {
    std::string reason;
    try {
        return step();
    } catch (const GenICam::GenericException& e) {
        reason = e.GetDescription();
    } catch (const std::exception& e) {
        reason = e.what();
    } catch (...) {
        reason = "unknown exception";
    }
    Fail(std::string(function) + " failed: " + reason);
}

void PluginLibrary::Fail(const std::string& reason) const {
    throw RUNTIME_EXCEPTION("Transport layer library '%s': %s", m_Path.c_str(), reason.c_str());
}

} // namespace Tavix
