#pragma once
// What an application has set.

#include "core/Mutex.h"

#include <map>
#include <string>
#include <vector>

namespace GenApi {
struct INode;
struct INodeMap;
} // namespace GenApi

namespace Tavix::detail {

/// Remembers the last value of each feature, and below selectors of each place that the selectors named, in the order
/// in which they were written last. Loading a user set forgets what went before. Thread-safe.
class Journal {
public:
    /// Commands are no settings, apart from the loading of a user set.
    void Note(GenApi::INode& node, const std::string& value);
    /// Writes all of it again. What is refused is logged; the rest follows.
    void Replay(GenApi::INodeMap& nodes) const;

private:
    using Selection = std::vector<std::pair<std::string, std::string>>; ///< selectors and their values
    struct Entry {
        std::string feature;
        std::string value;
        Selection selection;
    };

    static Selection SelectionOf(GenApi::INode& node);
    std::vector<Entry> Entries() const;

    mutable Mutex m_Mutex;
    std::vector<Entry> m_Entries TAVIX_GUARDED_BY(m_Mutex);
};

} // namespace Tavix::detail
