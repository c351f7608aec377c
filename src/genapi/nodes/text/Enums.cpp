// Text forms and combinations of the public enumerations.
#include <GenApi/EnumClasses.h>

#include <iterator>

namespace GenApi {

namespace {

template<class Enum>
struct Spelling {
    Enum value;
    const char* text;
};

constexpr Spelling<EAccessMode> kAccessModes[] = {
    {NI, "NI"},
    {NA, "NA"},
    {WO, "WO"},
    {RO, "RO"},
    {RW, "RW"},
    {_UndefinedAccesMode, "_UndefinedAccesMode"},     // sic
    {_CycleDetectAccesMode, "_CycleDetectAccesMode"}, // sic
};
constexpr Spelling<EVisibility> kVisibilities[] = {
    {Beginner, "Beginner"},
    {Expert, "Expert"},
    {Guru, "Guru"},
    {Invisible, "Invisible"},
    {_UndefinedVisibility, "_UndefinedVisibility"},
};
constexpr Spelling<ECachingMode> kCachingModes[] = {
    {NoCache, "NoCache"},
    {WriteThrough, "WriteThrough"},
    {WriteAround, "WriteAround"},
    {_UndefinedCachingMode, "_UndefinedCachingMode"},
};
constexpr Spelling<ERepresentation> kRepresentations[] = {
    {Linear, "Linear"},         {Logarithmic, "Logarithmic"},
    {Boolean, "Boolean"},       {PureNumber, "PureNumber"},
    {HexNumber, "HexNumber"},   {IPV4Address, "IPV4Address"},
    {MACAddress, "MACAddress"}, {_UndefinedRepresentation, "_UndefinedRepresentation"},
};
constexpr Spelling<ESign> kSigns[] = {{Signed, "Signed"}, {Unsigned, "Unsigned"}, {_UndefinedSign, "_UndefinedSign"}};
constexpr Spelling<EEndianess> kEndianesses[] = { // sic
    {BigEndian, "BigEndian"},
    {LittleEndian, "LittleEndian"},
    {_UndefinedEndian, "_UndefinedEndian"}};
constexpr Spelling<EYesNo> kYesNo[] = {{Yes, "Yes"}, {No, "No"}, {_UndefinedYesNo, "_UndefinedYesNo"}};
constexpr Spelling<ENameSpace> kNameSpaces[] = {
    {Custom, "Custom"}, {Standard, "Standard"}, {_UndefinedNameSpace, "_UndefinedNameSpace"}};
constexpr Spelling<EStandardNameSpace> kStandardNameSpaces[] = {
    {None, "None"}, {GEV, "GEV"}, {IIDC, "IIDC"},
    {CL, "CL"},     {USB, "USB"}, {_UndefinedStandardNameSpace, "_UndefinedStandardNameSpace"}};
constexpr Spelling<ESlope> kSlopes[] = {{Increasing, "Increasing"},
                                        {Decreasing, "Decreasing"},
                                        {Varying, "Varying"},
                                        {Automatic, "Automatic"},
                                        {_UndefinedESlope, "_UndefinedESlope"}};
constexpr Spelling<EDisplayNotation> kDisplayNotations[] = {{fnAutomatic, "Automatic"},
                                                            {fnFixed, "Fixed"},
                                                            {fnScientific, "Scientific"},
                                                            {_UndefinedEDisplayNotation, "_UndefinedEDisplayNotation"}};
constexpr Spelling<EInterfaceType> kInterfaceTypes[] = {
    {intfIValue, "IValue"},         {intfIBase, "IBase"},
    {intfIInteger, "IInteger"},     {intfIBoolean, "IBoolean"},
    {intfICommand, "ICommand"},     {intfIFloat, "IFloat"},
    {intfIString, "IString"},       {intfIRegister, "IRegister"},
    {intfICategory, "ICategory"},   {intfIEnumeration, "IEnumeration"},
    {intfIEnumEntry, "IEnumEntry"}, {intfIPort, "IPort"}};
constexpr Spelling<ELinkType> kLinkTypes[] = {
    {ctParentNodes, "ParentNodes"},         {ctReadingChildren, "ReadingChildren"},
    {ctWritingChildren, "WritingChildren"}, {ctInvalidatingChildren, "InvalidatingChildren"},
    {ctDependingNodes, "DependingNodes"},   {ctTerminalNodes, "TerminalNodes"}};

template<class Enum, std::size_t N>
bool Parse(const Spelling<Enum> (&table)[N], const GenICam::gcstring& text, Enum* pValue) {
    for (const Spelling<Enum>& row : table) {
        if (text != row.text) continue;
        if (pValue) *pValue = row.value;
        return true;
    }
    return false;
}

template<class Enum, std::size_t N>
GenICam::gcstring Print(const Spelling<Enum> (&table)[N], Enum value) {
    for (const Spelling<Enum>& row : table) {
        if (row.value == value) return row.text;
    }
    return {};
}

} // namespace

#define GENAPI_DEFINE_ENUM_CLASS(Enum, kTable)                                                                         \
    bool Enum##Class::FromString(const GenICam::gcstring& text, Enum* pValue) {                                        \
        return Parse(kTable, text, pValue);                                                                            \
    }                                                                                                                  \
    void Enum##Class::ToString(GenICam::gcstring& text, const Enum* pValue) {                                          \
        text = Print(kTable, *pValue);                                                                                 \
    }                                                                                                                  \
    void Enum##Class::ToString(GenICam::gcstring& text, Enum value) {                                                  \
        text = Print(kTable, value);                                                                                   \
    }                                                                                                                  \
    GenICam::gcstring Enum##Class::ToString(Enum value) {                                                              \
        return Print(kTable, value);                                                                                   \
    }

GENAPI_DEFINE_ENUM_CLASS(EAccessMode, kAccessModes)
GENAPI_DEFINE_ENUM_CLASS(EVisibility, kVisibilities)
GENAPI_DEFINE_ENUM_CLASS(ECachingMode, kCachingModes)
GENAPI_DEFINE_ENUM_CLASS(ERepresentation, kRepresentations)
GENAPI_DEFINE_ENUM_CLASS(ESign, kSigns)
GENAPI_DEFINE_ENUM_CLASS(EEndianess, kEndianesses) // sic
GENAPI_DEFINE_ENUM_CLASS(EYesNo, kYesNo)
GENAPI_DEFINE_ENUM_CLASS(ENameSpace, kNameSpaces)
GENAPI_DEFINE_ENUM_CLASS(EStandardNameSpace, kStandardNameSpaces)
GENAPI_DEFINE_ENUM_CLASS(ESlope, kSlopes)
GENAPI_DEFINE_ENUM_CLASS(EDisplayNotation, kDisplayNotations)
GENAPI_DEFINE_ENUM_CLASS(EInterfaceType, kInterfaceTypes)
GENAPI_DEFINE_ENUM_CLASS(ELinkType, kLinkTypes)

#undef GENAPI_DEFINE_ENUM_CLASS

EAccessMode Combine(EAccessMode a, EAccessMode b) {
    if (a == NI || b == NI) return NI;
    if (a == NA || b == NA) return NA;
    const bool isReadable = IsReadable(a) && IsReadable(b);
    const bool isWritable = IsWritable(a) && IsWritable(b);
    if (isReadable && isWritable) return RW;
    if (isReadable) return RO;
    return isWritable ? WO : NA;
}

} // namespace GenApi
