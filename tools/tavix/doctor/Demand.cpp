#include "Demand.h"

#include "Error.h"
#include "cameras/CameraChoice.h"
#include "output/Text.h"

#include "core/AtOnce.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include <GenApi/GenApi.h>
#include <tavix/StreamMemory.h>
#include <tavix/Tavix.h>

namespace tool {
namespace {

constexpr std::uint64_t kFewestBytesInFlight = 8u << 20; // that a stream keeps queued, whatever the image's size

std::uint64_t Integer(GenApi::INodeMap* map, const char* name) {
    GenApi::CIntegerPtr node(map ? map->GetNode(name) : nullptr);
    if (!node || !GenApi::IsReadable(node->GetAccessMode())) return 0;
    return static_cast<std::uint64_t>(std::max<std::int64_t>(0, node->GetValue()));
}

double Rate(GenApi::INodeMap& features) {
    for (const char* name : {"ResultingFrameRate", "AcquisitionResultingFrameRate", "AcquisitionFrameRate"}) {
        GenApi::CFloatPtr node(features.GetNode(name));
        if (node && GenApi::IsReadable(node->GetAccessMode())) return std::max(0.0, node->GetValue());
    }
    return 0;
}

/// What the camera is set up to send, or may send at most.
std::uint64_t BytesPerSecond(GenApi::INodeMap& features, std::uint64_t payload) {
    const auto wanted = static_cast<std::uint64_t>(Rate(features) * static_cast<double>(payload));
    GenApi::CEnumerationPtr mode(features.GetNode("DeviceLinkThroughputLimitMode"));
    const bool isOff = mode && GenApi::IsReadable(mode->GetAccessMode()) && Text(mode->ToString()) == "Off";
    const std::uint64_t limit = isOff ? 0 : Integer(&features, "DeviceLinkThroughputLimit");
    if (limit == 0 || wanted == 0) return std::max(limit, wanted);
    return std::min(limit, wanted);
}

/// Two images or 8 MiB, whichever is more, as long as that many transfers may be queued.
std::uint64_t TransferMemory(GenApi::INodeMap* stream, std::uint64_t payload) {
    const std::uint64_t wanted = std::max(2 * payload, kFewestBytesInFlight);
    const std::uint64_t most = Integer(stream, "NumMaxQueuedUrbs") * Integer(stream, "MaxTransferSize");
    return most == 0 ? wanted : std::min(wanted, most);
}

/// The kernel's name of the port in "libusb:2-1.4#0".
std::string PortOf(const std::string& path) {
    const std::string kBackend = "libusb:";
    if (path.rfind(kBackend, 0) != 0) return {};
    return path.substr(kBackend.size(), path.rfind('#') - kBackend.size());
}

CameraDemand Ask(const Tavix::CameraInfo& info, const std::string& name) {
    CameraDemand demand;
    demand.name = name;
    demand.path = info.path;
    demand.port = PortOf(demand.path);
    try {
        const Tavix::Camera camera = Tavix::Camera::Open(info);
        demand.payload = Integer(&camera.Nodes(), "PayloadSize");
        demand.bytesPerSecond = BytesPerSecond(camera.Nodes(), demand.payload);
        Tavix::IStreamGrabber* stream = camera.Device().GetStreamGrabber(0);
        if (stream) {
            stream->Open();
            demand.transferMemory = TransferMemory(stream->GetNodeMap(), demand.payload);
            auto* const mapper = dynamic_cast<Tavix::IStreamMemory*>(stream);
            if (mapper && demand.payload != 0 && !demand.port.empty())
                demand.mappedBuffers = MappedBuffers(*mapper, demand.payload);
            stream->Close();
        }
    } catch (const std::exception& e) {
        demand.failure = Reason(e);
    }
    return demand;
}

} // namespace

unsigned int MappedBuffers(Tavix::IStreamMemory& mapper, std::uint64_t payload) {
    std::vector<std::shared_ptr<void>> buffers;
    while (buffers.size() < kUsualBuffers) {
        std::shared_ptr<void> buffer = mapper.AllocateBuffer(payload);
        if (!buffer) break;
        buffers.push_back(std::move(buffer));
    }
    return static_cast<unsigned int>(buffers.size());
}

std::vector<CameraDemand> AskCameras() {
    std::vector<CameraDemand> demands;
    try {
        const std::vector<Tavix::CameraInfo> cameras = FindCameras();
        demands.resize(cameras.size());
        Tavix::AtOnce(cameras.size(), [&](std::size_t number) {
            demands[number] = Ask(cameras[number], DistinctName(cameras[number], cameras));
        });
    } catch (const std::exception& e) { // no bus can be asked at all; the other checks may say why
        CameraDemand none;
        none.name = "cameras";
        none.failure = "cannot be looked for: " + Reason(e);
        demands.push_back(none);
    }
    return demands;
}

} // namespace tool
