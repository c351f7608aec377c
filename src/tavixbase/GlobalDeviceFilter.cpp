#include "tavix/TlFactory.h"

#include <atomic>

namespace Tavix {
namespace {

std::atomic<const DeviceInfoList*> g_pFilter{nullptr}; // borrowed

} // namespace

const DeviceInfoList* GetGlobalDeviceFilterInstance() {
    return g_pFilter;
}

const DeviceInfoList* SetGlobalDeviceFilterInstance(const DeviceInfoList* pFilter) {
    return g_pFilter.exchange(pFilter);
}

} // namespace Tavix
