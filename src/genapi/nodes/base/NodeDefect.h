#pragma once
// What is wrong with the description of a node.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace genapi {

class Node;

/// Nothing, or the first thing that was found; the node keeps its place in the map and throws that when it is used.
/// Constant once the map is finished, re-entrant.
class NodeDefect {
public:
    enum class Kind : uint8_t {
        Property, ///< PropertyException
        Link,     ///< RuntimeException
    };

    /// What comes later is not kept.
    void Mark(Kind kind, std::string text);
    explicit operator bool() const { return m_pFound != nullptr; }
    /// Empty when there is none.
    std::string_view Text() const { return m_pFound ? std::string_view(m_pFound->text) : std::string_view(); }
    /// In the name of the node and the operation. There must be one.
    [[noreturn]] void Throw(const Node& node, const char* operation) const;

private:
    struct Found {
        Kind kind;
        std::string text;
    };
    std::unique_ptr<Found> m_pFound;
};

} // namespace genapi
