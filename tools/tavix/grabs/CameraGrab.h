#pragma once
// Grabbing from one camera.

#include "core/Mutex.h"
#include "grabs/FrameObserver.h"
#include "images/ImageWriter.h"
#include "line/Options.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <string>

namespace tool {

/// What came of a grab. Written by the grabbing thread; what is no atomic is valid after the grab.
struct GrabFigures {
    std::atomic<std::uint64_t> good{0};   ///< frames grabbed without error
    std::atomic<std::uint64_t> failed{0}; ///< frames that came damaged
    std::atomic<std::uint64_t> missed{0}; ///< frames that the block ids say never came
    std::atomic<std::uint64_t> bytes{0};  ///< payload of the good frames
    std::uint64_t checksumRight = 0;
    std::uint64_t checksumWrong = 0;
    std::uint64_t checksumMissing = 0; ///< frames without a checksum chunk, or with damaged chunks
    std::uint64_t images = 0;          ///< files written
    std::uint64_t unconverted = 0;     ///< of these, raw ones because the pixel format cannot be converted
    double seconds = 0;                ///< from the first to the last good frame
    std::string firstError;            ///< of the first failed frame
};

/// One camera and the loop over its images. Run is bound to a thread; the rest is thread-safe.
class CameraGrab {
public:
    /// `observer` is borrowed and may be null.
    CameraGrab(const Tavix::CameraInfo& info, const GrabOptions& options, FrameObserver* observer = nullptr);

    /// What it is called in reports and errors; its friendly name without this. Before Run.
    void CallIt(const std::string& name) { m_Name = name; }
    /// Grabs until the asked number of frames came or Stop was called. Throws when the camera is unplugged, is silent
    /// for the timeout, or fails in another way; everything is released then, too.
    void Run();
    void Stop() { m_IsStopped = true; }
    /// Saves images under names of its own. Before Run; without it none are saved.
    void SaveAs(const std::string& prefix) { m_ImagePrefix = prefix; }
    /// For when Run does not end although it was stopped: the camera stops sending, at least.
    void StopCamera();
    const GrabFigures& Figures() const { return m_Figures; }
    const std::string& Name() const { return m_Name; }
    const Tavix::CameraInfo& Info() const { return m_Info; }

private:
    class Shown;
    using Clock = std::chrono::steady_clock;

    void Grab(Tavix::Camera& camera);
    void Prepare(Tavix::Camera& camera);
    Tavix::ImageStream Begin(Tavix::Camera& camera) const;
    void Loop(const Tavix::Camera& camera, Tavix::ImageStream& stream);
    /// Whether there was a sign of the camera.
    bool TakeNext(Tavix::ImageStream& stream, Clock::time_point end);
    bool NoteFailures(const Tavix::ImageStream& stream);
    void Take(Tavix::Image image);
    void Count(const Tavix::Image& image);
    void CountChecksum(Tavix::Checksum checksum);
    bool WantsMore() const;
    std::string SilenceText(const Tavix::Camera& camera, const Tavix::ImageStream& stream) const;
    /// Runs a step of an ordered retreat: a failure is kept if it is the first, and the next step follows.
    template<class Step>
    void Attempt(Step step);
    void ThrowFailure() const;
    std::string Named(const std::string& reason) const;

    const Tavix::CameraInfo m_Info;
    const GrabOptions m_Options;
    std::string m_Name; // constant during Run
    FrameObserver* const m_Observer;
    std::atomic<bool> m_IsStopped{false};
    GrabFigures m_Figures;
    std::string m_ImagePrefix; // constant during Run; empty: no images
    Tavix::Mutex m_CameraLock;
    const Tavix::Camera* m_Camera TAVIX_GUARDED_BY(m_CameraLock) = nullptr; // borrowed while it is open

    // Valid inside Run only.
    std::unique_ptr<ImageWriter> m_Writer;
    Clock::time_point m_First, m_Last;
    std::exception_ptr m_Failure; // the first one
};

/// What helps against a failure of frames, to follow its text.
std::string CureOf(const std::string& failure);

} // namespace tool
