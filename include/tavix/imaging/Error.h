#pragma once
// The one exception of this library.

#include <stdexcept>

#include <tavix/imaging/Export.h>

namespace Tavix::imaging {

/// A format that cannot be converted or stored, memory too small for a picture of its size, a file that cannot be
/// written. Its text says which.
class TAVIX_IMAGING_API Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    Error(const Error&) = default;
    ~Error() override;
};

} // namespace Tavix::imaging
