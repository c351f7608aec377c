#include "genapi/description/NodeTraits.h"

namespace genapi {

namespace {

using P = PropertyId;

template<class... Ids>
constexpr PropertySet Of(Ids... ids) {
    return PropertySet::Of(ids...);
}

constexpr PropertySet kCommon =
    Of(P::ToolTip, P::Description, P::DisplayName, P::Visibility, P::DocuURL, P::IsDeprecated, P::EventID,
       P::pIsImplemented, P::pIsAvailable, P::pIsLocked, P::pBlockPolling, P::ImposedAccessMode, P::pError, P::pAlias,
       P::pCastAlias, P::pInvalidator, P::Streamable, P::PollingTime, P::IsFeature, P::pDependent, P::pTerminal,
       P::pSelecting);
constexpr PropertySet kPlace =
    Of(P::Address, P::pAddress, P::pIndex, P::Length, P::pLength, P::pPort, P::AccessMode, P::Cachable);
constexpr PropertySet kSource = Of(P::Value, P::pValue, P::pValueCopy, P::pIndex, P::ValueIndexed, P::pValueIndexed,
                                   P::ValueDefault, P::pValueDefault);
constexpr PropertySet kLimits = Of(P::Min, P::pMin, P::Max, P::pMax, P::Inc, P::pInc);
constexpr PropertySet kInteger = Of(P::Unit, P::Representation, P::ValidValueSet, P::pSelected);
constexpr PropertySet kReal = Of(P::Unit, P::Representation, P::DisplayNotation, P::DisplayPrecision, P::pSelected);
constexpr PropertySet kFormula = Of(P::pVariable, P::Constant, P::Expression);
constexpr PropertySet kConverter = Of(P::FormulaTo, P::FormulaFrom, P::pValue, P::Slope, P::IsLinear);
constexpr PropertySet kStored = Of(P::Sign, P::Endianess);
constexpr PropertySet kBits = Of(P::Bit, P::LSB, P::MSB);
constexpr PropertySet kEntry = Of(P::Value, P::NumericValue, P::Symbolic, P::IsSelfClearing);
constexpr PropertySet kLegacy = Of(P::Unit, P::p1212Parser, P::Key, P::FeatureID, P::Timeout);

constexpr NodeTypeFlags kRegister = NodeTraits::kRegister;
constexpr NodeTypeFlags kObsolete = NodeTraits::kObsolete;

constexpr NodeTraits kTraits[] = {
#define GENAPI_TRAITS(name, kind, face, flags, properties) {GenApi::intf##face, flags, properties},
    GENAPI_NODE_TYPES(GENAPI_TRAITS)
#undef GENAPI_TRAITS
};

} // namespace

const NodeTraits& TraitsOf(NodeType type) {
    return kTraits[static_cast<std::size_t>(type)];
}

} // namespace genapi
