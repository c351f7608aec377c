// The camera is unplugged in the middle of a grab and comes back later.
#include "Session.h"

namespace {

/// Grabs until `wanted` images are there or the camera has gone; returns how many came.
int GrabUntilRemoved(const Tavix::CDeviceInfo& info, int wanted) {
    example::Camera camera(info);
    // Signalled from a thread of the library; nothing else may be done there with the camera than to take note.
    const Tavix::WaitObjectEx removed = Tavix::WaitObjectEx::Create(/*manualReset=*/true);
    auto onRemoval = Tavix::MakeCallback<Tavix::ITavixDevice*>([removed](Tavix::ITavixDevice*) { removed.Signal(); });
    camera->RegisterRemovalCallback(onRemoval);

    example::Stream stream(camera);
    Tavix::WaitObjects either;
    either.Add(removed); // the lowest index wins when both are signalled
    either.Add(stream->GetWaitObject());
    camera.Execute("AcquisitionStart");
    int good = 0;
    for (unsigned int which = 0;
         good < wanted && !example::Interrupted() && either.WaitForAny(5000, &which) && which != 0;) {
        Tavix::GrabResult image;
        if (!stream->RetrieveResult(image)) continue;
        if (image.Succeeded()) {
            ++good;
            stream->QueueBuffer(image.Handle());
        } else { // which is how an unplug shows first; the stream takes no more buffers then
            example::Try([&] { stream->QueueBuffer(image.Handle()); });
        }
    }
    if (!removed.Wait(0)) example::Try([&] { camera.Execute("AcquisitionStop"); }); // it may go in this moment, too
    return good;
}

/// Asks the bus until the camera is back; false after `attempts` tenths of a second.
bool WaitForReturn(const Tavix::CDeviceInfo& info, int attempts) {
    Tavix::DeviceInfoList filter, found;
    filter.push_back(info);
    while (attempts-- > 0 && !example::Interrupted() &&
           example::Camera::Factory().EnumerateDevices(found, filter) == 0) {
        Tavix::WaitObject::Sleep(100);
    }
    return !found.empty();
}

int Main() {
    Tavix::DeviceInfoList cameras;
    if (example::Camera::Factory().EnumerateDevices(cameras) == 0) return 1;
    Tavix::CDeviceInfo sameCamera; // whatever port it comes back at
    sameCamera.SetSerialNumber(cameras.front().GetSerialNumber());

    std::printf("%d images, then the camera was unplugged\n", GrabUntilRemoved(sameCamera, 1000));
    if (!WaitForReturn(sameCamera, 100)) return 1;
    const int images = GrabUntilRemoved(sameCamera, 3);
    std::printf("the camera is back: %d images more\n", images);
    return images == 3 ? 0 : 1;
}

} // namespace

int main() {
    return example::Run(Main);
}
