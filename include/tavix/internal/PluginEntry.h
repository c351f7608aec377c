#pragma once
// The entry functions, for those who implement a transport layer. They are declared one floor below, because the
// factory may not include what belongs to transport layers.

#include "tavix/PluginEntry.h"
