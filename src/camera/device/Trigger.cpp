#include "camera/device/Trigger.h"

#include "camera/device/CameraCore.h"
#include "camera/time/Deadline.h"

#include <tavix/camera/Camera.h>

#include <GenApi/INodeMap.h>

#include <algorithm>
#include <thread>

namespace Tavix {
namespace detail {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::microseconds kStep{200};

bool Has(FeatureSource& camera, const char* name) {
    const auto device = camera.Hold();
    return device->Nodes().GetNode(name) != nullptr;
}

bool Is(FeatureSource& camera, const char* name, const char* value) {
    return Has(camera, name) && camera.Make(name).IsReadable() && camera.Make(name).Text() == value;
}

/// The status that tells of the trigger which is selected.
std::string StatusOfTrigger(FeatureSource& camera) {
    const std::string trigger = Has(camera, "TriggerSelector") ? camera.Make("TriggerSelector").Text() : "FrameStart";
    if (trigger == "FrameBurstStart") return "FrameBurstTriggerWait";
    return trigger == "AcquisitionStart" ? "AcquisitionTriggerWait" : "FrameTriggerWait";
}

/// Whether the camera tells that it waits for a trigger.
bool TellsReadiness(FeatureSource& camera) {
    if (!Has(camera, "AcquisitionStatus") || !Has(camera, "AcquisitionStatusSelector")) return false;
    Feature selector = camera.Make("AcquisitionStatusSelector");
    const std::string wanted = StatusOfTrigger(camera);
    if (selector.Text() == wanted) return true;
    const std::vector<std::string> entries = selector.Entries();
    if (std::find(entries.begin(), entries.end(), wanted) == entries.end()) return false;
    selector = wanted;
    return true;
}

/// By the rate that the camera states; 0 when it states none.
std::chrono::nanoseconds StatedPeriod(FeatureSource& camera) {
    for (const char* name : {"ResultingFrameRate", "AcquisitionResultingFrameRate", "AcquisitionFrameRate"}) {
        if (!Has(camera, name) || !camera.Make(name).IsReadable()) continue;
        const double rate = camera.Make(name).Float();
        if (rate > 0) return std::chrono::nanoseconds(static_cast<std::int64_t>(std::min(1e9 / rate, 1e18)));
    }
    return {};
}

/// Closing the camera ends the wait.
bool AwaitTurn(FeatureSource& camera, Clock::time_point turn, const Deadline& deadline) {
    constexpr std::chrono::milliseconds kGlance{50};
    const Clock::time_point end = deadline ? std::min(turn, *deadline) : turn;
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
        camera.Hold();
        std::this_thread::sleep_until(std::min(end, now + kGlance));
    }
    return end == turn;
}

bool AwaitReadiness(FeatureSource& camera, const Deadline& deadline) {
    const Feature status = camera.Make("AcquisitionStatus");
    while (!status.Bool()) {
        if (IsOver(deadline)) return false;
        std::this_thread::sleep_for(kStep);
    }
    return true;
}

} // namespace

bool WaitsForSoftware(FeatureSource& camera) {
    return Is(camera, "TriggerMode", "On") && Is(camera, "TriggerSource", "Software");
}

bool AwaitTrigger(FeatureSource& camera, const TriggerClock& clock, std::chrono::milliseconds timeout) {
    if (!WaitsForSoftware(camera)) {
        throw AccessError("the camera takes no trigger by software now; set TriggerMode to On and TriggerSource to "
                          "Software",
                          "TriggerSoftware");
    }
    const Deadline deadline = DeadlineIn(timeout);
    return TellsReadiness(camera) ? AwaitReadiness(camera, deadline)
                                  : AwaitTurn(camera, clock.Last() + StatedPeriod(camera), deadline);
}

void ThrowNotReady(std::chrono::milliseconds timeout) {
    throw Timeout("the camera was not ready for a trigger within " + std::to_string(timeout.count()) + " ms",
                  "TriggerSoftware");
}

void FireTrigger(FeatureSource& camera, TriggerClock& clock) {
    camera.Make("TriggerSoftware").Start();
    clock.NoteTrigger();
}

void AwaitFired(FeatureSource& camera) {
    const Feature trigger = camera.Make("TriggerSoftware");
    if (trigger.AwaitDone(kCommandTimeout)) return;
    throw Timeout("the trigger was given and is not done after " + std::to_string(kCommandTimeout.count()) + " ms",
                  trigger.Name());
}

} // namespace detail

void Camera::Trigger(std::chrono::milliseconds timeout) {
    if (!AwaitTrigger(timeout)) detail::ThrowNotReady(timeout);
    FireTrigger();
    detail::AwaitFired(*m_Core);
}

bool Camera::AwaitTrigger(std::chrono::milliseconds timeout) const {
    return detail::AwaitTrigger(Checked(), m_Core->GetTriggerClock(), timeout);
}

void Camera::FireTrigger() {
    detail::FireTrigger(Checked(), m_Core->GetTriggerClock());
}

Image Camera::GrabOne(std::chrono::milliseconds timeout) {
    const detail::Deadline deadline = detail::DeadlineIn(timeout);
    GrabOptions options;
    options.count = 1;
    options.buffers = 2;
    const bool isTriggered = detail::WaitsForSoftware(Checked());
    ImageStream stream = Grab(options);
    if (isTriggered) Trigger(timeout);
    Image image = stream.Wait(detail::TimeLeft(deadline));
    if (image) return image;
    m_Core->Hold(); // closed meanwhile, that is the reason
    throw Timeout("no image came within " + std::to_string(timeout.count()) + " ms");
}

} // namespace Tavix
