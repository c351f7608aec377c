#pragma once
// The three functions by which the factory reaches a transport-layer library.

#include "tavix/Container.h"

namespace Tavix {

class ITransportLayer;

/// Signatures of the functions that a library named `libtavixNAME-MAJOR.MINOR.PATCH.so` exports with C linkage.
/// The factory never calls two functions of one process at the same time, so they need no lock of their own. What they
/// throw is reported by the factory together with the library's file name.
namespace plugin {

/// Appends an info for each transport layer that the library offers. False when it offers none.
using GetTLInfoListFunction = bool (*)(TlInfoList& list);
/// Makes the transport layer of an info, with a reference count of 1. Null when the info names none of this library's.
using CreateFunction = ITransportLayer* (*)(const CTlInfo& info);
/// Deletes what Create returned, once its references are used up.
using DestroyFunction = void (*)(ITransportLayer* pTl);

inline constexpr const char* kGetTLInfoListName = "GetTLInfoList";
inline constexpr const char* kCreateName = "Create";
inline constexpr const char* kDestroyName = "Destroy";

} // namespace plugin
} // namespace Tavix
