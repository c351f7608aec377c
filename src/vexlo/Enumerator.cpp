// Finds USB3 Vision cameras.
#include "vexlo/Enumerator.h"

#include "core/AtOnce.h"
#include "vexlo/Discovery.h"
#include "vexlo/Library.h"
#include "vexlo/NoThrow.h"

namespace vexlo {
namespace {

VxStatus DescribeAll(const BackendList& backends, std::vector<DeviceDiscoveryInfo>& infos) {
    std::vector<FoundCamera> cameras;
    const VxStatus status = FindCameras(backends, cameras);
    if (status != VX_OK) return status;
    infos.resize(cameras.size());
    // A camera that does not answer takes seconds; those behind it in the list need not wait for it.
    Tavix::AtOnce(cameras.size(), [&](std::size_t i) { Describe(cameras[i], i, infos[i]); });
    WarnOfEqualGuids(infos);
    return VX_OK;
}

VxStatus DescribeAt(const BackendList& backends, const char* path, DeviceDiscoveryInfo& info) {
    std::vector<FoundCamera> cameras;
    const VxStatus status = FindCameras(backends, cameras);
    if (status != VX_OK) return status;
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        if (cameras[i].path != path) continue;
        Describe(cameras[i], i, info);
        return VX_OK;
    }
    return VX_E_NOT_FOUND;
}

} // namespace

VxStatus CEnumerator::Discover(Callee* callee) {
    if (callee == nullptr) return VX_E_INVALID_PARAMETER;
    const auto library = Library::Get();
    if (!library) return VX_E_NOT_INITIALIZED;
    std::vector<DeviceDiscoveryInfo> infos;
    const VxStatus status = NoThrow([&] { return DescribeAll(library->Backends(), infos); });
    if (status != VX_OK) return status;
    for (const DeviceDiscoveryInfo& info : infos) // what the callee throws is its caller's
        if (callee->EnumCallback(&info) != 0) break;
    return VX_OK;
}

VxStatus CEnumerator::DeviceInfoFromPath(const char* path, DeviceDiscoveryInfo& info) {
    if (path == nullptr) return VX_E_INVALID_PARAMETER;
    const auto library = Library::Get();
    if (!library) return VX_E_NOT_INITIALIZED;
    return NoThrow([&] { return DescribeAt(library->Backends(), path, info); });
}

} // namespace vexlo
