#pragma once
// Small types shared by the SDK's interfaces.

#include "Base/GCException.h"
#include "Base/GCString.h"
#include "Base/GCStringVector.h"

#include <bitset>
#include <cstdint>

namespace Tavix {

using GenICam::gcstring;
using GenICam::gcstring_vector;

/// The access modes asked for when a device is opened, as a set of bits numbered by EDeviceAccessMode.
using AccessModeSet = std::bitset<64>;

/// Bit numbers of AccessModeSet.
enum EDeviceAccessMode : unsigned int {
    Control = 1,  ///< write access to the camera's registers
    Stream = 3,   ///< image stream
    Event = 4,    ///< event channel
    Exclusive = 5 ///< write access, and nobody else may read
};

/// What is asked for when the caller names nothing: control, stream and events.
inline AccessModeSet DefaultAccessMode() {
    return AccessModeSet((1ULL << Control) | (1ULL << Stream) | (1ULL << Event));
}

/// What a probe found out about a device. The spelling is the interface's own.
enum EDeviceAccessiblityInfo {
    Accessibility_Unknown = 0,
    Accessibility_Ok = 1,
    Accessibility_Opened = 2,
    Accessibility_OpenedExclusively = 3,
    Accessibility_NotReachable = 4
};

} // namespace Tavix
