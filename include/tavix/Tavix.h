#pragma once
// Everything an application needs.

#include "GenICam.h"
#include "tavix/Callback.h"
#include "tavix/ChunkParser.h"
#include "tavix/ConfigFileRegistry.h"
#include "tavix/Container.h"
#include "tavix/Device.h"
#include "tavix/EventGrabber.h"
#include "tavix/Info.h"
#include "tavix/NodeMapProvider.h"
#include "tavix/Result.h"
#include "tavix/StreamGrabber.h"
#include "tavix/TlFactory.h"
#include "tavix/TransportLayer.h"
#include "tavix/TransportLayerParams.h"
#include "tavix/Types.h"
