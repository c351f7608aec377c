#pragma once
// Why a feature has the access mode that it has.

#include <GenApi/Export.h>
#include <GenApi/INode.h>

namespace GenApi {

/// A sentence for a person: which link, register or port takes the access away ("locked: TLParamsLocked is 1"). Empty
/// for a feature that is readable and writable. Never throws for a fault of the device; the fault is part of the text.
TAVIX_GENAPI_API GenICam::gcstring ExplainAccess(INode* pNode);

/// Whether it is readable and never writable, whatever the camera is set to: its register, its formula or its
/// description says so. False for what cannot be asked, and for a wrapper of another engine.
TAVIX_GENAPI_API bool IsForReadingOnly(INode* pNode);

} // namespace GenApi
