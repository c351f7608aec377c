#include "genapi/nodes/base/NodeDefect.h"

#include "genapi/nodes/base/Throw.h"

#include <utility>

namespace genapi {

void NodeDefect::Mark(Kind kind, std::string text) {
    if (!m_pFound) m_pFound = std::make_unique<Found>(Found{kind, std::move(text)});
}

void NodeDefect::Throw(const Node& node, const char* operation) const {
    if (m_pFound->kind == Kind::Property) ThrowProperty(node, operation, m_pFound->text);
    ThrowRuntime(node, operation, m_pFound->text);
}

} // namespace genapi
