#pragma once
// A callback that an application has registered.

#include "tavix/camera/Export.h"

#include <functional>
#include <memory>

namespace Tavix {

/// Lets a registration be ended before its owner ends. Dropping it changes nothing: the callback stays until End() or
/// until the object that it was registered with goes. Movable; thread-safe.
class TAVIX_CAMERA_API Subscription {
public:
    Subscription() = default; ///< of nothing
    explicit Subscription(std::function<void()> end);

    /// The callback is not called any more once this returns, except when called from the callback itself, whose
    /// present call goes on. Ending twice is harmless.
    void End();

private:
    struct Impl;
    std::shared_ptr<Impl> m_Impl;
};

} // namespace Tavix
