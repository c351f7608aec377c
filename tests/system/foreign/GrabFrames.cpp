// A host of others, Debian's libaravis, grabs from a camera: each frame must be whole, in order and of the size asked
// for. Its bytes are written to a file, so that they can be compared with what our own host makes of the same frame.
//
//   grab_frames CAMERA FRAMES FOLDER "NAME=VALUE NAME=VALUE ..."
#include <arv.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

constexpr guint64 kTimeoutUs = 10000000;

[[noreturn]] void Fail(const char* what, GError* error = nullptr) {
    std::fprintf(stderr, "grab_frames: %s%s%s\n", what, error != nullptr ? ": " : "",
                 error != nullptr ? error->message : "");
    std::exit(EXIT_FAILURE);
}

void Check(const char* what, GError*& error) {
    if (error != nullptr) Fail(what, error);
}

struct Expected {
    gint width = 0;
    gint height = 0;
    ArvPixelFormat format = 0;
    bool chunks = false;
};

Expected Configure(ArvCamera* camera, const char* settings) {
    GError* error = nullptr;
    arv_device_set_features_from_string(arv_camera_get_device(camera), settings, &error);
    Check("setting features", error);
    Expected expected;
    gint x = 0, y = 0;
    arv_camera_get_region(camera, &x, &y, &expected.width, &expected.height, &error);
    Check("reading the region", error);
    expected.format = arv_camera_get_pixel_format(camera, &error);
    Check("reading the pixel format", error);
    expected.chunks = arv_camera_get_boolean(camera, "ChunkModeActive", &error) != FALSE;
    Check("reading the chunk mode", error);
    return expected;
}

void CheckFrame(ArvBuffer* buffer, const Expected& expected, guint64 number) {
    if (arv_buffer_get_status(buffer) != ARV_BUFFER_STATUS_SUCCESS) Fail("a frame is damaged");
    if (arv_buffer_get_frame_id(buffer) != number) Fail("a frame is missing");
    if (arv_buffer_get_image_width(buffer) != expected.width) Fail("a frame has another width");
    if (arv_buffer_get_image_height(buffer) != expected.height) Fail("a frame has another height");
    if (arv_buffer_get_image_pixel_format(buffer) != expected.format) Fail("a frame has another pixel format");
    if (arv_buffer_get_timestamp(buffer) == 0) Fail("a frame has no time");
    if ((arv_buffer_has_chunks(buffer) != FALSE) != expected.chunks) Fail("chunk data is not as it was asked for");
}

void CheckChunks(ArvChunkParser* parser, ArvBuffer* buffer, const Expected& expected, guint64 number) {
    GError* error = nullptr;
    const gint64 id = arv_chunk_parser_get_integer_value(parser, buffer, "ChunkFrameID", &error);
    Check("reading ChunkFrameID", error);
    if (static_cast<guint64>(id) != number) Fail("ChunkFrameID is of another frame");
    const gint64 width = arv_chunk_parser_get_integer_value(parser, buffer, "ChunkWidth", nullptr);
    if (width != 0 && width != expected.width) Fail("ChunkWidth is wrong");
}

void Save(ArvBuffer* buffer, const std::string& folder, guint64 number) {
    std::size_t size = 0;
    const void* bytes = arv_buffer_get_image_data(buffer, &size);
    if (bytes == nullptr || size == 0) Fail("a frame has no bytes");
    std::ofstream file(folder + "/" + std::to_string(number) + ".raw", std::ios::binary);
    file.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    if (!file) Fail("cannot write a frame");
}

/// The camera must have nothing lost, damaged or too late to tell.
void CheckStatistics(ArvStream* stream, guint64 frames) {
    guint64 completed = 0, failures = 0, underruns = 0;
    arv_stream_get_statistics(stream, &completed, &failures, &underruns);
    std::printf("%llu completed, %llu failed, %llu without a buffer\n", static_cast<unsigned long long>(completed),
                static_cast<unsigned long long>(failures), static_cast<unsigned long long>(underruns));
    if (completed < frames || failures != 0) Fail("frames have failed");
}

void Grab(ArvCamera* camera, guint64 frames, const std::string& folder, const Expected& expected) {
    GError* error = nullptr;
    ArvStream* stream = arv_camera_create_stream(camera, nullptr, nullptr, &error);
    Check("creating a stream", error);
    const guint payload = arv_camera_get_payload(camera, &error);
    Check("reading the payload size", error);
    // A buffer for each frame: what this machine does meanwhile must not cost any.
    for (guint64 i = 0; i < frames; ++i)
        arv_stream_push_buffer(stream, arv_buffer_new(payload, nullptr));
    ArvChunkParser* parser = arv_camera_create_chunk_parser(camera);
    arv_camera_start_acquisition(camera, &error);
    Check("starting", error);
    for (guint64 number = 0; number < frames; ++number) {
        ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream, kTimeoutUs);
        if (buffer == nullptr) Fail("no frame came in time");
        CheckFrame(buffer, expected, number);
        if (expected.chunks) CheckChunks(parser, buffer, expected, number);
        Save(buffer, folder, number);
        g_object_unref(buffer);
    }
    arv_camera_stop_acquisition(camera, &error);
    Check("stopping", error);
    CheckStatistics(stream, frames);
    g_object_unref(parser);
    g_object_unref(stream);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) Fail("CAMERA FRAMES FOLDER SETTINGS are wanted");
    GError* error = nullptr;
    ArvCamera* camera = arv_camera_new(argv[1], &error);
    Check("opening", error);
    if (camera == nullptr) Fail("there is no such camera");
    const Expected expected = Configure(camera, argv[4]);
    // Twice: a stream must start again after it was stopped.
    for (int round = 0; round < 2; ++round)
        Grab(camera, std::strtoull(argv[2], nullptr, 10), argv[3], expected);
    g_object_unref(camera);
    return EXIT_SUCCESS;
}
