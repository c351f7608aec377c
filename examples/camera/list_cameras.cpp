// Lists the cameras, and tells of those that come and go until Enter is pressed.
#include <cstdio>

#include <tavix/camera/Camera.h>

int main() {
    for (const Tavix::CameraInfo& info : Tavix::Cameras()) {
        const bool isFree = info.Access() == Tavix::Accessibility::Free;
        std::printf("%zu %s %s, GUID %s%s\n", info.number, info.model.c_str(), info.serial.c_str(), info.guid.c_str(),
                    isFree ? "" : ", not to be had");
    }
    Tavix::CameraWatch watch([](const Tavix::CameraInfo& info, bool arrived) {
        std::printf("%s %s\n", info.friendlyName.c_str(), arrived ? "is here" : "has gone");
    });
    std::getchar();
}
