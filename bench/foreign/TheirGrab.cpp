// One camera below the real libusb, grabbed from by a host of others, Debian's libaravis, in the one or the other of
// its two ways of reading a stream.
//
//   their_grab FRAMES RATE sync|async, with rate 0 for as fast as the host takes them; prints the figures of a frame
#include "support/ThreadTimes.h"

#include <arv.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr guint64 kTimeoutUs = 5000000;
constexpr unsigned int kBuffers = 8;

void Check(GError* error) {
    if (error == nullptr) return;
    std::fprintf(stderr, "their_grab: %s\n", error->message);
    std::exit(EXIT_FAILURE);
}

/// Takes frames as they come; how many failed or never came.
unsigned int Frames(ArvStream* stream, unsigned int count) {
    unsigned int lost = 0;
    for (unsigned int i = 0; i < count; ++i) {
        ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream, kTimeoutUs);
        if (buffer == nullptr) return lost + count - i;
        if (arv_buffer_get_status(buffer) != ARV_BUFFER_STATUS_SUCCESS) ++lost;
        arv_stream_push_buffer(stream, buffer);
    }
    return lost;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) return EXIT_FAILURE;
    const auto frames = static_cast<unsigned int>(std::strtoul(argv[1], nullptr, 10));
    const bool isPaced = std::strcmp(argv[2], "0") != 0;
    GError* error = nullptr;
    ArvCamera* camera = arv_camera_new(nullptr, &error);
    Check(error);
    arv_camera_uv_set_usb_mode(camera,
                               std::strcmp(argv[3], "sync") == 0 ? ARV_UV_USB_MODE_SYNC : ARV_UV_USB_MODE_ASYNC);
    std::string settings = "Width=1920 Height=1080 AcquisitionFrameRateEnable=";
    settings += isPaced ? "true AcquisitionFrameRate=" + std::string(argv[2]) : "false";
    arv_device_set_features_from_string(arv_camera_get_device(camera), settings.c_str(), &error);
    Check(error);
    ArvStream* stream = arv_camera_create_stream(camera, nullptr, nullptr, &error);
    Check(error);
    const guint payload = arv_camera_get_payload(camera, &error);
    Check(error);
    for (unsigned int i = 0; i < kBuffers; ++i)
        arv_stream_push_buffer(stream, arv_buffer_new(payload, nullptr));
    arv_camera_start_acquisition(camera, &error);
    Check(error);
    unsigned int lost = Frames(stream, 16);
    const bench::Cost before = bench::MeasureThreads();
    const auto start = std::chrono::steady_clock::now();
    lost += Frames(stream, frames);
    bench::Print(bench::MeasureThreads() - before, frames, std::chrono::steady_clock::now() - start, lost);
    arv_camera_stop_acquisition(camera, nullptr);
    g_object_unref(stream);
    g_object_unref(camera);
    return lost == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
