// The cameras of a library that the USB access library loads beside the real bus.
#include "CamerasOnBus.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <unistd.h>

namespace integration {
namespace {

std::string WriteSettings(const std::string& text) {
    char path[] = "/tmp/tavix-cameras-XXXXXX";
    const int file = mkstemp(path);
    if (file < 0) throw std::runtime_error("cannot write the cameras' settings");
    const bool whole = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(file);
    if (!whole) throw std::runtime_error("cannot write the cameras' settings");
    return path;
}

class LoadedCameras final : public CamerasOnBus {
public:
    explicit LoadedCameras(const std::string& settings) : m_Path(WriteSettings(settings)) {
        setenv("TAVIX_VIRTUAL_CAMERAS", m_Path.c_str(), /*overwrite=*/1);
    }
    ~LoadedCameras() override { std::remove(m_Path.c_str()); }
    virtualcam::Device* Find(std::size_t) override { return nullptr; }

private:
    const std::string m_Path;
};

} // namespace

std::unique_ptr<CamerasOnBus> PlugIn(const std::string& settings) {
    return std::make_unique<LoadedCameras>(settings);
}

} // namespace integration
