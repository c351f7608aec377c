#include "StreamGrab.h"

#include <GenApi/GenApi.h>

#include <chrono>
#include <cstring>
#include <numeric>

namespace bench {
namespace {

constexpr std::int64_t kCopiedByteCount = 0xB00; // of the stream grabber's port
constexpr std::int64_t kFigures = 0x10B000;      // of the virtual camera: how its first stream is served

struct Figures {
    std::uint64_t blocks, lastBlock, waited, longest;
    std::uint32_t gaps[32];
};
static_assert(sizeof(Figures) == 0xA0);

double Seconds(std::uint64_t nanoseconds) {
    return static_cast<double>(nanoseconds) * 1e-9;
}

} // namespace

double Waits::Gap(double part) const {
    const double all = std::accumulate(gaps.begin(), gaps.end(), 0.0);
    double seen = 0;
    for (std::size_t i = 0; i < gaps.size(); ++i) {
        seen += gaps[i];
        if (seen != 0 && seen >= all * part) return Seconds(std::uint64_t{2} << i);
    }
    return 0;
}

void Waits::Add(const Waits& other) {
    blocks += other.blocks;
    seconds += other.seconds;
    for (std::size_t i = 0; i < gaps.size(); ++i)
        gaps[i] += other.gaps[i];
}

Waits operator-(const Waits& after, const Waits& before) {
    Waits between = after;
    between.blocks -= before.blocks;
    between.seconds -= before.seconds;
    for (std::size_t i = 0; i < between.gaps.size(); ++i)
        between.gaps[i] -= before.gaps[i];
    return between;
}

StreamGrab::StreamGrab(BenchCamera& camera)
    : m_Camera(camera), m_Size(static_cast<std::size_t>(camera.Integer("PayloadSize"))),
      m_Grabber(*camera.Device().GetStreamGrabber(0)) {
    m_Grabber.Open();
    SetParameter("MaxNumBuffer", kBuffers);
    SetParameter("MaxBufferSize", static_cast<std::int64_t>(m_Size));
    m_Grabber.PrepareGrab();
    for (unsigned int i = 0; i < kBuffers; ++i) {
        m_Memory.emplace_back(m_Size);
        m_Handles.push_back(m_Grabber.RegisterBuffer(m_Memory.back().data(), m_Size));
        m_Grabber.QueueBuffer(m_Handles.back());
    }
    m_Camera.Set("AcquisitionStart", "1");
}

StreamGrab::~StreamGrab() {
    m_Camera.Set("AcquisitionStop", "1");
    m_Grabber.CancelGrab();
    Tavix::GrabResult result;
    while (m_Grabber.RetrieveResult(result)) {
    }
    m_Grabber.FinishGrab();
    for (auto handle : m_Handles)
        m_Grabber.DeregisterBuffer(handle);
    m_Grabber.Close();
}

void StreamGrab::SetParameter(const char* name, std::int64_t value) {
    GenApi::CIntegerPtr(m_Grabber.GetNodeMap()->GetNode(name))->SetValue(value);
}

bool StreamGrab::Await() {
    const bool came = m_Grabber.GetWaitObject().Wait(5000);
    lost += came ? 0 : 1;
    return came;
}

void StreamGrab::Take(const Tavix::GrabResult& result) {
    lost += result.Succeeded() ? 0 : 1;
    if (result.Succeeded()) {
        skipped += result.GetBlockID() - m_NextBlock;
        m_NextBlock = result.GetBlockID() + 1;
    }
    m_Grabber.QueueBuffer(result.Handle());
}

void StreamGrab::Frames(unsigned int count) {
    Tavix::GrabResult result;
    for (unsigned int done = 0; done < count;) {
        if (!Await()) return;
        while (done < count && m_Grabber.RetrieveResult(result)) {
            Take(result);
            ++done;
        }
    }
}

std::vector<double> StreamGrab::Latencies(unsigned int count) {
    Frames(kBuffers); // what waited for this call says nothing
    std::vector<double> latencies;
    GenApi::CPortPtr camera(m_Camera.Device().GetNodeMap()->GetNode("Device"));
    Tavix::GrabResult result;
    for (unsigned int i = 0; i < count; ++i) {
        if (!Await()) break;
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        if (!m_Grabber.RetrieveResult(result)) continue;
        std::uint64_t last[2] = {};
        camera->Read(last, kFigures, sizeof last);
        const auto returned = static_cast<std::uint64_t>(std::chrono::nanoseconds(now).count());
        Take(result);
        const bool isLast = last[0] == m_NextBlock - skipped; // the camera counts what it sends
        if (isLast) latencies.push_back(Seconds(returned - last[1]));
    }
    return latencies;
}

Waits StreamGrab::WaitsIn(unsigned int count) {
    Frames(kBuffers);
    const Waits before = CountWaits();
    Frames(count);
    return CountWaits() - before;
}

Waits StreamGrab::CountWaits() {
    Figures figures{};
    GenApi::CPortPtr(m_Camera.Device().GetNodeMap()->GetNode("Device"))->Read(&figures, kFigures, sizeof figures);
    Waits waits;
    waits.blocks = figures.blocks;
    waits.seconds = Seconds(figures.waited);
    std::memcpy(waits.gaps.data(), figures.gaps, sizeof figures.gaps);
    return waits;
}

std::uint64_t StreamGrab::CopiedBytes() {
    std::uint64_t bytes = 0;
    GenApi::CPortPtr port(m_Grabber.GetNodeMap()->GetNode("StreamGrabberPort"));
    port->Read(&bytes, kCopiedByteCount, sizeof bytes);
    return bytes;
}

} // namespace bench
