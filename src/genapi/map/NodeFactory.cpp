#include "genapi/map/NodeFactory.h"

#include "genapi/nodes/BooleanNode.h"
#include "genapi/nodes/CategoryNode.h"
#include "genapi/nodes/CommandNode.h"
#include "genapi/nodes/ConverterNodes.h"
#include "genapi/nodes/EnumerationNode.h"
#include "genapi/nodes/FloatNode.h"
#include "genapi/nodes/FloatRegNode.h"
#include "genapi/nodes/FormulaNodes.h"
#include "genapi/nodes/IntRegNode.h"
#include "genapi/nodes/IntegerNode.h"
#include "genapi/nodes/ObsoleteNodes.h"
#include "genapi/nodes/PlainNode.h"
#include "genapi/nodes/PortNode.h"
#include "genapi/nodes/RegisterNode.h"
#include "genapi/nodes/StringNodes.h"

#include <new>

namespace genapi {

namespace {

template<class Kind>
Node* Make(Arena& arena, const NodeSeed& seed) {
    return new (arena.Allocate(sizeof(Kind), alignof(Kind))) Kind(seed);
}

} // namespace

Node* MakeNode(Arena& arena, const NodeSeed& seed) {
    switch (seed.type) {
    case NodeType::Node:
        return Make<PlainNode>(arena, seed);
    case NodeType::Category:
        return Make<CategoryNode>(arena, seed);
    case NodeType::Integer:
        return Make<IntegerNode>(arena, seed);
    case NodeType::IntReg:
    case NodeType::MaskedIntReg:
        return Make<IntRegNode>(arena, seed);
    case NodeType::Boolean:
        return Make<BooleanNode>(arena, seed);
    case NodeType::Command:
        return Make<CommandNode>(arena, seed);
    case NodeType::Enumeration:
        return Make<EnumerationNode>(arena, seed);
    case NodeType::EnumEntry:
        return Make<EnumEntryNode>(arena, seed);
    case NodeType::Float:
        return Make<FloatNode>(arena, seed);
    case NodeType::FloatReg:
        return Make<FloatRegNode>(arena, seed);
    case NodeType::String:
        return Make<StringNode>(arena, seed);
    case NodeType::StringReg:
        return Make<StringRegNode>(arena, seed);
    case NodeType::Register:
        return Make<RegisterNode>(arena, seed);
    case NodeType::Converter:
        return Make<ConverterNode>(arena, seed);
    case NodeType::IntConverter:
        return Make<IntConverterNode>(arena, seed);
    case NodeType::SwissKnife:
        return Make<SwissKnifeNode>(arena, seed);
    case NodeType::IntSwissKnife:
        return Make<IntSwissKnifeNode>(arena, seed);
    case NodeType::Port:
        return Make<PortNode>(arena, seed);
    case NodeType::ConfRom:
        return Make<ObsoleteRegisterNode>(arena, seed);
    case NodeType::TextDesc:
        return Make<ObsoleteStringNode>(arena, seed);
    case NodeType::IntKey:
    case NodeType::AdvFeatureLock:
    case NodeType::SmartFeature:
        return Make<ObsoleteIntegerNode>(arena, seed);
    }
    return Make<PlainNode>(arena, seed);
}

} // namespace genapi
