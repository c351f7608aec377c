#include "Error.h"
#include "Interrupt.h"
#include "features/Features.h"
#include "grabs/EventListener.h"
#include "grabs/GrabRun.h"
#include "line/Commands.h"

namespace tool {
namespace {

constexpr unsigned int kTickMs = 100;

/// Signalled when the camera is unplugged; registered for its scope. Bound to a thread.
class RemovalAlarm {
public:
    explicit RemovalAlarm(Camera& camera) : m_Camera(camera) {
        const Tavix::WaitObjectEx bell = m_Bell; // the callback may outlive this object
        auto ring = Tavix::MakeCallback<Tavix::ITavixDevice*>([bell](Tavix::ITavixDevice*) { bell.Signal(); });
        m_Handle = camera.Device().RegisterRemovalCallback(ring);
    }
    ~RemovalAlarm() { m_Camera.Device().DeregisterRemovalCallback(m_Handle); }
    RemovalAlarm(const RemovalAlarm&) = delete;
    RemovalAlarm& operator=(const RemovalAlarm&) = delete;
    const Tavix::WaitObject& Bell() const { return m_Bell; }

private:
    Camera& m_Camera;
    const Tavix::WaitObjectEx m_Bell = Tavix::WaitObjectEx::Create(/*manualReset=*/true);
    Tavix::DeviceCallbackHandle m_Handle = nullptr;
};

/// Prints events of a camera that nobody grabs from.
void Listen(Camera& camera, EventListener& listener) {
    const RemovalAlarm alarm(camera);
    Tavix::WaitObjects waits;
    waits.Add(alarm.Bell());
    waits.Add(listener.Ended());
    listener.Start(camera);
    while (!IsInterrupted() && !waits.WaitForAny(kTickMs))
        EndWithoutReader();
    const bool isGone = alarm.Bell().Wait(0);
    listener.Stop(camera);
    if (isGone) throw Error(camera.Name() + " was unplugged; plug it in again");
}

/// As Listen, while images are grabbed and thrown away.
std::string ListenToGrab(const Tavix::CDeviceInfo& info, const EventsOptions& options, EventListener& listener) {
    GrabOptions grab;
    grab.frames = ~std::uint64_t(0);
    grab.settings = options.settings;
    Sessions sessions;
    sessions.push_back(std::make_unique<GrabSession>(info, grab, &listener));
    GrabSession& session = *sessions.front();
    const std::string text = RunSessions(sessions, [&] {
                                 EndWithoutReader();
                                 if (listener.HasEnded()) session.Stop();
                             }).front();
    if (!text.empty()) throw Error(text);
    return session.Name();
}

} // namespace

int Events(const EventsOptions& options) {
    const Tavix::CDeviceInfo info = ChooseCamera(options);
    EventListener listener(options);
    std::string name;
    if (options.grab) {
        name = ListenToGrab(info, options, listener);
    } else {
        Camera camera(info);
        name = camera.Name();
        for (const std::string& setting : options.settings)
            ApplySetting(camera.Features(), setting);
        Listen(camera, listener);
    }
    if (!listener.Failure().empty()) throw Error(name + ": " + listener.Failure());
    return kDone;
}

} // namespace tool
