#pragma once
// Something that the device does when told to.

#include <GenApi/Export.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// thread-safe
struct TAVIX_GENAPI_API ICommand : virtual public IValue {
    /// Starts the command and returns at once. AccessException when Verify finds the node not writable.
    virtual void Execute(bool Verify = true) = 0;
    /// Execute with Verify.
    virtual void operator()() = 0;
    /// Never served from a cache; true before the first Execute.
    virtual bool IsDone(bool Verify = true) = 0;
};

} // namespace GenApi
