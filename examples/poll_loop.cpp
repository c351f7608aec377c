// The wait object of a stream in an event loop of the application's own, beside its other descriptors.
#include "Session.h"

#include <cstdint>
#include <poll.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace {

int Main() {
    example::Camera camera;
    example::Stream stream(camera);
    const int timer = timerfd_create(CLOCK_MONOTONIC, 0);
    const itimerspec period{{0, 100000000}, {0, 100000000}}; // ten times a second
    timerfd_settime(timer, 0, &period, nullptr);

    camera.Execute("AcquisitionStart");
    int images = 0, ticks = 0;
    pollfd waits[] = {{stream->GetWaitObject().GetFd(), POLLIN, 0}, {timer, POLLIN, 0}};
    while ((images < 10 || ticks < 2) && !example::Interrupted() && poll(waits, 2, 5000) > 0) {
        // Readable means signalled. Wait(0) takes the signal; the descriptor itself is never read.
        if ((waits[0].revents & POLLIN) && stream->GetWaitObject().Wait(0)) {
            for (Tavix::GrabResult image; stream->RetrieveResult(image);) {
                if (image.Succeeded()) ++images;
                stream->QueueBuffer(image.Handle());
            }
        }
        std::uint64_t expired = 0;
        if ((waits[1].revents & POLLIN) && read(timer, &expired, sizeof expired) > 0) {
            std::printf("tick %d: %d images so far\n", ++ticks, images);
        }
    }
    camera.Execute("AcquisitionStop");
    close(timer);
    return images >= 10 && ticks >= 2 ? 0 : 1;
}

} // namespace

int main() {
    return example::Run(Main);
}
