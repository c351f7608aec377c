// All cameras at once in one thread: each stream has a wait object, and the thread waits for any of them.
#include "Session.h"

#include <memory>

namespace {

struct Source {
    explicit Source(const Tavix::CDeviceInfo& info) : camera(info), stream(camera) {}
    example::Camera camera;
    example::Stream stream; // dies before its camera
    int images = 0, failed = 0;
};

/// Takes what is there and gives the buffers back.
void Drain(Source& source) {
    for (Tavix::GrabResult image; source.stream->RetrieveResult(image);) {
        ++(image.Succeeded() ? source.images : source.failed);
        source.stream->QueueBuffer(image.Handle());
    }
}

bool HaveAll(const std::vector<std::unique_ptr<Source>>& sources, int images) {
    for (const auto& source : sources) {
        if (source->images < images) return false;
    }
    return true;
}

int Main() {
    Tavix::DeviceInfoList cameras;
    example::Camera::Factory().EnumerateDevices(cameras);
    std::vector<std::unique_ptr<Source>> sources;
    Tavix::WaitObjects any;
    for (const auto& info : cameras) {
        sources.push_back(std::make_unique<Source>(info));
        any.Add(sources.back()->stream->GetWaitObject());
    }
    for (const auto& source : sources)
        source->camera.Execute("AcquisitionStart");
    unsigned int which = 0;
    while (!HaveAll(sources, 20) && !example::Interrupted() && any.WaitForAny(5000, &which))
        Drain(*sources[which]);
    for (const auto& source : sources) {
        source->camera.Execute("AcquisitionStop");
        std::printf("%s: %d images, %d failed\n", source->camera->GetDeviceInfo().GetFriendlyName().c_str(),
                    source->images, source->failed);
    }
    return !sources.empty() && HaveAll(sources, 20) ? 0 : 1;
}

} // namespace

int main() {
    return example::Run(Main);
}
