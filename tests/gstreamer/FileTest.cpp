#include "gstreamer/Pipeline.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace {

using namespace gsttest;
using integration::VirtualBus;

/// A folder that goes with its object.
class Folder {
public:
    Folder() {
        char pattern[] = "/tmp/tavix-gst-XXXXXX";
        m_Path = mkdtemp(pattern);
    }
    ~Folder() { std::filesystem::remove_all(m_Path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    const std::string& Path() const { return m_Path; }

private:
    std::string m_Path;
};

std::vector<std::vector<std::uint8_t>> PullAll(Pipeline& pipeline) {
    std::vector<std::vector<std::uint8_t>> images;
    while (const Handle<GstSample> sample = pipeline.Pull()) {
        GstMapInfo map;
        GstBuffer* buffer = gst_sample_get_buffer(sample.get());
        if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) break;
        images.emplace_back(map.data, map.data + map.size);
        gst_buffer_unmap(buffer, &map);
    }
    return images;
}

class GstFile : public testing::TestWithParam<const char*> {};

TEST_P(GstFile, HoldsThePixelsThatTheCameraSent) {
    VirtualBus bus(R"([{"serial": "7", "sensorWidth": 128, "sensorHeight": 64, "frameRate": 50}])");
    const Folder folder;
    const std::string caps = std::string("video/x-raw,format=") + GetParam();
    Pipeline writing("tavixsrc num-buffers=5 ! " + caps +
                     " ! tee name=both both. ! queue ! pngenc ! multifilesink location=" + folder.Path() +
                     "/%d.png both. ! queue ! appsink name=sink sync=false");
    ASSERT_TRUE(writing.Reach(GST_STATE_PLAYING));
    const auto sent = PullAll(writing);
    ASSERT_TRUE(writing.AwaitEnd());
    ASSERT_EQ(sent.size(), 5U);
    EXPECT_NE(sent[0], sent[4]); // the scene moves

    Pipeline reading("multifilesrc location=" + folder.Path() + "/%d.png caps=image/png,framerate=50/1 ! pngdec ! " +
                     caps + " ! appsink name=sink sync=false");
    ASSERT_TRUE(reading.Reach(GST_STATE_PLAYING));
    EXPECT_EQ(PullAll(reading), sent);
}
INSTANTIATE_TEST_SUITE_P(Formats, GstFile, testing::Values("GRAY8", "RGB"));

} // namespace
