#pragma once
// Text forms of the enumerations, spelled as in description files.

#include <GenApi/Export.h>
#include <GenApi/Types.h>

namespace GenApi {

/// FromString leaves the value alone and returns false for an unknown text; ToString of a value without a text
/// gives an empty one.
#define GENAPI_ENUM_CLASS(Enum)                                                                                        \
    struct TAVIX_GENAPI_API Enum##Class {                                                                              \
        static bool FromString(const GenICam::gcstring& text, Enum* pValue);                                           \
        static void ToString(GenICam::gcstring& text, const Enum* pValue);                                             \
        static void ToString(GenICam::gcstring& text, Enum value);                                                     \
        static GenICam::gcstring ToString(Enum value);                                                                 \
    }

GENAPI_ENUM_CLASS(EAccessMode);
GENAPI_ENUM_CLASS(EVisibility);
GENAPI_ENUM_CLASS(ECachingMode);
GENAPI_ENUM_CLASS(ERepresentation);
GENAPI_ENUM_CLASS(ESign);
GENAPI_ENUM_CLASS(EEndianess); // sic
GENAPI_ENUM_CLASS(EYesNo);
GENAPI_ENUM_CLASS(ENameSpace);
GENAPI_ENUM_CLASS(EStandardNameSpace);
GENAPI_ENUM_CLASS(ESlope);
GENAPI_ENUM_CLASS(EDisplayNotation);
GENAPI_ENUM_CLASS(EInterfaceType);
GENAPI_ENUM_CLASS(ELinkType);

#undef GENAPI_ENUM_CLASS

} // namespace GenApi
