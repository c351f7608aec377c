// Finds USB3 Vision cameras.
#include "vexlo/Enumerator.h"

#include "vexlo/Discovery.h"
#include "vexlo/Library.h"

namespace vexlo {

VxStatus CEnumerator::Discover(Callee* callee) {
    if (callee == nullptr) return VX_E_INVALID_PARAMETER;
    const auto library = Library::Get();
    if (!library) return VX_E_NOT_INITIALIZED;
    std::vector<FoundCamera> cameras;
    const VxStatus status = FindCameras(library->Backends(), cameras);
    if (status != VX_OK) return status;
    std::vector<DeviceDiscoveryInfo> infos(cameras.size());
    for (std::size_t i = 0; i < cameras.size(); ++i)
        Describe(cameras[i], i, infos[i]);
    WarnOfEqualGuids(infos);
    for (const DeviceDiscoveryInfo& info : infos)
        if (callee->EnumCallback(&info) != 0) break;
    return VX_OK;
}

VxStatus CEnumerator::DeviceInfoFromPath(const char* path, DeviceDiscoveryInfo& info) {
    if (path == nullptr) return VX_E_INVALID_PARAMETER;
    const auto library = Library::Get();
    if (!library) return VX_E_NOT_INITIALIZED;
    std::vector<FoundCamera> cameras;
    const VxStatus status = FindCameras(library->Backends(), cameras);
    if (status != VX_OK) return status;
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        if (cameras[i].path != path) continue;
        Describe(cameras[i], i, info);
        return VX_OK;
    }
    return VX_E_NOT_FOUND;
}

} // namespace vexlo
