#include "Log.h"

namespace Tavix {

unsigned int LogCategoryTl() {
    static const unsigned int id = LogGetCatID("Tavix.USB.TL");
    return id;
}

unsigned int LogCategoryDevice() {
    static const unsigned int id = LogGetCatID("Tavix.USB.Device");
    return id;
}

unsigned int LogCategoryStream() {
    static const unsigned int id = LogGetCatID("Tavix.USB.Stream");
    return id;
}

unsigned int LogCategoryEventStream() {
    static const unsigned int id = LogGetCatID("Tavix.USB.EventStream");
    return id;
}

} // namespace Tavix
