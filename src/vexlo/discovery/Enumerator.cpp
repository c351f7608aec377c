// Finds USB3 Vision cameras.
#include "vexlo/Enumerator.h"

#include "core/AtOnce.h"
#include "vexlo/Library.h"
#include "vexlo/NoThrow.h"
#include "vexlo/control/Deadline.h"
#include "vexlo/device/DeviceSession.h"
#include "vexlo/discovery/Discovery.h"

namespace vexlo {
namespace {

constexpr Clock::Duration kQuick{50};

/// What one thread does: the cameras' places in the list.
using Share = std::vector<std::size_t>;

/// A camera that does not answer takes seconds, and the others need not wait for it. Those that were quick the last
/// time share a thread, since whoever waits for cameras lists them often.
std::vector<Share> PartWork(const std::vector<FoundCamera>& cameras, const CameraNotes& notes) {
    std::vector<Share> shares(1);
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        if (notes.IsQuick(cameras[i].path)) {
            shares.front().push_back(i);
        } else {
            shares.push_back({i});
        }
    }
    if (shares.front().empty()) shares.erase(shares.begin());
    return shares;
}

void DescribeNoting(const FoundCamera& camera, std::size_t index, CameraNotes& notes, DeviceDiscoveryInfo& info) {
    const Clock::TimePoint start = CurrentClock().Now();
    Describe(camera, index, info);
    notes.NoteQuick(camera.path, CurrentClock().Now() - start <= kQuick);
}

VxStatus DescribeAll(Library& library, std::vector<DeviceDiscoveryInfo>& infos) {
    std::vector<FoundCamera> cameras;
    const VxStatus status = FindCameras(library.Backends(), cameras);
    if (status != VX_OK) return status;
    infos.resize(cameras.size());
    const std::vector<Share> shares = PartWork(cameras, library.Notes());
    Tavix::AtOnce(shares.size(), [&](std::size_t number) {
        for (const std::size_t i : shares[number])
            DescribeNoting(cameras[i], i, library.Notes(), infos[i]);
    });
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

VxStatus ClaimForAMoment(const BackendList& backends, const DeviceDiscoveryInfo& info) {
    FoundCamera camera;
    const VxStatus status = FindCamera(backends, info, camera);
    return status == VX_OK ? DeviceSession::CheckAccess(camera) : status;
}

} // namespace

VxStatus CEnumerator::Discover(Callee* callee) {
    if (callee == nullptr) return VX_E_INVALID_PARAMETER;
    const auto library = Library::Get();
    if (!library) return VX_E_NOT_INITIALIZED;
    std::vector<DeviceDiscoveryInfo> infos;
    const VxStatus status = NoThrow([&] { return DescribeAll(*library, infos); });
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

VxStatus CEnumerator::CheckAccess(const DeviceDiscoveryInfo& info) {
    const auto library = Library::Get();
    if (!library) return VX_E_NOT_INITIALIZED;
    return NoThrow([&] { return ClaimForAMoment(library->Backends(), info); });
}

} // namespace vexlo
