#pragma once
// The door from a node map to a device's registers.

#include <GenApi/Export.h>
#include <GenApi/IBase.h>

namespace GenApi {

/// Called under the node map's lock. One call is one register access of any address and length; whatever it throws
/// reaches the caller of the feature unchanged. thread-safe when several node maps share it
struct TAVIX_GENAPI_API IPort : virtual public IBase {
    /// Fills the buffer with Length bytes from Address on. Throws when it cannot.
    virtual void Read(void* pBuffer, int64_t Address, int64_t Length) = 0;
    /// Length bytes to Address on. Throws when it cannot.
    virtual void Write(const void* pBuffer, int64_t Address, int64_t Length) = 0;
};

/// What a Port node offers to those who connect it.
struct TAVIX_GENAPI_API IPortConstruct : virtual public IPort {
    /// Borrowed; null disconnects. All that reads through the port is invalidated.
    virtual void SetPortImpl(IPort* pPort) = 0;
    /// Whether registers have to turn their bytes round.
    virtual EYesNo GetSwapEndianess() = 0; // sic
};

} // namespace GenApi
