// Images that another thread drops as fast as they come: whether the stream's thread ever waits for a lock then.
// Figures only. Looking at each lock costs time, so nothing else is measured here.

#include "support/BenchCamera.h"
#include "support/LockWaits.h"
#include "support/StreamBus.h"
#include "support/Turnstile.h"

#include <tavix/camera/Camera.h>

#include <atomic>
#include <cstdio>
#include <exception>
#include <thread>
#include <utility>

namespace {

constexpr unsigned int kWarmUp = 20;

/// From the callback, which never waits, to the thread that drops them.
class Chute {
public:
    ~Chute() {
        m_IsClosed = true;
        m_Thread.join();
    }
    /// Drops the image at once when the other thread has not come round.
    void Put(Tavix::Image image) {
        Place& place = m_Places[m_Next++ % kPlaces];
        if (place.isFull) return;
        place.image = std::move(image);
        place.isFull = true;
    }
    unsigned int Dropped() const { return m_Dropped; }

    static constexpr std::size_t kPlaces = 64;

private:
    struct Place {
        Tavix::Image image;
        std::atomic<bool> isFull{false};
    };

    void Run() {
        for (std::size_t i = 0; !m_IsClosed;) {
            Place& place = m_Places[i % kPlaces];
            if (!place.isFull) {
                std::this_thread::yield();
                continue;
            }
            place.image = Tavix::Image();
            place.isFull = false;
            ++m_Dropped;
            ++i;
        }
    }

    Place m_Places[kPlaces];
    std::size_t m_Next = 0; // of the callback's thread
    std::atomic<unsigned int> m_Dropped{0};
    std::atomic<bool> m_IsClosed{false};
    std::thread m_Thread{[this] { Run(); }};
};

/// How often and how long the stream's thread waits for locks while another one drops its images as fast as they come.
void MeasureImagesDroppedElsewhere() {
    constexpr unsigned int kImages = 20000;
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["PixelFormat"] = "Mono8";
    camera["Width"] = 64;
    camera["Height"] = 64;
    camera["AcquisitionFrameRateEnable"] = false;
    bench::Turnstile frames;
    Chute chute;
    Tavix::GrabOptions options;
    options.buffers = 4 * Chute::kPlaces; // enough from the start, or another thread would add some meanwhile
    Tavix::ImageStream stream = camera.Grab(options, [&](Tavix::Image image) {
        bench::WatchLocksOfThisThread();
        chute.Put(std::move(image));
        frames.Pass();
    });
    frames.Await(kWarmUp);
    const bench::LockWaits before = bench::CountLockWaits();
    const unsigned int dropped = chute.Dropped();
    frames.Await(kImages);
    const bench::LockWaits after = bench::CountLockWaits();
    std::printf("%u images, %u of them dropped on another thread; waits of the stream's thread for locks of ours %llu, "
                "of libusb and the emulated bus %llu\n",
                kImages, chute.Dropped() - dropped, static_cast<unsigned long long>(after.ours - before.ours),
                static_cast<unsigned long long>(after.others - before.others));
}

} // namespace

int main() {
    try {
        const bench::StreamBus bus(bench::BusKind::BelowLibusb, 1);
        MeasureImagesDroppedElsewhere();
        return 0;
    } catch (const std::exception& problem) {
        std::printf("FAILED: %s\n", problem.what());
        return 1;
    }
}
