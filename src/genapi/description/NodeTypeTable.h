#pragma once
// All that is known of a node type. A new one is a row here and a class in src/genapi/nodes.
//
// name | class | principal interface | flags | properties
//
// The class is named and not known here: the factory alone includes it. The flags and sets of properties are those of
// NodeTraits.h.

#define GENAPI_NODE_TYPES(X)                                                                                           \
    X(Node, PlainNode, IValue, 0, kCommon)                                                                             \
    X(Category, CategoryNode, ICategory, 0, kCommon | Of(P::pFeature))                                                 \
    X(Integer, IntegerNode, IInteger, 0, kCommon | kSource | kLimits | kInteger)                                       \
    X(IntReg, IntRegNode, IInteger, kRegister, kCommon | kPlace | kInteger | kStored)                                  \
    X(MaskedIntReg, IntRegNode, IInteger, kRegister, kCommon | kPlace | kInteger | kStored | kBits)                    \
    X(Boolean, BooleanNode, IBoolean, 0, kCommon | Of(P::Value, P::pValue, P::OnValue, P::OffValue, P::pSelected))     \
    X(Command, CommandNode, ICommand, 0, kCommon | Of(P::Value, P::pValue, P::CommandValue, P::pCommandValue))         \
    X(Enumeration, EnumerationNode, IEnumeration, 0, kCommon | Of(P::Value, P::pValue, P::pEnumEntry, P::pSelected))   \
    X(EnumEntry, EnumEntryNode, IEnumEntry, 0, kCommon | kEntry)                                                       \
    X(Float, FloatNode, IFloat, 0, kCommon | kSource | kLimits | kReal)                                                \
    X(FloatReg, FloatRegNode, IFloat, kRegister, kCommon | kPlace | kReal | Of(P::Endianess))                          \
    X(String, StringNode, IString, 0, kCommon | Of(P::Value, P::pValue, P::pSelected))                                 \
    X(StringReg, StringRegNode, IString, kRegister, kCommon | kPlace | Of(P::pSelected))                               \
    X(Register, RegisterNode, IRegister, kRegister, kCommon | kPlace | Of(P::pSelected))                               \
    X(Converter, ConverterNode, IFloat, 0, kCommon | kFormula | kConverter | kReal)                                    \
    X(IntConverter, IntConverterNode, IInteger, 0, kCommon | kFormula | kConverter | kInteger)                         \
    X(SwissKnife, SwissKnifeNode, IFloat, 0, kCommon | kFormula | kReal | Of(P::Formula))                              \
    X(IntSwissKnife, IntSwissKnifeNode, IInteger, 0, kCommon | kFormula | kInteger | Of(P::Formula))                   \
    X(Port, PortNode, IPort, 0, kCommon | Of(P::ChunkID, P::pChunkID, P::SwapEndianess, P::CacheChunkData))            \
    X(ConfRom, ObsoleteRegisterNode, IRegister, kRegister | kObsolete, kCommon | kPlace | kLegacy)                     \
    X(TextDesc, ObsoleteStringNode, IString, kObsolete, kCommon | kPlace | kLegacy)                                    \
    X(IntKey, ObsoleteIntegerNode, IInteger, kObsolete, kCommon | kPlace | kLegacy)                                    \
    X(AdvFeatureLock, ObsoleteIntegerNode, IInteger, kRegister | kObsolete, kCommon | kPlace | kLegacy)                \
    X(SmartFeature, ObsoleteIntegerNode, IInteger, kRegister | kObsolete, kCommon | kPlace | kLegacy)
