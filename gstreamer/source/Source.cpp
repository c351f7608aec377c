#include "gstreamer/source/Source.h"

#include "gstreamer/Report.h"
#include "gstreamer/buffer/ImageMeta.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace tavixgst {

/// As they are now; each image asks, so they are not copied.
std::shared_ptr<const tavixgst::Options> Source::Options() const {
    const Tavix::MutexLock lock(m_Mutex);
    return m_Options;
}

void Source::Change(const tavixgst::Options& options) {
    auto changed = std::make_shared<const tavixgst::Options>(options);
    const Tavix::MutexLock lock(m_Mutex);
    m_Options = std::move(changed);
}

std::shared_ptr<Tavix::Camera> Source::Opened() const {
    const Tavix::MutexLock lock(m_Mutex);
    if (!m_Camera) throw Tavix::StateError("the camera is not open: set the element to READY first");
    return m_Camera;
}

Conversion Source::ConversionWanted() const {
    return Options()->convert ? Conversion::WhereNeeded : Conversion::None;
}

void Source::Open() {
    const auto options = Options();
    const auto camera = std::make_shared<Tavix::Camera>(Tavix::Camera::Open(options->camera));
    for (const Assignment& assignment : ParseAssignments(options->features))
        Apply(*camera, assignment);
    camera->OnRemoval([this](bool isBack) { OnRemoval(isBack); });
    m_IsAway = m_IsLossTold = false;
    for (const std::string& name : ParseWords(options->events))
        camera->OnEvent(name, [this](const Tavix::CameraEvent& event) { Post(NewEventStructure(event)); });
    m_OpenedCamera = options->camera;
    m_OpenedEvents = options->events;
    const Tavix::MutexLock lock(m_Mutex);
    m_Camera = camera;
}

void Source::Reopen() {
    const auto options = Options();
    bool isOpen;
    {
        const Tavix::MutexLock lock(m_Mutex);
        isOpen = m_Camera != nullptr;
    }
    const bool isLost = m_IsAway || m_IsLossTold, isSame = options->camera == m_OpenedCamera;
    if (isOpen && !isLost && isSame && options->events == m_OpenedEvents) return;
    Close();
    m_IsAway = isLost; // until it is open again
    m_IsLossTold = false;
    try {
        Open();
    } catch (const Tavix::NotFound& problem) {
        if (!isLost || !isSame || !problem.FeatureName().empty()) throw;
        throw Tavix::Removed(kUnplugged);
    }
}

void Source::Close() noexcept {
    m_Flow.Stop();
    std::shared_ptr<Tavix::Camera> camera;
    {
        const Tavix::MutexLock lock(m_Mutex);
        camera.swap(m_Camera);
        m_Layout = {};
        m_Period = 0;
    }
    if (camera) camera->Close();
}

CapsPtr Source::Caps() {
    std::shared_ptr<Tavix::Camera> camera;
    {
        const Tavix::MutexLock lock(m_Mutex);
        camera = m_Camera;
    }
    return camera ? CapsOf(*camera, ConversionWanted()) : nullptr;
}

GstCaps* Source::Fixate(GstCaps* caps) {
    return tavixgst::Fixate(*Opened(), caps);
}

void Source::Negotiated(GstCaps& caps) {
    const auto camera = Opened();
    const Conversion conversion = ConversionWanted();
    const CapsFormat* format = FormatOf(*camera, *gst_caps_get_structure(&caps, 0), conversion);
    if (format == nullptr) throw Tavix::ValueError("the camera has no pixel format for these caps", "PixelFormat");
    const Layout layout = LayoutOf(*format, caps);
    const bool isSame =
        layout.format == m_Layout.format && layout.width == m_Layout.width && layout.height == m_Layout.height;
    if (!isSame) m_Flow.Stop();
    const Setup before = SetupOf(*camera);
    try {
        Configure(*camera, layout, conversion);
    } catch (const Tavix::AccessError&) {
        if (!m_Flow.IsRunning()) throw;
        m_Flow.Stop(); // some cameras want to stand still even for another rate
        Configure(*camera, layout, conversion);
    }
    const Setup now = SetupOf(*camera);
    m_HasMoved = !isSame || now != before;
    TellSetBack(before, now, caps);
    m_Setup = now;
    m_Conversion = conversion;
    const Tavix::imaging::PixelFormatInfo* sent =
        Tavix::imaging::FindPixelFormat(std::string_view((*camera)["PixelFormat"].Text()));
    const bool isConverted = sent == nullptr || !IsSame(sent->format, *layout.format);
    m_NeedsPool = isConverted || layout.stride * 8 != std::size_t{layout.width} * sent->BitsPerPixel();
    const bool hasOtherPeriod = layout.Duration() != m_Layout.Duration();
    {
        const Tavix::MutexLock lock(m_Mutex);
        m_Layout = layout;
        m_Period = layout.Duration();
        m_Former.clear();
    }
    if (hasOtherPeriod) gst_element_post_message(&Element(), gst_message_new_latency(GST_OBJECT(&m_Element)));
}

void Source::Remember(const Tavix::Camera& camera, const std::string& feature) {
    using Type = Tavix::FeatureType;
    if (!gst_pad_has_current_caps(GST_BASE_SRC_PAD(&m_Element))) return;
    const Tavix::Feature asked = camera[feature];
    const Type type = asked.Type();
    if (type == Type::Command || type == Type::Category || type == Type::Register || !asked.IsReadable()) return;
    const std::string value = asked.Text();
    const Tavix::MutexLock lock(m_Mutex);
    const auto isMeant = [&](const auto& one) { return one.first == feature; };
    const auto known = std::find_if(m_Former.begin(), m_Former.end(), isMeant);
    if (known == m_Former.end())
        m_Former.emplace_back(feature, value);
    else
        std::rotate(known, known + 1, m_Former.end());
}

void Source::SetBack(Tavix::Camera& camera, const std::string& feature, const std::string& value) {
    Tavix::Settings settings;
    settings.Add(feature, value);
    if (camera.Apply(settings).empty()) return;
    m_Flow.Stop(); // which locks some
    camera.Apply(settings);
}

bool Source::TakeBack() {
    const auto camera = Opened();
    std::vector<std::pair<std::string, std::string>> former;
    {
        const Tavix::MutexLock lock(m_Mutex);
        former.swap(m_Former);
    }
    const CapsPtr caps(gst_pad_get_current_caps(GST_BASE_SRC_PAD(&m_Element)));
    if (m_Setup.empty() || !caps) return false;
    while (!former.empty()) {
        const auto [name, value] = former.back();
        former.pop_back();
        const std::string now = (*camera)[name].Text(), had = TextOf(*Caps());
        if (now == value) continue;
        SetBack(*camera, name, value);
        if (TextOf(*Caps()) == had) { // it has nothing to do with them
            SetBack(*camera, name, now);
            continue;
        }
        PostWarning(Element(), Tavix::ValueError(name + "=" + now + " does not go with the caps of the pipeline, " +
                                                     TextOf(*caps) + "; the camera is set back to " + value,
                                                 name));
        const Tavix::MutexLock lock(m_Mutex);
        m_Former.insert(m_Former.begin(), former.begin(), former.end()); // if that is not enough
        return true;
    }
    return false;
}

void Source::TellSetBack(const Setup& wanted, const Setup& now, const GstCaps& caps) {
    const auto find = [](const Setup& setup, const std::string& name) {
        const auto found = setup.find(name);
        return found == setup.end() ? std::string() : found->second;
    };
    if (m_Setup.empty()) return;
    for (const auto& [name, value] : now) {
        const std::string was = find(wanted, name);
        if (was == value || was == find(m_Setup, name)) continue;
        const Tavix::imaging::PixelFormatInfo* format = Tavix::imaging::FindPixelFormat(std::string_view(was));
        const bool isLacking = format != nullptr && FindFormat(format->format) == nullptr;
        PostWarning(Element(), Tavix::ValueError((was.empty() ? "no " + name : name + "=" + was) +
                                                     " does not go with the caps of the pipeline, " + TextOf(caps) +
                                                     "; the camera is set back to " + value +
                                                     (isLacking ? "; convert=true has images converted" : ""),
                                                 name));
    }
}

Source::Latencies Source::Latency() const {
    const Tavix::MutexLock lock(m_Mutex);
    Latencies latencies;
    latencies.least = std::max(m_Time.Delay(), m_Period);
    if (m_Period != 0) latencies.most = latencies.least + m_Options->buffers * m_Period;
    return latencies;
}

void Source::StopStream() noexcept {
    m_Flow.Stop();
    m_Time.Reset();
}

void Source::Stop() noexcept {
    StopStream();
    m_Setup.clear();
    {
        const Tavix::MutexLock lock(m_Mutex);
        m_Former.clear();
    }
    m_Offset = 0;
}

void Source::Interrupt() noexcept {
    m_Flow.Interrupt();
    const Tavix::MutexLock lock(m_Mutex);
    m_Changed.notify_all();
}

void Source::AwaitNotice() {
    constexpr std::chrono::milliseconds kLag{500};
    Tavix::MutexLock lock(m_Mutex);
    if (!m_Camera) return;
    const auto end = std::chrono::steady_clock::now() + kLag;
    while (!m_IsAway && !m_Flow.IsInterrupted())
        if (!lock.WaitUntil(m_Changed, end)) return;
}

/// What cannot be read is refused without asking the camera, and the refusal names a loss that is known.
bool Source::IsFoundGone() const noexcept {
    try {
        const auto camera = Opened();
        if (m_IsAway) return true;
        (*camera)["AcquisitionStart"].Text();
    } catch (const Tavix::Removed&) {
        return true;
    } catch (const std::exception&) {
        return false;
    }
    return false;
}

void Source::OnRemoval(bool isBack) {
    Post(gst_structure_new_empty(isBack ? "tavix-returned" : "tavix-removed"));
    const Tavix::MutexLock lock(m_Mutex);
    m_IsAway = !isBack;
    if (isBack) m_IsLossTold = false;
    m_Changed.notify_all();
}

void Source::Post(GstStructure* message) const {
    gst_element_post_message(&Element(), gst_message_new_element(GST_OBJECT(&m_Element), message));
}

void Source::WhileItMay(const std::function<void(Tavix::Camera&)>& deed) {
    const auto camera = Opened();
    const auto doAndMark = [&] {
        deed(*camera);
        gst_pad_mark_reconfigure(GST_BASE_SRC_PAD(&m_Element)); // caps may be others now
    };
    try {
        doAndMark();
    } catch (const Tavix::AccessError&) {
        // A stream that is just being started or ended locks features, too, so whether one runs is not asked.
        const Flow::Pause pause(m_Flow);
        doAndMark();
    }
}

void Source::SetFeatures(const std::string& text) {
    std::vector<Assignment> assignments;
    {
        const Tavix::MutexLock lock(m_Mutex);
        if (m_Camera) assignments = ParseAssignments(text); // else opening tells, which somebody listens to
        auto changed = std::make_shared<tavixgst::Options>(*m_Options);
        changed->features = text;
        m_Options = std::move(changed);
        if (!m_Camera) return;
    }
    for (const Assignment& assignment : assignments) {
        try {
            WhileItMay([&](Tavix::Camera& camera) {
                Remember(camera, assignment.feature);
                Apply(camera, assignment);
            });
        } catch (const std::exception& problem) {
            PostWarning(Element(), problem);
        }
    }
}

/// Below PLAYING there is nothing to wait for; right after it the pipeline's thread may still have to start the camera.
void Source::Trigger() {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kGlance{100}, kStart{1}, kReadiness{5000};
    const auto camera = Opened();
    const auto deadline = Clock::now() + kReadiness;
    for (bool isReady = false; !isReady;) {
        if (m_Flow.IsInterrupted() || GST_STATE_TARGET(&m_Element) != GST_STATE_PLAYING)
            throw Tavix::StateError("the camera does not stream: set the pipeline to PLAYING");
        const bool isRunning = m_Flow.IsRunning();
        isReady = camera->AwaitTrigger(kGlance) && isRunning;
        if (!isReady && Clock::now() >= deadline)
            throw Tavix::Timeout("the camera was not ready for a trigger within 5 s; its images may take longer");
        if (!isRunning) std::this_thread::sleep_for(kStart);
    }
    camera->FireTrigger();
}

void Source::Read(const std::string& feature, GValue& value) {
    ReadFeature(*Opened(), feature, value);
}

void Source::Write(const std::string& feature, const GValue& value) {
    WhileItMay([&](Tavix::Camera& camera) {
        Remember(camera, feature);
        WriteFeature(camera, feature, value);
    });
}

std::vector<std::string> Source::FeatureNames() {
    std::vector<std::string> names;
    for (const Tavix::Feature& feature : Opened()->Features())
        names.push_back(feature.Name());
    return names;
}

GstStructure* Source::Stats() const {
    const Tavix::GrabCounts counts = m_Flow.Counts();
    const auto wide = [](auto value) { return static_cast<guint64>(value); };
    return gst_structure_new("tavix-stats", "delivered", G_TYPE_UINT64, wide(counts.delivered), "dropped",
                             G_TYPE_UINT64, wide(counts.dropped), "failed", G_TYPE_UINT64, wide(counts.failed),
                             "missed", G_TYPE_UINT64, wide(counts.missed), "starved", G_TYPE_UINT64,
                             wide(counts.starved), "reconnects", G_TYPE_UINT64, wide(counts.reconnects), "buffers",
                             G_TYPE_UINT64, wide(counts.buffers), "memory", G_TYPE_UINT64, wide(counts.memory),
                             "mapped", G_TYPE_UINT64, wide(counts.mapped), "copied", G_TYPE_UINT64,
                             m_Maker.CopiedBytes(), nullptr);
}

} // namespace tavixgst
