#include "camera/image/Frame.h"
#include "gstreamer/buffer/BufferMaker.h"
#include "gstreamer/buffer/ImageMemory.h"
#include "gstreamer/buffer/ImageMeta.h"
#include "gstreamer/element/Element.h"
#include "gstreamer/source/Source.h"

#include <gtest/gtest.h>

#include <numeric>

namespace {

using namespace tavixgst;
using Tavix::imaging::PixelFormat;

/// An image of the given size whose bytes count upwards, `padding` behind each line.
Tavix::Image ImageOf(PixelFormat format, std::uint32_t width, std::uint32_t height, std::uint32_t padding = 0) {
    auto* frame = new Tavix::detail::Frame;
    frame->format = format;
    frame->width = width;
    frame->height = height;
    frame->paddingX = padding;
    frame->MeasureLines();
    frame->origin = std::make_shared<Tavix::detail::FrameOrigin>();
    frame->payloadSize = frame->size =
        (std::size_t{width} * Tavix::imaging::BitsPerPixel(format) / 8 + padding) * height;
    auto bytes = std::make_shared<std::vector<std::uint8_t>>(frame->size);
    std::iota(bytes->begin(), bytes->end(), std::uint8_t(0));
    frame->memory = std::shared_ptr<void>(bytes, bytes->data());
    return Tavix::Image(Tavix::detail::FramePtr(frame));
}

Layout LayoutFor(const char* text) {
    const CapsPtr caps(gst_caps_from_string(text));
    for (const PixelFormat format : {PixelFormat::Mono8, PixelFormat::Mono16, PixelFormat::RGB8, PixelFormat::BayerRG8})
        if (IsMeant(*FindFormat(format), *gst_caps_get_structure(caps.get(), 0)))
            return LayoutOf(*FindFormat(format), *caps);
    return {};
}

std::vector<unsigned int> BytesOf(GstBuffer& buffer) {
    GstMapInfo map;
    if (!gst_buffer_map(&buffer, &map, GST_MAP_READ)) return {};
    std::vector<unsigned int> bytes(map.data, map.data + map.size);
    gst_buffer_unmap(&buffer, &map);
    return bytes;
}

class GstBufferOfAnImage : public testing::Test {
protected:
    GstBufferOfAnImage() {
        gst_init(nullptr, nullptr);
        RegisterMeta();
    }
    BufferPtr Make(Tavix::Image image, const char* caps) {
        return maker.Make(std::move(image), LayoutFor(caps), [](gsize bytes) {
            BufferPtr buffer(gst_buffer_new_allocate(nullptr, bytes, nullptr));
            gst_buffer_memset(buffer.get(), 0, 0xEE, bytes);
            return buffer;
        });
    }
    static bool IsWrapped(GstBuffer& buffer) {
        return gst_memory_is_type(gst_buffer_peek_memory(&buffer, 0), "TavixImage") != 0;
    }

    BufferMaker maker;
};

TEST_F(GstBufferOfAnImage, IsItsMemoryWhereLinesLieAsGStreamerExpects) {
    const BufferPtr buffer = Make(ImageOf(PixelFormat::Mono8, 4, 2), "video/x-raw,format=GRAY8,width=4,height=2");
    EXPECT_TRUE(IsWrapped(*buffer));
    EXPECT_EQ(BytesOf(*buffer), (std::vector<unsigned int>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(maker.CopiedBytes(), 0U);
}

TEST_F(GstBufferOfAnImage, IsCopiedWherePaddingCannotBeTold) {
    const BufferPtr buffer = Make(ImageOf(PixelFormat::Mono8, 3, 2), "video/x-raw,format=GRAY8,width=3,height=2");
    EXPECT_FALSE(IsWrapped(*buffer));
    EXPECT_EQ(BytesOf(*buffer), (std::vector<unsigned int>{0, 1, 2, 0xEE, 3, 4, 5, 0xEE}));
    EXPECT_EQ(maker.CopiedBytes(), 8U);
}

TEST_F(GstBufferOfAnImage, TellsPaddingToThoseWhoAskForIt) {
    maker.SetKnowsVideoMeta(true);
    const BufferPtr buffer = Make(ImageOf(PixelFormat::RGB8, 2, 2, 3), "video/x-raw,format=RGB,width=2,height=2");
    EXPECT_TRUE(IsWrapped(*buffer));
    const GstVideoMeta* meta = gst_buffer_get_video_meta(buffer.get());
    ASSERT_NE(meta, nullptr);
    EXPECT_EQ(meta->stride[0], 9);
    EXPECT_EQ(meta->offset[0], 0U);
    EXPECT_EQ(maker.CopiedBytes(), 0U);
}

TEST_F(GstBufferOfAnImage, OfBayerIsCopiedWhereLinesDoNotBeginAtFourBytes) {
    maker.SetKnowsVideoMeta(true); // has no word for Bayer
    const BufferPtr buffer = Make(ImageOf(PixelFormat::BayerRG8, 2, 2), "video/x-bayer,format=rggb,width=2,height=2");
    EXPECT_EQ(BytesOf(*buffer), (std::vector<unsigned int>{0, 1, 0xEE, 0xEE, 2, 3, 0xEE, 0xEE}));
}

TEST_F(GstBufferOfAnImage, IsConverted) {
    const BufferPtr buffer = Make(ImageOf(PixelFormat::Mono12, 2, 1), "video/x-raw,format=GRAY16_LE,width=2,height=1");
    EXPECT_EQ(BytesOf(*buffer), (std::vector<unsigned int>{0x01, 0x10, 0x23, 0x30})); // of 0x100 and 0x302
}

TEST_F(GstBufferOfAnImage, KeepsTheImageUntilTheLastShareGoes) {
    Tavix::Image image = ImageOf(PixelFormat::Mono8, 4, 2);
    const std::weak_ptr<void> watched = image.Memory();
    BufferPtr buffer = Make(std::move(image), "video/x-raw,format=GRAY8,width=4,height=2");
    BufferPtr part(gst_buffer_copy_region(buffer.get(), GST_BUFFER_COPY_MEMORY, 2, 3));
    buffer.reset();
    EXPECT_FALSE(watched.expired());
    EXPECT_EQ(BytesOf(*part), (std::vector<unsigned int>{2, 3, 4}));
    part.reset();
    EXPECT_TRUE(watched.expired());
}

TEST_F(GstBufferOfAnImage, IsCopiedDeeplyWithItsFacts) {
    BufferPtr buffer = Make(ImageOf(PixelFormat::Mono8, 4, 2), "video/x-raw,format=GRAY8,width=4,height=2");
    const BufferPtr copy(gst_buffer_copy_deep(buffer.get()));
    buffer.reset();
    EXPECT_FALSE(IsWrapped(*copy));
    EXPECT_EQ(BytesOf(*copy).size(), 8U);
    EXPECT_NE(gst_buffer_get_custom_meta(copy.get(), kImageMeta), nullptr);
}

TEST(GstOptions, GiveTheStreamThePropertiesOfTheElement) {
    gst_init(nullptr, nullptr);
    const auto element = static_cast<GstElement*>(gst_object_ref_sink(g_object_new(gst_tavix_src_get_type(), nullptr)));
    const auto grab = [&] { return SourceOf(element).Options()->ForGrab(); };
    EXPECT_EQ(grab().threadPriority, 0U);
    g_object_set(element, "thread-priority", 7U, "transfer-size", 65536U, "buffers", 3U, "keep-budget", guint64(5),
                 "memory-limit", guint64(6), "newest-only", TRUE, nullptr);
    EXPECT_EQ(grab().threadPriority, 7U);
    EXPECT_EQ(grab().transferSize, 65536U);
    EXPECT_EQ(grab().buffers, 3U);
    EXPECT_EQ(grab().keepBudget, 5U);
    EXPECT_EQ(grab().memoryLimit, 6U);
    EXPECT_TRUE(grab().newestOnly);
    const GParamSpec* priority = g_object_class_find_property(G_OBJECT_GET_CLASS(element), "thread-priority");
    EXPECT_EQ(G_PARAM_SPEC_UINT(priority)->maximum, 99U);
    gst_object_unref(element);
}

} // namespace
