// What a frame costs: rate, processor time above the bus and context switches, without a limit on the frame rate, and
// beside it the time that copying the same bytes once would take.

#include "BenchCamera.h"
#include "ThreadTimes.h"

#include <GenApi/GenApi.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Case {
    const char* name;
    const char* width;
    const char* height;
    unsigned int frames;
    unsigned int cameras;
};

/// A grab of one camera over eight buffers. Bound to a thread.
class Grab {
public:
    explicit Grab(bench::BenchCamera& camera)
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
    ~Grab() {
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
    void Frames(unsigned int count) {
        Tavix::GrabResult result;
        for (unsigned int done = 0; done < count;) {
            if (!m_Grabber.GetWaitObject().Wait(5000)) {
                ++lost;
                return;
            }
            while (done < count && m_Grabber.RetrieveResult(result)) {
                lost += result.Succeeded() ? 0 : 1;
                m_Grabber.QueueBuffer(result.Handle());
                ++done;
            }
        }
    }
    std::size_t Size() const { return m_Size; }
    /// Payload bytes that the library copied since the grab was prepared, as the stream itself counts them.
    std::uint64_t CopiedBytes() {
        constexpr std::int64_t kCopiedByteCount = 0xB00;
        std::uint64_t bytes = 0;
        GenApi::CPortPtr port(m_Grabber.GetNodeMap()->GetNode("StreamGrabberPort"));
        port->Read(&bytes, kCopiedByteCount, sizeof bytes);
        return bytes;
    }
    unsigned int lost = 0;

private:
    static constexpr unsigned int kBuffers = 8;
    void SetParameter(const char* name, std::int64_t value) {
        GenApi::CIntegerPtr(m_Grabber.GetNodeMap()->GetNode(name))->SetValue(value);
    }

    bench::BenchCamera& m_Camera;
    const std::size_t m_Size;
    Tavix::IStreamGrabber& m_Grabber;
    std::vector<std::vector<std::uint8_t>> m_Memory;
    std::vector<Tavix::StreamBufferHandle> m_Handles;
};

/// Seconds that copying a frame once takes, into memory that is not in the cache.
double CopySeconds(std::size_t size) {
    std::vector<std::uint8_t> from(size, 1), to(size * 8);
    const auto start = Clock::now();
    constexpr int kTimes = 64;
    for (int i = 0; i < kTimes; ++i)
        std::memcpy(&to[(i % 8) * size], from.data(), size);
    return SecondsSince(start) / kTimes;
}

void Measure(const Case& c) {
    std::vector<std::unique_ptr<bench::BenchCamera>> cameras;
    std::vector<std::unique_ptr<Grab>> grabs;
    for (unsigned int i = 0; i < c.cameras; ++i) {
        cameras.push_back(std::make_unique<bench::BenchCamera>(i));
        auto& camera = *cameras.back();
        camera.Set("PixelFormat", "Mono8");
        camera.Set("Width", c.width);
        camera.Set("Height", c.height);
        camera.Set("AcquisitionFrameRateEnable", "0");
        grabs.push_back(std::make_unique<Grab>(camera));
        grabs.back()->Frames(8);
    }
    const bench::Cost before = bench::MeasureThreads();
    const auto start = Clock::now();
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < grabs.size(); ++i) {
        threads.emplace_back([&grab = *grabs[i], &c] { grab.Frames(c.frames); });
    }
    grabs[0]->Frames(c.frames);
    const bench::Cost cost = bench::MeasureThreads() - before;
    const double seconds = SecondsSince(start);
    for (auto& thread : threads)
        thread.join();
    unsigned int lost = 0;
    std::uint64_t copied = 0;
    for (auto& grab : grabs) {
        lost += grab->lost;
        copied += grab->CopiedBytes();
    }
    const double frames = double(c.frames) * c.cameras;
    const double copy = CopySeconds(grabs[0]->Size());
    std::printf("%-34s %8.0f frames/s %7.0f MB/s  host %7.1f us, camera %7.1f us, %5.2f switches a frame  "
                "%u lost, %llu bytes copied  host time / time of one copy %.3f\n",
                c.name, frames / seconds, frames * double(grabs[0]->Size()) / seconds * 1e-6,
                cost.hostSeconds / frames * 1e6, cost.cameraSeconds / frames * 1e6, double(cost.hostSwitches) / frames,
                lost, static_cast<unsigned long long>(copied), cost.hostSeconds / frames / copy);
}

} // namespace

int main() {
    bench::UseVirtualCameras(8);
    const Case cases[] = {
        {"1920 x 1080 Mono8, one camera", "1920", "1080", 2000, 1},
        {"4096 x 3000 Mono8, one camera", "4096", "3000", 400, 1},
        {"1920 x 1080 Mono8, eight cameras", "1920", "1080", 400, 8},
    };
    for (const Case& c : cases)
        Measure(c);
    return 0;
}
