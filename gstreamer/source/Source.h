#pragma once
// A camera as the source of a pipeline.

#include "core/Mutex.h"
#include "gstreamer/buffer/BufferMaker.h"
#include "gstreamer/caps/CameraCaps.h"
#include "gstreamer/element/FeatureAccess.h"
#include "gstreamer/element/Options.h"
#include "gstreamer/source/Flow.h"
#include "gstreamer/source/PipelineTime.h"

#include <gst/base/gstbasesrc.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tavixgst {

inline constexpr char kUnplugged[] = "the camera is unplugged";

/// What stands behind a tavixsrc. The element calls it from the threads that its base class names; all that is not said
/// to be for the pipeline's thread is thread-safe. Throws as the camera classes do.
class Source {
public:
    explicit Source(GstBaseSrc& element) : m_Element(element), m_Options(std::make_shared<const tavixgst::Options>()) {}
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    std::shared_ptr<const tavixgst::Options> Options() const;
    void Change(const tavixgst::Options& options);
    /// Keeps the text for the next opening, and applies it now if the camera is open.
    void SetFeatures(const std::string& text);

    void Open();
    /// Once more, where the camera has gone, or where it or the events that are wanted are not those of the last time.
    void Reopen();
    void Close() noexcept;
    /// Null while no camera is open: any caps might do.
    CapsPtr Caps();
    GstCaps* Fixate(GstCaps* caps);
    /// From the moment when an image is taken: how long it takes to get into the pipeline, and how long the camera's
    /// buffers could keep it. GST_CLOCK_TIME_NONE: for ever.
    struct Latencies {
        GstClockTime least = 0, most = GST_CLOCK_TIME_NONE;
    };
    Latencies Latency() const;

    // For the pipeline's thread.
    void Negotiated(GstCaps& caps);
    /// Where the camera has no caps left that the pipeline takes: takes back the last feature of those which have been
    /// set since they were negotiated and changed them, with a warning. False when there is none.
    bool TakeBack();
    void SetKnowsVideoMeta(bool knows) { m_Maker.SetKnowsVideoMeta(knows); }
    /// Of a buffer for an image that is copied or converted; 0: none is, as far as is known.
    gsize PooledBytes() const { return m_NeedsPool ? m_Layout.size : 0; }
    GstFlowReturn Create(GstBuffer** buffer);

    void Interrupt() noexcept;
    void Resume() noexcept { m_Flow.Resume(); }
    void StopStream() noexcept;
    /// The same, for good.
    void Stop() noexcept;

    /// Whether the camera has gone, as the notice of it or an access has found, however late the notice is. After a
    /// failure this tells whether it is one of that.
    bool IsFoundGone() const noexcept;
    /// Of a camera that has gone: lets the message of it come before the error. Not for long.
    void AwaitNotice();
    /// True for the first who asks since the camera was opened.
    bool IsFirstToTellLoss() { return !m_IsLossTold.exchange(true); }

    void Trigger();
    void Read(const std::string& feature, GValue& value);
    void Write(const std::string& feature, const GValue& value);
    std::vector<std::string> FeatureNames();
    /// Counts of the stream. Owned by the caller.
    GstStructure* Stats() const;

private:
    std::shared_ptr<Tavix::Camera> Opened() const;
    /// Text for a feature, which is to be set at once, also where the stream has to end for it.
    void SetBack(Tavix::Camera& camera, const std::string& feature, const std::string& value);
    /// What a feature holds before it is set, in case that it is to be taken back.
    void Remember(const Tavix::Camera& camera, const std::string& feature);
    /// Does it while the camera streams, or between two streams where it cannot be done otherwise.
    void WhileItMay(const std::function<void(Tavix::Camera&)>& deed);
    void OnRemoval(bool isBack);
    /// Tells what somebody has set since the last time that caps were negotiated and they take back.
    void TellSetBack(const Setup& wanted, const Setup& now, const GstCaps& caps);
    GstFlowReturn NextImage(Tavix::Camera& camera, Tavix::Image& image);
    bool IsToNegotiate() const;
    GstFlowReturn Renegotiate();
    bool Fits(const Tavix::Image& image) const;
    /// Null while the pipeline is flushed.
    BufferPtr BufferOf(Tavix::Image image);
    void TellMissed(const GstBuffer& buffer);
    void TellStarvation();
    void CheckSilence(const tavixgst::Options& options);
    void Post(GstStructure* message) const;
    Conversion ConversionWanted() const;
    GstElement& Element() const { return *GST_ELEMENT(&m_Element); }

    GstBaseSrc& m_Element;
    Flow m_Flow;
    mutable Tavix::Mutex m_Mutex;
    std::shared_ptr<const tavixgst::Options> m_Options TAVIX_GUARDED_BY(m_Mutex);
    std::shared_ptr<Tavix::Camera> m_Camera TAVIX_GUARDED_BY(m_Mutex);
    // Of features that were set since the last negotiation, in that order; those of the caps.
    std::vector<std::pair<std::string, std::string>> m_Former TAVIX_GUARDED_BY(m_Mutex);
    GstClockTime m_Period TAVIX_GUARDED_BY(m_Mutex) = 0; // m_Layout's duration

    BufferMaker m_Maker;
    PipelineTime m_Time;
    std::atomic<bool> m_IsAway{false}, m_NeedsPool{true}, m_IsLossTold{false};
    std::condition_variable m_Changed; // m_IsAway, or the flow is interrupted

    // Of who changes the element's state.
    std::string m_OpenedCamera, m_OpenedEvents;

    // Of the pipeline's thread.
    Layout m_Layout; // also of who closes
    Setup m_Setup; // as the last negotiation left the camera; empty before the first one since the pipeline was started
    Conversion m_Conversion = Conversion::None; // that it allowed
    bool m_HasMoved = false;                    // it has changed the layout or the camera
    std::chrono::steady_clock::time_point m_LastImage;
    std::uint64_t m_Starved = 0, m_Offset = 0;
    bool m_HasBreak = false; // images were thrown away before the next one
    bool m_IsFresh = false;  // the image was waited for, and did not lie ready while the pipeline was busy
};

} // namespace tavixgst
