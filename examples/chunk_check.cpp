// Each image brings data about itself, and a checksum over all of it.
#include "Session.h"

namespace {

/// Every chunk that the camera offers; the checksum is one of them.
void EnableChunks(const example::Camera& camera) {
    camera.Set("ChunkModeActive", "1");
    GenApi::CEnumerationPtr selector(camera->GetNodeMap()->GetNode("ChunkSelector"));
    GenApi::CBooleanPtr enable(camera->GetNodeMap()->GetNode("ChunkEnable"));
    GenApi::StringList_t names;
    selector->GetSymbolics(names);
    for (const auto& name : names) {
        selector->FromString(name);
        if (GenApi::IsWritable(enable->GetAccessMode())) enable->SetValue(true);
    }
}

int Main() {
    example::Camera camera;
    EnableChunks(camera); // before the buffers are made: chunks enlarge the payload
    example::Stream stream(camera);
    Tavix::IChunkParser* parser = camera->CreateChunkParser();
    camera.Execute("AcquisitionStart");
    int wrong = 0;
    int images = 0;
    while (images < 5 && !example::Interrupted() && stream->GetWaitObject().Wait(5000)) {
        Tavix::GrabResult image;
        if (!stream->RetrieveResult(image)) continue;
        if (!image.Succeeded()) {
            std::printf("no good image: %s\n", image.GetErrorDescription().c_str());
            stream->QueueBuffer(image.Handle());
            continue;
        }
        // While the buffer is attached, the camera's own node map shows the chunks of this image.
        parser->AttachBuffer(image.Buffer(), static_cast<std::int64_t>(image.GetPayloadSize64()));
        const bool right = parser->HasCRC() && parser->CheckCRC();
        std::printf("image %d: frame %lld, exposed %s us, checksum %s\n", images++, camera.Integer("ChunkFrameID"),
                    GenApi::CValuePtr(camera->GetNodeMap()->GetNode("ChunkExposureTime"))->ToString().c_str(),
                    right ? "right" : "wrong");
        if (!right) ++wrong;
        parser->DetachBuffer();
        stream->QueueBuffer(image.Handle());
    }
    camera.Execute("AcquisitionStop");
    camera->DestroyChunkParser(parser);
    return images == 5 && wrong == 0 ? 0 : 1;
}

} // namespace

int main() {
    return example::Run(Main);
}
