// The attempts to open a camera follow each other at once. What lets a thread pause is replaced, so that the test sees
// it.

#include "tavixusb/support/DeviceFixture.h"
#include "tavixusb/support/TransportLayerTest.h"

#include <ctime>
#include <poll.h>
#include <unistd.h>

namespace {

thread_local int t_pauses = 0;

} // namespace

extern "C" {
int nanosleep(const timespec*, timespec*) {
    ++t_pauses;
    return 0;
}
int clock_nanosleep(clockid_t, int, const timespec*, timespec*) {
    ++t_pauses;
    return 0;
}
int usleep(useconds_t) {
    ++t_pauses;
    return 0;
}
unsigned int sleep(unsigned int) {
    ++t_pauses;
    return 0;
}
}

namespace {

const std::vector<vexlo::VxStatus> kFourFailures{kFailure, kFailure, kFailure, kFailure};

class OpenAttempts : public DeviceFixture {};

TEST_F(OpenAttempts, OfADeviceFollowEachOtherWithoutAPause) {
    bus.Script("Device.Open", kFourFailures);
    t_pauses = 0;
    Open();
    EXPECT_EQ(5, bus.Count("Device.Open"));
    EXPECT_EQ(0, t_pauses);
}

class DownloadAttempts : public TransportLayerTest {};

TEST_F(DownloadAttempts, FollowEachOtherWithoutAPause) {
    bus.Script("Device.Open", kFourFailures);
    bus.xmlText = CameraXml();
    t_pauses = 0;
    GenICam::gcstring name, xml;
    tl->GetXmlFileProvider()->ProvideXmlFile(MakeCameraInfo(), name, xml);
    EXPECT_EQ(5, bus.Count("Device.Open"));
    EXPECT_EQ(0, t_pauses);
}

} // namespace
