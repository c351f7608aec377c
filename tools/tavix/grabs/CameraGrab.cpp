#include "grabs/CameraGrab.h"

#include "Error.h"
#include "doctor/Examination.h"
#include "features/Features.h"
#include "output/Text.h"

#include <algorithm>

namespace tool {
namespace {

constexpr std::chrono::milliseconds kTick{50}; // after which a stop is noticed
/// What refuses an option of the library, for those who gave one on the command line.
std::string RefusalText(const std::string& reason) {
    const std::string option = "transferSize cannot be ";
    const auto at = reason.find(option);
    if (at == std::string::npos) return reason + "; use fewer --buffers, or allow more with --memory, in MiB";
    return reason.substr(0, at) + "--transfer-size cannot be " + reason.substr(at + option.size());
}

constexpr std::size_t BytesOf(std::size_t megabytes) {
    return megabytes << 20;
}

/// Empty for a feature that is not there or cannot be read now.
std::string ReadableText(const Tavix::Camera& camera, const char* name) {
    return camera.HasFeature(name) && camera[name].IsReadable() ? camera[name].Text() : std::string();
}

} // namespace

CameraGrab::CameraGrab(const Tavix::CameraInfo& info, const GrabOptions& options, FrameObserver* observer)
    : m_Info(info), m_Options(options), m_Name(Printable(info.friendlyName)), m_Observer(observer) {}

/// Shows the grab its camera while that is open.
class CameraGrab::Shown {
public:
    Shown(CameraGrab& grab, const Tavix::Camera& camera) : m_Grab(grab) { Show(&camera); }
    ~Shown() { Show(nullptr); }
    Shown(const Shown&) = delete;
    Shown& operator=(const Shown&) = delete;

private:
    void Show(const Tavix::Camera* camera) {
        const Tavix::MutexLock lock(m_Grab.m_CameraLock);
        m_Grab.m_Camera = camera;
    }

    CameraGrab& m_Grab;
};

void CameraGrab::StopCamera() {
    const Tavix::MutexLock lock(m_CameraLock);
    if (!m_Camera) return;
    try {
        (*m_Camera)["AcquisitionStop"].Execute(std::chrono::milliseconds(0));
    } catch (const std::exception&) {
        return; // it was tried; the end of the program takes the bus from the camera in any case
    }
}

template<class Step>
void CameraGrab::Attempt(Step step) {
    try {
        step();
    } catch (...) {
        if (!m_Failure) m_Failure = std::current_exception();
    }
}

void CameraGrab::Run() {
    Tavix::Camera camera = Tavix::Camera::Open(m_Info);
    const Shown shown(*this, camera);
    m_Writer = std::make_unique<ImageWriter>(ImageNames(m_ImagePrefix, m_Options.overwrite), m_Options.format);
    Attempt([&] { Grab(camera); });
    if (m_IsStopped) m_Writer->Abandon();
    Attempt([&] { m_Writer->Finish(); });
    m_Figures.images = m_Writer->Written();
    m_Figures.unconverted = m_Writer->Unconverted();
    m_Writer.reset();
    m_Figures.seconds = std::chrono::duration<double>(m_Last - m_First).count();
    if (m_Observer) Attempt([&] { m_Observer->OnEnd(); });
    ThrowFailure();
}

void CameraGrab::ThrowFailure() const {
    if (!m_Failure) return;
    try {
        std::rethrow_exception(m_Failure);
    } catch (const Tavix::Removed&) {
        throw Error(m_Name + " was unplugged during the grab, after " + std::to_string(m_Figures.good) +
                    " good frames; plug it in again");
    } catch (...) {
        throw Error(Named(CaughtReason()));
    }
}

/// The reason, which may name the camera already.
std::string CameraGrab::Named(const std::string& reason) const {
    const std::string usual = Printable(m_Info.friendlyName);
    if (reason.rfind(usual, 0) == 0) return m_Name + reason.substr(usual.size());
    const bool isNamed = m_Name == usual && reason.find(usual) != std::string::npos;
    return isNamed ? reason : m_Name + ": " + reason;
}

void CameraGrab::Grab(Tavix::Camera& camera) {
    Prepare(camera);
    Tavix::ImageStream stream = Begin(camera);
    Attempt([&] { Loop(camera, stream); });
    m_Figures.firstError = Printable(stream.FirstDefect());
}

void CameraGrab::Prepare(Tavix::Camera& camera) {
    if (m_Options.checkChunks) EnableAllChunks(camera);
    for (const std::string& setting : m_Options.settings)
        ApplySetting(camera, setting);
    if (m_Observer) m_Observer->OnReady(camera);
}

Tavix::ImageStream CameraGrab::Begin(Tavix::Camera& camera) const {
    Tavix::GrabOptions options;
    options.buffers = m_Options.buffers;
    options.memoryLimit = BytesOf(m_Options.memoryMegabytes);
    options.keepBudget = m_ImagePrefix.empty() ? 0 : BytesOf(kWaitingMegabytes); // for what waits for the disk
    options.transferSize = m_Options.transferSize;
    try {
        return camera.Grab(options);
    } catch (const Tavix::ValueError& e) {
        throw Error(RefusalText(Reason(e)));
    }
}

bool CameraGrab::WantsMore() const {
    return !m_IsStopped && !m_Writer->HasFailed() && m_Figures.good + m_Figures.failed < m_Options.frames;
}

void CameraGrab::Loop(const Tavix::Camera& camera, Tavix::ImageStream& stream) {
    const std::chrono::milliseconds timeout(m_Options.timeoutMs);
    for (auto end = Clock::now() + timeout; WantsMore();) {
        if (TakeNext(stream, end)) {
            end = Clock::now() + timeout;
        } else if (Clock::now() >= end) {
            throw Error(SilenceText(camera, stream));
        }
    }
}

bool CameraGrab::TakeNext(Tavix::ImageStream& stream, Clock::time_point end) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    Tavix::Image image = stream.Wait(std::clamp(left, std::chrono::milliseconds(0), kTick));
    const bool haveFailed = NoteFailures(stream);
    if (!image || !WantsMore()) return image || haveFailed;
    m_Figures.missed = stream.Counts().missed;
    Take(std::move(image));
    return true;
}

bool CameraGrab::NoteFailures(const Tavix::ImageStream& stream) {
    const std::uint64_t failed = std::min(stream.Counts().failed, m_Options.frames - m_Figures.good);
    return m_Figures.failed.exchange(failed) != failed;
}

std::string CureOf(const std::string& failure) {
    const bool lacksMemory = failure.find("usbfs_memory_mb") != std::string::npos;
    return lacksMemory ? std::string("; more memory for transfers: ") + kRaiseTransferMemory
                       : "; check cable and hub, `tavix doctor` helps";
}

std::string CameraGrab::SilenceText(const Tavix::Camera& camera, const Tavix::ImageStream& stream) const {
    const std::string silence = "it sent no image for " + std::to_string(m_Options.timeoutMs) + " ms; ";
    if (m_Figures.good == 0 && m_Figures.failed != 0)
        return silence + "those that were tried failed: " + stream.FirstDefect() + CureOf(stream.FirstDefect());
    if (const std::string mode = m_Figures.good > 0 ? ReadableText(camera, "AcquisitionMode") : std::string();
        !mode.empty() && mode != "Continuous")
        return silence + "AcquisitionMode is " + mode + ", and it may have sent all that this sends: add --set " +
               "AcquisitionMode=Continuous, or ask for fewer --frames";
    const bool waits = ReadableText(camera, "TriggerMode") == "On";
    const bool hasNone = m_Figures.good + m_Figures.failed == 0;
    return silence + (waits ? "it waits for a trigger: send one, or add --set TriggerMode=Off"
                            : "check exposure time, frame rate and cable, wait longer with --timeout, or try "
                              "--transfer-size 65536" +
                                  (hasNone ? std::string("; if memory for transfers is short: ") + kRaiseTransferMemory
                                           : std::string()));
}

void CameraGrab::Take(Tavix::Image image) {
    const bool isWanted = !m_ImagePrefix.empty() && m_Figures.good % m_Options.every == 0;
    Count(image);
    if (m_Options.checkChunks) CountChecksum(image.ChunkChecksum());
    if (m_Observer) m_Observer->OnImage(image);
    if (isWanted) m_Writer->Write({std::move(image), Printable(m_Info.friendlyName)});
}

void CameraGrab::Count(const Tavix::Image& image) {
    m_Last = image.Arrival();
    if (m_Figures.good == 0) m_First = m_Last;
    ++m_Figures.good;
    m_Figures.bytes += image.Payload().size;
}

void CameraGrab::CountChecksum(Tavix::Checksum checksum) {
    if (checksum == Tavix::Checksum::Right) {
        ++m_Figures.checksumRight;
    } else {
        ++(checksum == Tavix::Checksum::Wrong ? m_Figures.checksumWrong : m_Figures.checksumMissing);
    }
}

} // namespace tool
