#pragma once
// Everything of GenICam in one include: basic types, text, exceptions, log, node maps.

#include "Base/GCException.h"
#include "Base/GCString.h"
#include "Base/GCStringVector.h"
#include "Base/GCTypes.h"
#include "Log/CLog.h"

#include "GenApi/GenApi.h"
