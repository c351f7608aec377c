#pragma once
// Memory for images, and how much of it they take: an optional interface of stream grabbers.

#include "tavix/Export.h"

#include <cstddef>
#include <memory>

namespace Tavix {

/// Found by dynamic_cast from an IStreamGrabber; null where the grabber has none. The order of the operations is part
/// of the binary interface. Thread-safe.
class TAVIX_BASE_API IStreamMemory {
public:
    /// At least `size` contiguous bytes that the host's controller can write to without the kernel copying them; null
    /// when there is none, be it that the system does not offer it or that its limit is reached. The grabber must be
    /// open; best the grab is prepared, for whose transfers the memory is laid out then. It lives as long as a share of
    /// it, also after grabber and device; it is registered and queued like any other, and deregistered before the last
    /// share goes. LogicalErrorException while the grabber is closed.
    virtual std::shared_ptr<void> AllocateBuffer(std::size_t size) = 0;

    /// Bytes that an image takes as the camera is set now, as its stream states it, by which its transfers are planned;
    /// a feature PayloadSize may state anything. 0 when the stream does not tell.
    virtual std::size_t RequiredSize() = 0;

protected:
    ~IStreamMemory() = default;
};

} // namespace Tavix
