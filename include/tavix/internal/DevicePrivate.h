#pragma once
// What a transport layer needs of its device objects beyond the interface for applications.

#include "tavix/Export.h"
#include "tavix/Types.h"

#include <boost/shared_ptr.hpp>

#include <GenApi/NodeMapRef.h>

namespace Tavix {

/// Used when a device is created, asked for a chunk node map or destroyed. The order of the operations is part of the
/// binary interface, and the destructor follows it in the device's own. Bound to a thread.
class TAVIX_BASE_API ITavixDevicePrivate {
public:
    virtual void CreateNodemapFromFile(const gcstring& fileName, const gcstring_vector& injectStrings) = 0;
    virtual void CreateNodemapFromString(const gcstring& xml, const gcstring_vector& injectStrings) = 0;
    virtual void ExtractChunkDataNodeMapFromFile(const gcstring& fileName, const gcstring_vector& injectStrings) = 0;
    virtual void ExtractChunkDataNodeMapFromString(const gcstring& xml, const gcstring_vector& injectStrings) = 0;
    virtual bool GetChunkDataNodeMapSupported() const = 0;
    virtual bool ChunkDataXmlDescriptionAvailable() const = 0;
    /// Destroys the device.
    virtual void Delete() = 0;
    /// A fresh chunk node map, empty when there is no chunk description.
    virtual boost::shared_ptr<GenApi::CNodeMapRef> CreateChunkNodeMap() = 0;

protected:
    ~ITavixDevicePrivate() = default;
};

} // namespace Tavix
