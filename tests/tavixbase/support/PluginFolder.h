#pragma once
// A folder of fake plug-ins that the factory searches.

#include "Scoped.h"
#include "tavixbase/plugins/FakePluginControl.h"

#include <dlfcn.h>

#include <stdexcept>

namespace Tavix {

// The files as they are built; a test puts them into its folder under names of its own.
inline constexpr const char* kFakeCamPlugin = FAKE_CAM_PLUGIN;
inline constexpr const char* kOtherCamPlugin = OTHER_CAM_PLUGIN;
inline constexpr const char* kIncompletePlugin = INCOMPLETE_PLUGIN;
inline constexpr const char* kSilentPlugin = SILENT_PLUGIN;

inline FakePluginControl& ControlOf(const char* plugin) {
    void* const pHandle = dlopen(plugin, RTLD_NOW | RTLD_LOCAL);
    if (!pHandle) throw std::runtime_error(dlerror());
    return *reinterpret_cast<GetFakePluginControlFunction>(dlsym(pHandle, "GetFakePluginControl"))();
}

// Sets TAVIX_TL_PATH to a folder of its own while it lives. The real transport layer may lie beside the SDK's library;
// a file of the same name that offers nothing keeps it out of the tests.
class PluginFolder {
public:
    /// Searched before all others, or behind one that exists already.
    explicit PluginFolder(const PluginFolder* pFirst = nullptr)
        : m_Variable("TAVIX_TL_PATH", (pFirst ? pFirst->m_Folder.Path() + ":" : "") + m_Folder.Path()) {
        ControlOf(kSilentPlugin).offersNothing = true;
        Add("libtavixusb-4.0.0.so", kSilentPlugin);
    }

    std::string Add(const char* name, const char* plugin) const { return m_Folder.Link(name, plugin); }
    std::string AddText(const char* name) const { return m_Folder.Write(name, "this is no library\n"); }
    std::string Path(const char* name) const { return m_Folder.Path(name); }

private:
    const ScopedFolder m_Folder;
    const ScopedVariable m_Variable;
};

} // namespace Tavix
