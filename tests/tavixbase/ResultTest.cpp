#include "tavix/Result.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Tavix {

TEST(GrabResult, KnowsNothingAtFirst) {
    const GrabResult result;
    EXPECT_FALSE(result.Succeeded());
    EXPECT_EQ(result.Status(), _UndefinedGrabStatus);
    EXPECT_EQ(result.Handle(), nullptr);
    EXPECT_EQ(result.Buffer(), nullptr);
    EXPECT_EQ(result.Context(), nullptr);
    EXPECT_EQ(result.GetPayloadSize(), 0U);
    EXPECT_EQ(result.GetPayloadSize64(), ~std::uint64_t(0));
    EXPECT_EQ(result.GetPayloadType(), PayloadType_Undefined);
    EXPECT_EQ(result.GetPixelType(), PixelType_Undefined);
    EXPECT_EQ(result.GetTimeStamp(), 0U);
    EXPECT_EQ(result.GetBlockID(), ~std::uint64_t(0));
    EXPECT_EQ(result.GetErrorCode(), 0U);
    EXPECT_TRUE(result.GetErrorDescription().empty());
    for (const std::int32_t size : {result.GetSizeX(), result.GetSizeY(), result.GetOffsetX(), result.GetOffsetY(),
                                    result.GetPaddingX(), result.GetPaddingY()}) {
        EXPECT_EQ(size, -1);
    }
}

TEST(GrabResult, ResetPayloadKeepsWhatIdentifiesTheBuffer) {
    int buffer = 0;
    GrabResult result;
    result.m_pBuffer = &buffer;
    result.m_Status = Grabbed;
    result.m_SizeX = 640;
    result.m_ErrorDescription = "gone";
    result.ResetPayload();
    EXPECT_TRUE(result.Succeeded());
    EXPECT_EQ(result.Buffer(), &buffer);
    EXPECT_EQ(result.GetSizeX(), -1);
    EXPECT_TRUE(result.GetErrorDescription().empty());
}

TEST(EventResult, HoldsAZeroedMessageOf576Bytes) {
    const EventResult result;
    EXPECT_TRUE(result.Succeeded());
    EXPECT_EQ(sizeof result.m_Buffer, 576U);
    EXPECT_TRUE(std::all_of(result.Buffer(), result.Buffer() + 576, [](unsigned char byte) { return byte == 0; }));
}

TEST(AccessModes, DefaultIsControlStreamAndEvents) {
    EXPECT_EQ(DefaultAccessMode().to_ullong(), 0x1AU);
}

} // namespace Tavix
