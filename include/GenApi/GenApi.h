#pragma once
// Everything that an application needs of node maps.

#include <Base/GCException.h>
#include <GenApi/ChunkAdapter.h>
#include <GenApi/EnumClasses.h>
#include <GenApi/EventAdapterGeneric.h>
#include <GenApi/NodeCallback.h>
#include <GenApi/NodeMap.h>
#include <GenApi/NodeMapRef.h>
#include <GenApi/Persistence.h>
#include <GenApi/Pointer.h>
#include <GenApi/PortImpl.h>
#include <GenApi/Synch/Lock.h>
#include <GenApi/Types.h>
