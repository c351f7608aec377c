#include "python/classes/Door.h"

#include "python/Errors.h"

#include <algorithm>
#include <set>
#include <string>

namespace tavixpython {
namespace {

/// All that there are; guarded by the interpreter's lock. Never destroyed, since threads may outlive the program's end.
std::set<const Door*>& Doors() {
    static std::set<const Door*>& doors = *new std::set<const Door*>;
    return doors;
}

} // namespace

Door::Door(std::shared_ptr<Tavix::Camera> opened) : shared(std::move(opened)), camera(*shared) {
    Doors().insert(this);
}

bool Door::IsAnyOpen() {
    return std::any_of(Doors().begin(), Doors().end(), [](const Door* door) { return door->camera.IsOpen(); });
}

Door::~Door() {
    Doors().erase(this);
    if (Unlocked([&] { return camera.IsOpen(); })) WarnOfForgotten("a camera of tavix was not closed");
    const WithoutLock unlocked;
    camera.Close();
}

Tavix::Timeout NotReady(std::chrono::milliseconds time) {
    return Tavix::Timeout("the camera was not ready for a trigger within " + std::to_string(time.count()) + " ms",
                          "TriggerSoftware");
}

void AwaitDoneInSteps(const Tavix::Feature& feature, std::chrono::milliseconds longest) {
    if (WaitInSteps(longest, [&](std::chrono::milliseconds time) { return feature.AwaitDone(time); })) return;
    throw Tavix::Timeout(feature.Name() + " was started and is not done after " + std::to_string(longest.count()) +
                             " ms",
                         feature.Name());
}

} // namespace tavixpython
