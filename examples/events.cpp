// The camera tells when an exposure has ended, long before the image is there.
#include "Session.h"

#include <GenApi/NodeCallback.h>

namespace {

int Main() {
    int exposures = 0; // outlives the camera, whose nodes know the callback
    example::Camera camera;
    camera.Set("EventSelector", "ExposureEnd");
    camera.Set("EventNotification", "On");

    Tavix::IEventGrabber* events = camera->GetEventGrabber();
    events->Open();
    Tavix::IEventAdapter* adapter = camera->CreateEventAdapter();

    // The callback runs in the thread that delivers the message, so it needs no lock of its own.
    GenApi::INode* frame = camera->GetNodeMap()->GetNode("EventExposureEndFrameID");
    const auto handle = GenApi::Register(frame, [&](GenApi::INode* node) {
        std::printf("exposure of frame %s ended\n", GenApi::CValuePtr(node)->ToString().c_str());
        ++exposures;
    });

    example::Stream stream(camera);
    camera.Execute("AcquisitionStart");
    while (exposures < 3 && !example::Interrupted() && events->GetWaitObject().Wait(5000)) {
        for (Tavix::EventResult event; events->RetrieveEvent(event);) {
            if (event.Succeeded()) adapter->DeliverMessage(event.Buffer(), Tavix::EventResult::kBufferSize);
        }
    }
    camera.Execute("AcquisitionStop");
    GenApi::Deregister(handle);
    camera->DestroyEventAdapter(adapter);
    events->Close();
    return exposures >= 3 ? 0 : 1;
}

} // namespace

int main() {
    return example::Run(Main);
}
