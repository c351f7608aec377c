// Reads, writes and explains features, and keeps all settings in a file.
#include <cstdio>

#include <tavix/camera/Camera.h>

int main() try {
    auto camera = Tavix::Camera::Open();
    Tavix::Feature exposure = camera["ExposureTime"];
    exposure.OnChange([](const Tavix::Feature& f) { std::printf("now %s us\n", f.Text().c_str()); });
    exposure = 5000.0;
    std::printf("from %g to %g %s\n", exposure.Min(), exposure.Max(), exposure.Unit().c_str());
    exposure.SetNearest(1e12);

    camera["ExposureAuto"] = "Continuous";
    if (!exposure.IsWritable()) std::printf("%s\n", exposure.WhyNot().c_str());
    camera["ExposureAuto"] = "Off";

    const Tavix::Settings settings = camera.ReadSettings();
    settings.Save("settings.txt");
    camera["Width"] = camera["Width"].IntMin();
    for (const auto& one : camera.ReadSettings().Compare(settings))
        std::printf("%s: %s, was %s\n", one.name.c_str(), one.left.c_str(), one.right.c_str());
    for (const auto& refused : camera.Apply(settings))
        std::printf("%s\n", refused.reason.c_str());
    camera["ExposureTme"] = 1.0;
} catch (const Tavix::NotFound& e) {
    std::printf("%s\n", e.what());
}
