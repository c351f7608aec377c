#include "tavix/ConfigFileRegistry.h"

#include "core/Export.h"
#include "core/Lock.h"

#include <algorithm>
#include <vector>

namespace Tavix {
namespace {

struct Entry {
    CDeviceInfo pattern;
    bool hasFile;
    gcstring path;
};

using Entries = std::vector<Entry>;

const Entry* FirstThatFits(const Entries& entries, const CDeviceInfo& info) {
    const auto fits = [&](const Entry& entry) { return info.IsSubset(entry.pattern); };
    const auto found = std::find_if(entries.begin(), entries.end(), fits);
    return found == entries.end() ? nullptr : &*found;
}

} // namespace

struct TAVIX_HIDDEN CConfigFileRegistry::Impl {
    mutable RecursiveLock lock;
    Entries files TAVIX_GUARDED_BY(lock);
    Entries mergeFiles TAVIX_GUARDED_BY(lock);

    void AddFile(Entry entry) {
        ScopedLock guard(lock);
        files.push_back(std::move(entry));
    }
};

CConfigFileRegistry::CConfigFileRegistry() : m_Impl(std::make_unique<Impl>()) {}
CConfigFileRegistry::~CConfigFileRegistry() = default;

CConfigFileRegistry& CConfigFileRegistry::GetInstance() {
    // Never destroyed: devices may still be created while the process ends.
    static CConfigFileRegistry* const pInstance = new CConfigFileRegistry;
    return *pInstance;
}

XmlFileBinding CConfigFileRegistry::GetXmlFileBinding(const CDeviceInfo& info) const {
    ScopedLock guard(m_Impl->lock);
    XmlFileBinding binding;
    if (const Entry* pFile = FirstThatFits(m_Impl->files, info)) {
        binding.fromDevice = false;
        binding.hasFile = pFile->hasFile;
        binding.filePath = pFile->path;
    }
    if (const Entry* pMergeFile = FirstThatFits(m_Impl->mergeFiles, info)) {
        binding.hasMergeFile = true;
        binding.mergeFilePath = pMergeFile->path;
    }
    return binding;
}

void CConfigFileRegistry::BindFile(const CDeviceInfo& pattern, const gcstring& path) {
    m_Impl->AddFile({pattern, /*hasFile=*/true, path});
}

void CConfigFileRegistry::BindNothing(const CDeviceInfo& pattern) {
    m_Impl->AddFile({pattern, /*hasFile=*/false, gcstring()});
}

void CConfigFileRegistry::BindMergeFile(const CDeviceInfo& pattern, const gcstring& path) {
    ScopedLock guard(m_Impl->lock);
    m_Impl->mergeFiles.push_back({pattern, /*hasFile=*/true, path});
}

void CConfigFileRegistry::Clear() {
    ScopedLock guard(m_Impl->lock);
    m_Impl->files.clear();
    m_Impl->mergeFiles.clear();
}

} // namespace Tavix
