#pragma once
// The enumerations and small records that all interfaces of a node map share.

#include <Base/GCString.h>
#include <Base/GCStringVector.h>
#include <Base/GCTypes.h>
#include <GenApi/Export.h>

#include <cstdint>
#include <vector>

namespace GenApi {

/// Comparing modes by order is allowed for "above NA" only.
enum EAccessMode { NI = 0, NA = 1, WO = 2, RO = 3, RW = 4, _UndefinedAccesMode = 5, _CycleDetectAccesMode = 6 }; // sic
enum EVisibility { Beginner = 0, Expert = 1, Guru = 2, Invisible = 3, _UndefinedVisibility = 99 };
enum ECachingMode { NoCache = 0, WriteThrough = 1, WriteAround = 2, _UndefinedCachingMode = 3 };
enum ERepresentation {
    Linear = 0,
    Logarithmic = 1,
    Boolean = 2,
    PureNumber = 3,
    HexNumber = 4,
    IPV4Address = 5,
    MACAddress = 6,
    _UndefinedRepresentation = 7
};
enum ESign { Signed = 0, Unsigned = 1, _UndefinedSign = 2 };
enum EEndianess { BigEndian = 0, LittleEndian = 1, _UndefinedEndian = 2 }; // sic
enum EYesNo { Yes = 1, No = 0, _UndefinedYesNo = 2 };
enum ENameSpace { Custom = 0, Standard = 1, _UndefinedNameSpace = 2 };
enum EStandardNameSpace { None = 0, GEV = 1, IIDC = 2, CL = 3, USB = 4, _UndefinedStandardNameSpace = 5 };
enum ESlope { Increasing = 0, Decreasing = 1, Varying = 2, Automatic = 3, _UndefinedESlope = 4 };
enum EDisplayNotation { fnAutomatic = 0, fnFixed = 1, fnScientific = 2, _UndefinedEDisplayNotation = 3 };
enum EIncMode { noIncrement = 0, fixedIncrement = 1, listIncrement = 2 };
enum EInputDirection { idFrom = 0, idTo = 1, idNone = 2, _UndefinedEInputDirection = 3 };
enum EInterfaceType {
    intfIValue = 0,
    intfIBase = 1,
    intfIInteger = 2,
    intfIBoolean = 3,
    intfICommand = 4,
    intfIFloat = 5,
    intfIString = 6,
    intfIRegister = 7,
    intfICategory = 8,
    intfIEnumeration = 9,
    intfIEnumEntry = 10,
    intfIPort = 11
};
enum ELinkType {
    ctParentNodes = 0,
    ctReadingChildren = 1,
    ctWritingChildren = 2,
    ctInvalidatingChildren = 3,
    ctDependingNodes = 4,
    ctTerminalNodes = 5
};
enum ECallbackType { cbPostInsideLock = 1, cbPostOutsideLock = 2 };
/// What a description is checked for before it is written, as a set of bits. xvLoad: anything that makes a node
/// unusable, such as a dangling link or a malformed number or formula. xvCycles: values or access modes that need
/// themselves. xvSFNC: the category "Root" and the port "Device" that every description has.
enum EXMLValidation { xvLoad = 0x1, xvCycles = 0x2, xvSFNC = 0x4, xvDefault = 0, xvAll = -1 };

struct INode;
struct IValue;

using StringList_t = GenICam::gcstring_vector;
using NodeList_t = std::vector<INode*>;
using FeatureList_t = std::vector<IValue*>;
/// Wide enough for a pointer; 0 means no callback.
using CallbackHandleType = intptr_t;

using Version_t = GenICam::Version_t;

/// What one attachment of a buffer found. The order of the counters is part of the binary interface.
struct AttachStatistics_t {
    uint32_t NumChunkPorts;
    uint32_t NumChunks;
    uint32_t NumAttachedChunks;
};
static_assert(sizeof(AttachStatistics_t) == 12, "three 32-bit counters");

/// Free tests on modes.
inline bool IsReadable(EAccessMode mode) {
    return mode == RO || mode == RW;
}
inline bool IsWritable(EAccessMode mode) {
    return mode == WO || mode == RW;
}
inline bool IsImplemented(EAccessMode mode) {
    return mode != NI;
}
inline bool IsAvailable(EAccessMode mode) {
    return mode != NI && mode != NA;
}
inline bool IsCacheable(ECachingMode mode) {
    return mode != NoCache;
}
inline bool IsVisible(EVisibility visibility, EVisibility maximum) {
    return visibility <= maximum;
}

/// The mode of something that is subject to both modes; never wider than either.
TAVIX_GENAPI_API EAccessMode Combine(EAccessMode a, EAccessMode b);
/// The more hidden of the two.
inline EVisibility Combine(EVisibility a, EVisibility b) {
    return a > b ? a : b;
}

} // namespace GenApi
