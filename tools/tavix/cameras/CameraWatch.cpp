#include "cameras/CameraWatch.h"

#include <algorithm>

namespace tool {
namespace {

bool Holds(const std::vector<Tavix::CameraInfo>& cameras, const Tavix::CameraInfo& info) {
    return std::any_of(cameras.begin(), cameras.end(), [&](const Tavix::CameraInfo& other) {
        return other.path == info.path && other.serial == info.serial;
    });
}

} // namespace

std::vector<CameraChange> CameraWatch::Update(const std::vector<Tavix::CameraInfo>& cameras) {
    std::vector<CameraChange> changes;
    for (const auto& info : m_Known) {
        if (!Holds(cameras, info)) changes.push_back({/*isArrival=*/false, info});
    }
    for (const auto& info : cameras) {
        if (!Holds(m_Known, info)) changes.push_back({/*isArrival=*/true, info});
    }
    m_Known = cameras;
    return changes;
}

} // namespace tool
