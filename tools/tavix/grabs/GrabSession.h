#pragma once
// Grabbing from one camera.

#include "grabs/FrameObserver.h"
#include "images/ImageWriter.h"
#include "line/Options.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tool {

/// What came of a grab. Written by the grabbing thread; what is no atomic is valid after the grab.
struct GrabFigures {
    std::atomic<std::uint64_t> good{0};   ///< frames grabbed without error
    std::atomic<std::uint64_t> failed{0}; ///< buffers that came back with an error
    std::atomic<std::uint64_t> missed{0}; ///< frames that the block ids say never came
    std::atomic<std::uint64_t> bytes{0};  ///< payload of the good frames
    std::uint64_t checksumRight = 0;
    std::uint64_t checksumWrong = 0;
    std::uint64_t checksumMissing = 0; ///< frames without a checksum chunk, or with damaged chunks
    std::uint64_t images = 0;          ///< files written
    std::uint64_t unconverted = 0;     ///< of these, raw ones because the pixel format cannot be converted
    double seconds = 0;                ///< from the first to the last good frame
    std::string firstError;            ///< of the first failed buffer
};

/// One camera, its buffers and its grab loop. Set-up and tear-down happen in Run, so that an object of this class needs
/// nothing but the camera's info. Run is bound to a thread; Figures, Name and Stop are thread-safe.
class GrabSession {
public:
    /// `observer` is borrowed and may be null.
    GrabSession(const Tavix::CDeviceInfo& info, const GrabOptions& options, FrameObserver* observer = nullptr);

    /// Grabs until the asked number of frames came or Stop was called. Throws Error when the camera is unplugged, is
    /// silent for the timeout, or fails in another way; everything is released then, too.
    void Run();
    void Stop();
    /// Saves images under names of its own. Before Run; without it none are saved.
    void SaveAs(const std::string& prefix) { m_ImagePrefix = prefix; }
    /// For when Run does not end although it was stopped: the camera stops sending, at least.
    void StopCamera();
    const GrabFigures& Figures() const { return m_Figures; }
    const std::string& Name() const { return m_Name; }

private:
    class Shown;
    struct Slot {
        std::unique_ptr<std::uint8_t[]> memory; ///< untouched until a frame comes, so it costs nothing until then
        std::size_t size = 0;
        Tavix::StreamBufferHandle handle = nullptr;
    };

    /// What ends a grab from outside. Shared with the removal callback, which may outlive the session. Thread-safe.
    struct Alarm {
        std::atomic<bool> isStopped{false};
        std::atomic<bool> isUnplugged{false};
        std::atomic<bool> isBroken{false}; ///< a buffer could not be queued
        Tavix::WaitObjectEx bell = Tavix::WaitObjectEx::Create(/*manualReset=*/true);

        void Ring(std::atomic<bool>& reason) {
            reason = true;
            bell.Signal();
        }
    };

    void Grab(Camera& camera);
    void Prepare(Camera& camera);
    void QueueBuffers(std::size_t size);
    void Loop(Camera& camera);
    void Handle(const Tavix::GrabResult& result);
    void Count(const Tavix::GrabResult& result);
    ChunkCheck AttachChunks(const Tavix::GrabResult& result);
    void CountChunks(ChunkCheck check);
    void Save(const Tavix::GrabResult& result);
    void Requeue(Slot& slot);
    void Finish(Camera& camera);
    bool WantsMore() const;
    std::string SilenceText(Camera& camera) const;
    /// Runs a step of an ordered retreat: a failure is kept if it is the first, and the next step follows.
    template<class Step>
    void Attempt(Step step);
    void AwaitRemovalNotice();
    void ThrowFailure() const;

    const Tavix::CDeviceInfo m_Info;
    const GrabOptions m_Options;
    const std::string m_Name;
    FrameObserver* const m_Observer;
    const std::shared_ptr<Alarm> m_Alarm;
    GrabFigures m_Figures;
    std::string m_ImagePrefix; // constant during Run; empty: no images
    std::mutex m_CameraLock;
    Camera* m_Camera = nullptr; // guarded by m_CameraLock; borrowed while it is open

    // Valid inside Run only.
    Tavix::IStreamGrabber* m_Grabber = nullptr; // borrowed from the camera
    Tavix::IChunkParser* m_Parser = nullptr;    // owned; null without --chunks
    Tavix::DeviceCallbackHandle m_RemovalCallback = nullptr;
    std::vector<std::unique_ptr<Slot>> m_Slots;
    std::string m_PixelFormat;
    std::unique_ptr<ImageWriter> m_Writer;
    std::uint64_t m_LastBlockId = ~std::uint64_t(0);
    std::uint64_t m_FailedSinceGood = 0;
    std::chrono::steady_clock::time_point m_First, m_Last;
    std::string m_Failure; // the first one; empty for none
};

} // namespace tool
