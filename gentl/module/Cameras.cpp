#include "gentl/module/Cameras.h"

#include "gentl/Failure.h"
#include "gentl/module/CameraTurns.h"

#include "u3v/Constants.h"

#include <array>
#include <chrono>
#include <cstring>
#include <map>
#include <thread>

namespace gentl {
namespace {

class Collector final : public vexlo::CEnumerator::Callee {
public:
    int EnumCallback(const vexlo::DeviceDiscoveryInfo* info) override {
        FoundCamera camera;
        camera.record = *info;
        m_Cameras.push_back(std::move(camera));
        return 0;
    }
    std::vector<FoundCamera>& Cameras() { return m_Cameras; }

private:
    std::vector<FoundCamera> m_Cameras;
};

using Clock = std::chrono::steady_clock;

// For which a camera that is taken may only just be looked at by another process: who asks the bus has it for less than
// a millisecond, who asks for the version for some dozens.
constexpr std::chrono::milliseconds kGlance{5};
constexpr std::chrono::milliseconds kLook{250};
constexpr std::chrono::milliseconds kPause{1};

template<class Attempt>
vexlo::VxStatus TryWhileBusy(std::chrono::milliseconds limit, Attempt attempt) {
    const Clock::time_point end = Clock::now() + limit;
    for (;;) {
        const vexlo::VxStatus status = attempt();
        if (status != vexlo::VX_E_BUSY || Clock::now() >= end) return status;
        std::this_thread::sleep_for(kPause);
    }
}

std::string ReadText(vexlo::CVxDevice& device, unsigned long address, const char* failure) {
    std::array<char, u3v::abrm::kStringSize> text{};
    unsigned long count = text.size();
    Check(device.ReadMem(text.data(), address, &count), failure);
    return std::string(text.data(), ::strnlen(text.data(), text.size()));
}

const char* Preferred(const char* preferred, const char* fallback) {
    return preferred[0] != '\0' ? preferred : fallback;
}

} // namespace

std::string FoundCamera::Vendor() const {
    return Preferred(record.VendorName, record.FallbackVendorName);
}

std::string FoundCamera::Model() const {
    return Preferred(record.ModelName, record.FallbackModelName);
}

std::string FoundCamera::Serial() const {
    return Preferred(record.SerialNumber, record.FallbackSerialNumber);
}

std::string FoundCamera::UserName() const {
    return record.UserDefinedName;
}

void FoundCamera::Rename(const std::string& userName) {
    std::snprintf(record.UserDefinedName, sizeof record.UserDefinedName, "%s", userName.c_str());
}

std::string FoundCamera::Path() const {
    return record.DevicePath;
}

std::string FoundCamera::DisplayName() const {
    const std::string name = UserName(), serial = Serial();
    return (name.find_first_not_of(" \t") == name.npos ? Model() : name) + (serial.empty() ? "" : " (" + serial + ")");
}

std::vector<FoundCamera> FindCameras() {
    Collector collector;
    Check(vexlo::CEnumerator::Discover(&collector), "Looking for cameras failed");
    std::vector<FoundCamera> cameras = std::move(collector.Cameras());
    std::map<std::string, int> counts;
    for (const FoundCamera& camera : cameras)
        ++counts[camera.record.DeviceGUID];
    for (FoundCamera& camera : cameras) {
        const std::string guid = camera.record.DeviceGUID;
        camera.id = guid.empty() || counts[guid] > 1 ? camera.Path() : guid;
        camera.controller = ControllerOf(camera.Path());
    }
    return cameras;
}

int32_t AccessStatusOf(const FoundCamera& camera) {
    const Question question(camera.Path());
    if (!question.IsAllowed()) return DEVICE_ACCESS_STATUS_BUSY;
    switch (TryWhileBusy(kGlance, [&] { return vexlo::CEnumerator::CheckAccess(camera.record); })) {
    case vexlo::VX_OK:
        return DEVICE_ACCESS_STATUS_READWRITE;
    case vexlo::VX_E_BUSY:
        return DEVICE_ACCESS_STATUS_BUSY;
    default:
        return DEVICE_ACCESS_STATUS_NOACCESS;
    }
}

vexlo::VxStatus OpenCamera(vexlo::CVxDevice& device, const FoundCamera& camera) {
    return TryWhileBusy(kLook, [&] { return device.Open(camera.record); });
}

std::string ReadUserName(vexlo::CVxDevice& device) {
    return ReadText(device, u3v::abrm::kUserDefinedName, "The camera's name cannot be read");
}

std::string ReadVersion(vexlo::CVxDevice& device) {
    return ReadText(device, u3v::abrm::kDeviceVersion, "The camera's version cannot be read");
}

std::string VersionOf(const FoundCamera& camera) {
    std::array<char, u3v::abrm::kStringSize + 1> text{};
    const Question question(camera.Path());
    if (!question.IsAllowed() ||
        vexlo::CEnumerator::DeviceVersion(camera.record, text.data(), text.size()) != vexlo::VX_OK)
        Fail(GC_ERR_NOT_AVAILABLE, "only the camera itself knows its version, and it cannot be opened now");
    return text.data();
}

} // namespace gentl
