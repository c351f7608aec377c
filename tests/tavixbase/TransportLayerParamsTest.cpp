#include "tavix/TransportLayerParams.h"

#include <GenApi/Pointer.h>

#include <gtest/gtest.h>

#include <memory>

namespace Tavix {
namespace {

struct Destroyer {
    void operator()(GenApi::INodeMap* pNodeMap) const { DestroyDefaultTransportLayerParams(pNodeMap); }
};
using Params = std::unique_ptr<GenApi::INodeMap, Destroyer>;

GenApi::CBooleanPtr EnableOf(const Params& params) {
    return params->GetNode("ChunkNodeMapSupportEnable");
}

} // namespace

TEST(TransportLayerParams, EnableChunkNodeMapsAtFirst) {
    const Params params(CreateDefaultTransportLayerParams());
    ASSERT_TRUE(EnableOf(params).IsValid());
    EXPECT_TRUE(EnableOf(params)->GetValue());
    EXPECT_EQ(EnableOf(params)->GetAccessMode(), GenApi::RW);
}

TEST(TransportLayerParams, HoldTheirValuesApart) {
    const Params one(CreateDefaultTransportLayerParams()), other(CreateDefaultTransportLayerParams());
    EnableOf(one)->SetValue(false);
    EXPECT_FALSE(EnableOf(one)->GetValue());
    EXPECT_TRUE(EnableOf(other)->GetValue());
}

TEST(TransportLayerParams, AreReachableFromTheRootCategory) {
    const Params params(CreateDefaultTransportLayerParams());
    EXPECT_TRUE(params->GetNode("ChunkNodeMapSupportEnable")->IsFeature());
}

TEST(TransportLayerParams, DestroyIgnoresNull) {
    DestroyDefaultTransportLayerParams(nullptr);
}

} // namespace Tavix
