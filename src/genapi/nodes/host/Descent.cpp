#include "genapi/nodes/host/Descent.h"

#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/base/Throw.h"

namespace genapi {

Descent::Descent(const Node& node) : Descent(node, node.Host()) {}

void Descent::Refuse(const Node& node) const {
    ThrowRuntime(node, "Access", m_Effort.IsTooDeep() ? kTooDeep : "The operation needs too many nodes");
}

} // namespace genapi
