#include "virtualcam/device/channel/StreamLayout.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using virtualcam::StreamLayout;

std::vector<std::size_t> Sizes(std::uint32_t size, std::uint32_t count, std::uint32_t final1, std::uint32_t final2) {
    StreamLayout layout;
    layout.transferSize = size;
    layout.transferCount = count;
    layout.final1 = final1;
    layout.final2 = final2;
    std::vector<std::size_t> sizes;
    for (std::uint64_t i = 0; i < layout.Transfers(); ++i)
        sizes.push_back(layout.TransferSize(i));
    return sizes;
}

TEST(StreamLayout, HasEqualTransfersAndTwoLastOnes) {
    EXPECT_EQ(Sizes(1024, 3, 512, 100), (std::vector<std::size_t>{1024, 1024, 1024, 512, 100}));
}

TEST(StreamLayout, LeavesTransfersOfSizeZeroOut) {
    EXPECT_EQ(Sizes(1024, 2, 0, 100), (std::vector<std::size_t>{1024, 1024, 100}));
    EXPECT_EQ(Sizes(1024, 1, 512, 0), (std::vector<std::size_t>{1024, 512}));
    EXPECT_EQ(Sizes(0, 7, 512, 100), (std::vector<std::size_t>{512, 100}));
    EXPECT_EQ(Sizes(0, 7, 0, 0), std::vector<std::size_t>{});
}

} // namespace
