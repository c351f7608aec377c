#pragma once
// One loaded transport-layer library.

#include "tavix/PluginEntry.h"

#include <memory>
#include <string>

namespace Tavix {

/// The three entry functions of a library. Whatever goes wrong is a RuntimeException that names file and reason,
/// whatever the library itself throws. Bound to a thread: the functions of a library are called one at a time.
///
/// A library that was loaded stays loaded. Code of it may be needed at any later time: by exceptions that are still in
/// flight, by devices that outlive their transport layer's last release, by its threads, and by its statics, which are
/// destroyed at process exit.
class PluginLibrary {
public:
    /// Loads the file, with its symbols hidden from other libraries.
    explicit PluginLibrary(const std::string& path);
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    /// What the library offers; each info names the library's file and counts as not user-provided.
    TlInfoList GetInfos() const;
    /// Never null.
    ITransportLayer* Create(const CTlInfo& info) const;
    void Destroy(ITransportLayer* pTl) const;

private:
    template<class Function>
    Function Find(void* pHandle, const char* name) const;
    template<class Step>
    void Call(const char* function, Step step) const;
    [[noreturn]] void Fail(const std::string& reason) const;

    // Constant after construction.
    const std::string m_Path;
    plugin::GetTLInfoListFunction m_GetTLInfoList = nullptr;
    plugin::CreateFunction m_Create = nullptr;
    plugin::DestroyFunction m_Destroy = nullptr;
};

} // namespace Tavix
