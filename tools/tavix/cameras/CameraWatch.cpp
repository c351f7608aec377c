#include "cameras/CameraWatch.h"

#include <algorithm>

namespace tool {
namespace {

template<class List>
bool Holds(const List& cameras, const Tavix::CDeviceInfo& info) {
    return std::any_of(cameras.begin(), cameras.end(), [&](const Tavix::CDeviceInfo& other) {
        return other.GetFullName() == info.GetFullName() && other.GetSerialNumber() == info.GetSerialNumber();
    });
}

} // namespace

std::vector<CameraChange> CameraWatch::Update(const Tavix::DeviceInfoList& cameras) {
    std::vector<CameraChange> changes;
    for (const auto& info : m_Known) {
        if (!Holds(cameras, info)) changes.push_back({/*isArrival=*/false, info});
    }
    for (const auto& info : cameras) {
        if (!Holds(m_Known, info)) changes.push_back({/*isArrival=*/true, info});
    }
    m_Known.assign(cameras.begin(), cameras.end());
    return changes;
}

} // namespace tool
