#include "core/Export.h"

#include <tavix/camera/Subscription.h>

#include <atomic>

namespace Tavix {

struct TAVIX_HIDDEN Subscription::Impl {
    std::function<void()> end;
    std::atomic<bool> hasEnded{false};
};

Subscription::Subscription(std::function<void()> end) : m_Impl(std::make_shared<Impl>()) {
    m_Impl->end = std::move(end);
}

void Subscription::End() {
    if (m_Impl && !m_Impl->hasEnded.exchange(true)) m_Impl->end();
}

} // namespace Tavix
