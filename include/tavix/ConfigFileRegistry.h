#pragma once
// Which description file a device gets.

#include "tavix/Export.h"
#include "tavix/Info.h"

#include <memory>

namespace Tavix {

/// What is configured for one device. Re-entrant.
struct XmlFileBinding {
    bool fromDevice = true;    ///< take the description from the device
    bool hasFile = false;      ///< a configured description file applies
    gcstring filePath;         ///< its path
    bool hasMergeFile = false; ///< a file is to be merged into the description
    gcstring mergeFilePath;    ///< its path
};

/// Bindings of device patterns to files. Without an entry that fits, a device's own description is used. Thread-safe.
class TAVIX_BASE_API CConfigFileRegistry {
public:
    static CConfigFileRegistry& GetInstance();

    /// The first entry that is a subset of `info` decides; merge files and description files are looked up apart.
    XmlFileBinding GetXmlFileBinding(const CDeviceInfo& info) const;
    /// Devices that `pattern` is a subset of take the description from `path`.
    void BindFile(const CDeviceInfo& pattern, const gcstring& path);
    /// Devices that `pattern` is a subset of get the text of `path` merged into their description.
    void BindMergeFile(const CDeviceInfo& pattern, const gcstring& path);
    /// Devices that `pattern` is a subset of never take the description from the device.
    void BindNothing(const CDeviceInfo& pattern);
    void Clear();

    CConfigFileRegistry(const CConfigFileRegistry&) = delete;
    CConfigFileRegistry& operator=(const CConfigFileRegistry&) = delete;

private:
    CConfigFileRegistry();
    ~CConfigFileRegistry();
    struct Impl;
    std::unique_ptr<Impl> m_Impl;
};

/// The whole file as text; RuntimeException naming file and reason when it cannot be read, is no regular file, or is
/// larger than 64 MiB.
TAVIX_BASE_API gcstring textFileToString(const gcstring& fileName);

} // namespace Tavix
