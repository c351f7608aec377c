// The camera that the machine has: whatever a test asks for, this one it gets.
#include "integration/support/CamerasOnBus.h"

namespace integration {
namespace {

class PluggedInCamera final : public CamerasOnBus {
public:
    virtualcam::Device* Find(std::size_t) override { return nullptr; }
};

} // namespace

std::unique_ptr<CamerasOnBus> PlugIn(const std::string&) {
    return std::make_unique<PluggedInCamera>();
}

} // namespace integration
