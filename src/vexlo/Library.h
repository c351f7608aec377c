#pragma once
// What the library keeps between Init and Exit.

#include "vexlo/BackendSet.h"

#include <memory>
#include <string>

namespace vexlo {

class RemovalNotifier;

/// The buses and the notifier of removals. Constant after construction. Thread-safe.
class Library {
public:
    /// Null when Init has not been called.
    static std::shared_ptr<Library> Get();

    explicit Library(BackendList backends);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    const BackendList& Backends() const { return m_Backends; }
    const std::shared_ptr<RemovalNotifier>& Notifier() const { return m_Notifier; }

private:
    const BackendList m_Backends;
    const std::shared_ptr<RemovalNotifier> m_Notifier;
    std::vector<std::uint64_t> m_Hotplugs; ///< registration with the backend of the same index
};

} // namespace vexlo
