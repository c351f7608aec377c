// What chunk data and events cost: attaching an image's chunks, delivering an event message, and the way of an event
// from the moment that the camera makes it to the callback of a node.

#include "support/BenchCamera.h"

#include <GenApi/GenApi.h>
#include <GenApi/NodeCallback.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

bench::BenchCamera& SharedCamera() {
    static bench::BenchCamera camera;
    return camera;
}

GenApi::INodeMap& Features() {
    return *SharedCamera().Device().GetNodeMap();
}

/// An image of 640 x 480 pixels with every chunk that the camera has.
std::vector<std::uint8_t> ImageWithChunks() {
    bench::BenchCamera& camera = SharedCamera();
    camera.Set("Width", "640");
    camera.Set("Height", "480");
    camera.Set("ChunkModeActive", "1");
    GenApi::StringList_t names;
    GenApi::CEnumerationPtr(Features().GetNode("ChunkSelector"))->GetSymbolics(names);
    for (const auto& name : names) {
        camera.Set("ChunkSelector", name.c_str());
        if (GenApi::IsWritable(Features().GetNode("ChunkEnable"))) camera.Set("ChunkEnable", "1");
    }
    Tavix::IStreamGrabber& stream = *camera.Device().GetStreamGrabber(0);
    std::vector<std::uint8_t> image(static_cast<std::size_t>(camera.Integer("PayloadSize", /*ignoreCache=*/true)));
    stream.Open();
    GenApi::CIntegerPtr(stream.GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(std::int64_t(image.size()));
    stream.PrepareGrab();
    const Tavix::StreamBufferHandle handle = stream.RegisterBuffer(image.data(), image.size());
    stream.QueueBuffer(handle);
    camera.Set("AcquisitionStart", "1");
    Tavix::GrabResult result;
    const bool isThere = stream.GetWaitObject().Wait(5000) && stream.RetrieveResult(result) && result.Succeeded();
    camera.Set("AcquisitionStop", "1");
    stream.FinishGrab();
    stream.DeregisterBuffer(handle);
    stream.Close();
    if (!isThere) throw std::runtime_error("no image came");
    return image;
}

const std::vector<std::uint8_t>& SharedImage() {
    static const std::vector<std::uint8_t> image = ImageWithChunks();
    return image;
}

void Attach(benchmark::State& state, Tavix::IChunkParser& parser) {
    const auto& image = SharedImage();
    GenApi::AttachStatistics_t statistics = {};
    for (auto _ : state)
        parser.AttachBuffer(image.data(), static_cast<std::int64_t>(image.size()), &statistics);
    state.counters["chunks"] = statistics.NumChunks;
    state.counters["attached"] = statistics.NumAttachedChunks;
}

void AttachChunks(benchmark::State& state) {
    SharedImage(); // before the parser is made, which the camera does not outlive a stream without
    Tavix::IChunkParser* parser = SharedCamera().Device().CreateChunkParser();
    Attach(state, *parser);
    SharedCamera().Device().DestroyChunkParser(parser);
}
BENCHMARK(AttachChunks)->Unit(benchmark::kMicrosecond);

void AttachChunksToAMapApart(benchmark::State& state) {
    SharedImage();
    Tavix::ISelfReliantChunkParser* parser = SharedCamera().Device().CreateSelfReliantChunkParser();
    Attach(state, *parser);
    parser->Destroy();
}
BENCHMARK(AttachChunksToAMapApart)->Unit(benchmark::kMicrosecond);

/// The camera's test event, from its grabber to a callback.
class TestEvents {
public:
    TestEvents() : m_Device(SharedCamera().Device()), m_Grabber(*m_Device.GetEventGrabber()) {
        m_Grabber.Open();
        m_Adapter = m_Device.CreateEventAdapter();
        m_Ask = dynamic_cast<GenApi::IInteger*>(m_Grabber.GetNodeMap()->GetNode("GenerateNumTestEvents_Value"));
        m_Callback = GenApi::Register(Features().GetNode("EventTestTimestamp"), [this](GenApi::INode*) {
            heard = Clock::now();
            ++count;
        });
    }
    ~TestEvents() {
        GenApi::Deregister(m_Callback);
        m_Device.DestroyEventAdapter(m_Adapter);
        m_Grabber.Close();
    }
    /// Lets the camera make one event.
    void Ask() { m_Ask->SetValue(1); }
    /// Waits for an event and delivers it.
    void Take() {
        while (!m_Grabber.RetrieveEvent(message)) {
            if (!m_Grabber.GetWaitObject().Wait(5000)) throw std::runtime_error("no event came");
        }
        Deliver();
    }
    void Deliver() { m_Adapter->DeliverMessage(message.Buffer(), Tavix::EventResult::kBufferSize); }
    std::int64_t Timestamp() const {
        std::int64_t nanoseconds = 0;
        std::memcpy(&nanoseconds, message.Buffer() + 16, sizeof nanoseconds);
        return nanoseconds;
    }

    Tavix::EventResult message;
    Clock::time_point heard;
    std::uint64_t count = 0;

private:
    Tavix::ITavixDevice& m_Device;
    Tavix::IEventGrabber& m_Grabber;
    Tavix::IEventAdapter* m_Adapter;
    GenApi::IInteger* m_Ask;
    GenApi::CallbackHandleType m_Callback;
};

/// The time at which the camera's clock, which runs as ours does, showed 0. Of many readings the fastest is the one
/// that knows best.
Clock::time_point StartOfCameraClock() {
    Clock::duration best = std::chrono::hours(1);
    Clock::time_point start;
    for (int i = 0; i < 300; ++i) {
        const auto before = Clock::now();
        SharedCamera().Set("TimestampLatch", "1");
        const auto width = Clock::now() - before;
        if (width >= best) continue;
        best = width;
        const std::int64_t shown = SharedCamera().Integer("TimestampLatchValue", /*ignoreCache=*/true);
        start = before + width / 2 - std::chrono::nanoseconds(shown);
    }
    return start;
}

void DeliverEvent(benchmark::State& state) {
    TestEvents events;
    events.Ask();
    events.Take();
    for (auto _ : state)
        events.Deliver();
    if (events.count != static_cast<std::uint64_t>(state.iterations()) + 1)
        state.SkipWithError("callbacks are missing");
}
BENCHMARK(DeliverEvent)->Unit(benchmark::kMicrosecond);

/// The application waits for events on a thread of its own, and is there before the event is.
void EventFromCameraToCallback(benchmark::State& state) {
    TestEvents events;
    const auto start = StartOfCameraClock();
    std::vector<double> microseconds;
    for (auto _ : state) {
        std::thread application([&events] { events.Take(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        events.Ask();
        application.join();
        const auto way = events.heard - (start + std::chrono::nanoseconds(events.Timestamp()));
        microseconds.push_back(std::chrono::duration<double, std::micro>(way).count());
        state.SetIterationTime(microseconds.back() * 1e-6);
    }
    std::sort(microseconds.begin(), microseconds.end());
    state.counters["median_us"] = microseconds[microseconds.size() / 2];
    state.counters["p99_us"] = microseconds[microseconds.size() * 99 / 100];
}
BENCHMARK(EventFromCameraToCallback)->Unit(benchmark::kMicrosecond)->UseManualTime()->Iterations(2000);

} // namespace

int main(int argc, char** argv) {
    bench::UseVirtualCameras(1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
