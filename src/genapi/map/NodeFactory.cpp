#include "genapi/map/NodeFactory.h"

#include "genapi/nodes/BooleanNode.h"
#include "genapi/nodes/CategoryNode.h"
#include "genapi/nodes/CommandNode.h"
#include "genapi/nodes/EnumerationNode.h"
#include "genapi/nodes/FloatNode.h"
#include "genapi/nodes/IntegerNode.h"
#include "genapi/nodes/PlainNode.h"
#include "genapi/nodes/formula/ConverterNodes.h"
#include "genapi/nodes/formula/FormulaNodes.h"
#include "genapi/nodes/register/FloatRegNode.h"
#include "genapi/nodes/register/IntRegNode.h"
#include "genapi/nodes/register/ObsoleteNodes.h"
#include "genapi/nodes/register/PortNode.h"
#include "genapi/nodes/register/RegisterNode.h"
#include "genapi/nodes/register/StringNodes.h"

#include <new>

namespace genapi {

namespace {

template<class Kind>
Node* Make(Arena& arena, const NodeSeed& seed) {
    return new (arena.Allocate(sizeof(Kind), alignof(Kind))) Kind(seed);
}

} // namespace

Node* MakeNode(Arena& arena, const NodeSeed& seed) {
    using Maker = Node* (*)(Arena&, const NodeSeed&);
    static constexpr Maker kMakers[] = {
#define GENAPI_MAKER(name, kind, face, flags, properties) &Make<kind>,
        GENAPI_NODE_TYPES(GENAPI_MAKER)
#undef GENAPI_MAKER
    };
    return kMakers[static_cast<std::size_t>(seed.type)](arena, seed);
}

} // namespace genapi
