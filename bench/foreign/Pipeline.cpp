// One camera below the real libusb as the source of a GStreamer pipeline, ours or that of others; both in the same one.
//
//   pipeline FRAMES SOURCE, where SOURCE is an element with its properties and caps; prints the figures of a frame
#include "support/ThreadTimes.h"
#include "support/Turnstile.h"

#include <gst/gst.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr unsigned int kWarmUp = 16;

GstPadProbeReturn OnBuffer(GstPad*, GstPadProbeInfo*, gpointer frames) {
    static_cast<bench::Turnstile*>(frames)->Pass();
    return GST_PAD_PROBE_OK;
}

[[noreturn]] void Fail(const char* reason) {
    std::fprintf(stderr, "pipeline: %s\n", reason);
    std::_Exit(EXIT_FAILURE);
}

/// On the thread that posts, since the main one waits for frames.
GstBusSyncReply OnMessage(GstBus*, GstMessage* message, gpointer) {
    if (GST_MESSAGE_TYPE(message) != GST_MESSAGE_ERROR) return GST_BUS_DROP;
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    Fail(error->message);
}

} // namespace

int main(int argc, char** argv) {
    gst_init(&argc, &argv);
    if (argc != 3) return EXIT_FAILURE;
    const auto frames = static_cast<unsigned int>(std::strtoul(argv[1], nullptr, 10));
    const std::string description = std::string(argv[2]) + " ! fakesink name=sink sync=false";
    GError* error = nullptr;
    GstElement* pipeline = gst_parse_launch(description.c_str(), &error);
    if (error != nullptr) Fail(error->message);
    GstBus* bus = gst_element_get_bus(pipeline);
    gst_bus_set_sync_handler(bus, OnMessage, nullptr, nullptr);
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    GstPad* pad = gst_element_get_static_pad(sink, "sink");
    bench::Turnstile passing;
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, OnBuffer, &passing, nullptr);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    passing.Await(kWarmUp);
    const bench::Cost before = bench::MeasureThreads();
    const auto start = std::chrono::steady_clock::now();
    passing.Await(frames);
    bench::Print(bench::MeasureThreads() - before, frames, std::chrono::steady_clock::now() - start, /*lost=*/0);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pad);
    gst_object_unref(sink);
    gst_object_unref(bus);
    gst_object_unref(pipeline);
    return EXIT_SUCCESS;
}
