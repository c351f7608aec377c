#include "Error.h"
#include "Interrupt.h"
#include "cameras/CameraChoice.h"
#include "features/Features.h"
#include "grabs/EventPrinter.h"
#include "grabs/RunGrabs.h"
#include "line/Commands.h"

namespace tool {
namespace {

constexpr std::chrono::milliseconds kTick{100};

/// Prints events of a camera that nobody grabs from.
std::string Listen(const EventsOptions& options, EventPrinter& printer) {
    const auto isGone = std::make_shared<std::atomic<bool>>(false); // the callback may outlive this scope
    Tavix::Camera camera = OpenCamera(options);
    camera.OnRemoval([isGone](bool) { *isGone = true; });
    for (const std::string& setting : options.settings)
        ApplySetting(camera, setting);
    printer.Start(camera);
    while (!IsInterrupted() && !*isGone && !printer.HasEnded(kTick))
        EndWithoutReader();
    if (*isGone) throw Error(NameOf(camera) + " was unplugged; plug it in again");
    printer.NoteDamage(camera);
    return NameOf(camera);
}

/// As Listen, while images are grabbed and thrown away.
std::string ListenToGrab(const EventsOptions& options, EventPrinter& printer) {
    GrabOptions grabOptions;
    grabOptions.frames = ~std::uint64_t(0);
    grabOptions.settings = options.settings;
    Grabs grabs;
    grabs.push_back(std::make_unique<CameraGrab>(ChooseCamera(options), grabOptions, &printer));
    CameraGrab& grab = *grabs.front();
    const std::string text = RunGrabs(grabs, [&] {
                                 EndWithoutReader();
                                 if (printer.HasEnded()) grab.Stop();
                             }).front();
    if (!text.empty()) throw Error(text);
    return grab.Name();
}

} // namespace

int Events(const EventsOptions& options) {
    EventPrinter printer(options);
    const std::string name = options.grab ? ListenToGrab(options, printer) : Listen(options, printer);
    if (!printer.Failure().empty()) throw Error(name + ": " + printer.Failure());
    return kDone;
}

} // namespace tool
