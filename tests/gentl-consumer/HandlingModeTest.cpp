// What becomes of ten frames that meet four buffers while nobody takes them.
#include "gentl-consumer/support/Description.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace consumer;

class HandlingMode : public testing::Test {
protected:
    std::vector<std::uint64_t> Ids(const char* mode) {
        Module stream(m_Session, m_Session.Stream());
        stream.Set("StreamBufferHandlingMode", mode);
        m_Session.Write32(kAcquisitionMode, 1); // so many frames
        m_Session.Write32(kFrameCount, 10);
        m_Session.Announce(4);
        m_Session.QueueAll();
        m_Session.Start();
        EXPECT_TRUE(Eventually([&] { return Settled(mode); })) << "the camera is not asked for its frames";
        std::vector<std::uint64_t> ids;
        for (BUFFER_HANDLE buffer = m_Session.Next(); buffer; buffer = m_Session.Next(100))
            ids.push_back(m_Session.BufferInfo(buffer, BUFFER_INFO_FRAMEID).Number());
        return ids;
    }
    Session m_Session;

private:
    /// What is told to be oldest first may leave the camera waiting.
    bool Settled(const std::string& mode) {
        if (mode == "OldestFirst" || mode == "Default")
            return m_Session.StreamInfo(STREAM_INFO_NUM_AWAIT_DELIVERY).Number() == 4;
        return m_Session.StreamInfo(STREAM_INFO_NUM_STARTED).Number() >= 10;
    }
};

TEST_F(HandlingMode, OldestFirstKeepsWhatCameFirst) {
    const std::vector<std::uint64_t> ids = Ids("OldestFirst");
    EXPECT_EQ(ids, (std::vector<std::uint64_t>{0, 1, 2, 3}));
}

TEST_F(HandlingMode, DefaultLosesNothingThatFits) {
    const std::vector<std::uint64_t> ids = Ids("Default");
    EXPECT_EQ(ids, (std::vector<std::uint64_t>{0, 1, 2, 3}));
}

TEST_F(HandlingMode, OldestFirstOverwriteKeepsWhatCameLast) {
    const std::vector<std::uint64_t> ids = Ids("OldestFirstOverwrite");
    ASSERT_FALSE(ids.empty());
    EXPECT_EQ(ids.back(), 9u);
    EXPECT_GE(ids.front(), 5u);
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
}

TEST_F(HandlingMode, NewestOnlyKeepsTheLastOne) {
    const std::vector<std::uint64_t> ids = Ids("NewestOnly");
    ASSERT_FALSE(ids.empty());
    EXPECT_EQ(ids.back(), 9u);
    EXPECT_GE(ids.front(), 8u) << "the last but one may be taken before the last is whole";
}

} // namespace
