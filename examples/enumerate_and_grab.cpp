// Opens the first camera and grabs ten images into buffers of the application's own.
#include <cstdio>
#include <vector>

#include <GenApi/GenApi.h>
#include <tavix/Tavix.h>

int main() try {
    auto& factory = Tavix::CTlFactory::GetInstance();
    Tavix::ITavixDevice* camera = factory.CreateFirstDevice();
    camera->Open();
    GenApi::INodeMap* features = camera->GetNodeMap();
    GenApi::CEnumerationPtr(features->GetNode("PixelFormat"))->FromString("Mono8");
    const auto size = GenApi::CIntegerPtr(features->GetNode("PayloadSize"))->GetValue();
    if (size < 1 || size > 256 << 20) throw RUNTIME_EXCEPTION("%d MiB for an image", static_cast<int>(size >> 20));

    Tavix::IStreamGrabber* stream = camera->GetStreamGrabber(0);
    stream->Open();
    GenApi::CIntegerPtr(stream->GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(size);
    stream->PrepareGrab();
    std::vector<std::vector<unsigned char>> buffers(4);
    std::vector<Tavix::StreamBufferHandle> handles;
    for (auto& buffer : buffers) {
        buffer.resize(static_cast<std::size_t>(size));
        handles.push_back(stream->RegisterBuffer(buffer.data(), buffer.size()));
        stream->QueueBuffer(handles.back());
    }
    GenApi::CCommandPtr(features->GetNode("AcquisitionStart"))->Execute();
    int images = 0;
    while (images < 10 && stream->GetWaitObject().Wait(5000)) {
        Tavix::GrabResult image;
        if (!stream->RetrieveResult(image)) continue;
        std::printf("image %d: %d x %d, %s\n", images++, image.GetSizeX(), image.GetSizeY(),
                    image.Succeeded() ? "good" : image.GetErrorDescription().c_str());
        stream->QueueBuffer(image.Handle());
    }
    GenApi::CCommandPtr(features->GetNode("AcquisitionStop"))->Execute();
    stream->CancelGrab();
    Tavix::GrabResult canceled;
    while (stream->RetrieveResult(canceled))
        continue; // then all buffers are the application's again
    stream->FinishGrab();
    for (auto handle : handles)
        stream->DeregisterBuffer(handle);
    stream->Close();
    camera->Close();
    factory.DestroyDevice(camera);
    return images == 10 ? 0 : 1;
} catch (const GenICam::GenericException& e) {
    std::fprintf(stderr, "%s\n", e.GetDescription());
    return 1; // the library closes what is open when the program ends
}
