// The interfaces as they are documented, held fast by the compiler: names, signatures and the order of the slots.

#include "chunk/ChunkAdapterUsb.h"
#include "chunk/SelfReliantUsbChunkParser.h"
#include "compatibility/NodeCompatibilityLayer.h"
#include "event/TavixUsbEventAdapter.h"
#include "event/TavixUsbEventGrabber.h"
#include "stream/TavixUsbStream.h"
#include "tavixusb/support/Slot.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace {

using namespace Tavix;
using GenApi::CChunkAdapterUsb;
using GenApi::INode;
using GenICam::gcstring;
using support::Slot;

/// Each stands right behind the one before.
template<class... Operations>
void ExpectInOrder(Operations... operations) {
    const std::size_t slots[] = {Slot(operations)...};
    for (std::size_t i = 1; i < sizeof...(operations); ++i)
        EXPECT_EQ(slots[i], slots[i - 1] + 1) << "operation " << i;
}

template<class Class, class Result, class... Arguments>
using Member = Result (Class::*)(Arguments...);
template<class Class, class Result, class... Arguments>
using ConstMember = Result (Class::*)(Arguments...) const;

TEST(DataInterface, OfTheStreamGrabber) {
    using Grabber = IStreamGrabber;
    static_assert(std::is_base_of_v<IStreamGrabber, CTavixUsbStream>);
    static_assert(std::is_constructible_v<CTavixUsbStream, vexlo::CVxDevice*, CTavixUsbDevice*>);
    constexpr Member<Grabber, void*, void*, unsigned long> registerBuffer = &Grabber::RegisterBuffer;
    constexpr Member<Grabber, void, void*, const void*> queueBuffer = &Grabber::QueueBuffer;
    constexpr Member<Grabber, bool, GrabResult&> retrieve = &Grabber::RetrieveResult;
    constexpr ConstMember<Grabber, bool> isOpen = &Grabber::IsOpen;
    constexpr ConstMember<Grabber, WaitObject&> waitObject = &Grabber::GetWaitObject;
    constexpr Member<Grabber, GenApi::INodeMap*> nodeMap = &Grabber::GetNodeMap;
    EXPECT_EQ(0u, Slot(&Grabber::Open));
    ExpectInOrder(&Grabber::Open, &Grabber::Close, isOpen, registerBuffer, &Grabber::DeregisterBuffer,
                  &Grabber::PrepareGrab, &Grabber::FinishGrab, queueBuffer, &Grabber::CancelGrab, retrieve, waitObject,
                  nodeMap);
    static_assert(std::is_base_of_v<GenApi::IPort, CStreamGrabberPort>);
    static_assert(std::is_same_v<CStreamGrabberPort, CGenericUsbPort<vexlo::CVxStream>>);
}

TEST(DataInterface, OfTheEventGrabber) {
    using Grabber = IEventGrabber;
    static_assert(std::is_base_of_v<IEventGrabber, CTavixUsbEventGrabber>);
    static_assert(std::is_constructible_v<CTavixUsbEventGrabber, vexlo::CVxDevice*>);
    constexpr Member<Grabber, bool, EventResult&> retrieve = &Grabber::RetrieveEvent;
    constexpr ConstMember<Grabber, bool> isOpen = &Grabber::IsOpen;
    EXPECT_EQ(0u, Slot(&Grabber::Open));
    ExpectInOrder(&Grabber::Open, &Grabber::Close, isOpen, retrieve, &Grabber::GetWaitObject, &Grabber::GetNodeMap);
    static_assert(std::is_same_v<CEventStreamGrabberPort, CGenericUsbPort<vexlo::CVxEventStream>>);
    static_assert(sizeof(EventResult::m_Buffer) == 576);
    static_assert(sizeof(EventResult::m_ErrorCode) == 4);
}

TEST(DataInterface, OfTheParameterNodeMaps) {
    using Vandrel_UsbEventParams::CUsbEventParamsImpl;
    using Vandrel_UsbStreamParams::CUsbStreamParamsImpl;
    static_assert(std::is_base_of_v<GenApi::CNodeMap, CUsbStreamParamsImpl>);
    static_assert(std::is_base_of_v<GenApi::CNodeMap, CUsbEventParamsImpl>);
    [[maybe_unused]] constexpr CUsbStreamParamsImpl* (*makeStream)(const gcstring&) = &CUsbStreamParamsImpl::Create;
    [[maybe_unused]] constexpr CUsbEventParamsImpl* (*makeEvents)(const gcstring&) = &CUsbEventParamsImpl::Create;
    CUsbStreamParamsImpl* const stream = makeStream("");
    EXPECT_EQ("", stream->GetDeviceName());
    stream->Destroy();
    makeEvents("")->Destroy();
}

TEST(DataInterface, OfTheChunkParsers) {
    static_assert(std::is_base_of_v<GenApi::CChunkAdapter, CChunkAdapterUsb>);
    static_assert(std::is_constructible_v<CChunkAdapterUsb, GenApi::INodeMap*, std::int64_t>);
    static_assert(sizeof(CChunkAdapterUsb) == sizeof(GenApi::CChunkAdapter), "it adds no members");
    static_assert(std::is_base_of_v<CChunkParser, CUsbChunkParser> && std::is_base_of_v<IChunkParser, CChunkParser>);
    static_assert(std::is_constructible_v<CUsbChunkParser, GenApi::INodeMap*>);
    static_assert(std::is_base_of_v<CUsbChunkParser, CSelfReliantUsbChunkParser>);
    static_assert(std::is_base_of_v<ISelfReliantChunkParser, CSelfReliantUsbChunkParser>);
    static_assert(sizeof(GenApi::AttachStatistics_t) == 12);
    [[maybe_unused]] constexpr Member<CChunkAdapterUsb, bool, std::uint8_t*, std::int64_t> check =
        &CChunkAdapterUsb::CheckBufferLayout;
    [[maybe_unused]] constexpr Member<CChunkAdapterUsb, void, std::uint8_t*, std::int64_t, GenApi::AttachStatistics_t*>
        attach = &CChunkAdapterUsb::AttachBuffer;
    [[maybe_unused]] constexpr ConstMember<CUsbChunkParser, bool> hasCrc = &CUsbChunkParser::HasCRC;
    [[maybe_unused]] constexpr Member<CUsbChunkParser, bool> checkCrc = &CUsbChunkParser::CheckCRC;
    [[maybe_unused]] constexpr ConstMember<CUsbChunkParser, std::uint64_t, const void*, std::uint64_t> crc16 =
        &CUsbChunkParser::CRC16;
    [[maybe_unused]] constexpr Member<CSelfReliantUsbChunkParser, GenApi::INodeMap*> map =
        &CSelfReliantUsbChunkParser::GetChunkDataNodeMap;
    GenApi::AttachStatistics_t counters = {1, 2, 3};
    std::uint32_t words[3];
    std::memcpy(words, &counters, sizeof words);
    EXPECT_EQ(words[0], counters.NumChunkPorts);
    EXPECT_EQ(words[1], counters.NumChunks);
    EXPECT_EQ(words[2], counters.NumAttachedChunks);
}

TEST(DataInterface, OfTheEventAdapter) {
    static_assert(std::is_base_of_v<IEventAdapter, CTavixUsbEventAdapter>);
    static_assert(std::is_constructible_v<CTavixUsbEventAdapter, GenApi::INodeMap*>);
    static_assert(!std::has_virtual_destructor_v<IEventAdapter>);
    static_assert(!std::has_virtual_destructor_v<CTavixUsbEventAdapter>);
    constexpr Member<IEventAdapter, void, const unsigned char*, std::uint32_t> deliver = &IEventAdapter::DeliverMessage;
    EXPECT_EQ(0u, Slot(deliver));
}

TEST(DataInterface, OfTheCompatibilityLayer) {
    static_assert(std::is_base_of_v<GenApi::INodeMap, CNodeCompatibilityLayer>);
    static_assert(std::is_base_of_v<INodeMapProvider, CNodeCompatibilityLayer>);
    static_assert(std::is_constructible_v<CNodeCompatibilityLayer, GenApi::INodeMap*>);
    static_assert(std::is_same_v<decltype(NodeData::NewName), gcstring>);
    static_assert(std::is_same_v<decltype(NodeData::UseCastAlias), bool>);
    [[maybe_unused]] constexpr ConstMember<CNodeCompatibilityLayer, INode*, const gcstring&> getNode =
        &CNodeCompatibilityLayer::GetNode;
    [[maybe_unused]] constexpr Member<INodeMapProvider, GenApi::INodeMap*> getNodeMap = &INodeMapProvider::GetNodeMap;
}

TEST(DataInterface, OfTheWrappers) {
    static_assert(std::is_base_of_v<INode, CNodeWrapper> &&
                  std::is_constructible_v<CWrappedEnumeration, INode*, gcstring>);
    static_assert(std::is_base_of_v<GenApi::ISelector, CSelectorWrapper>);
    static_assert(std::is_base_of_v<GenApi::IEnumeration, CEnumerationWrapper>);
    static_assert(std::is_base_of_v<CNodeWrapper, CWrappedEnumeration>);
    static_assert(std::is_base_of_v<CSelectorWrapper, CWrappedEnumeration>);
    static_assert(std::is_base_of_v<CEnumerationWrapper, CWrappedEnumeration>);
    static_assert(std::is_convertible_v<CWrappedEnumeration*, GenApi::IBase*>, "one IBase for all faces");
    ExpectInOrder(&GenApi::ISelector::IsSelector, &GenApi::ISelector::GetSelectedFeatures,
                  &GenApi::ISelector::GetSelectingFeatures);
    ExpectInOrder(&INode::GetName, &INode::GetNameSpace, &INode::GetVisibility, &INode::InvalidateNode,
                  &INode::IsCachable, &INode::IsAccessModeCacheable, &INode::GetCachingMode, &INode::GetPollingTime,
                  &INode::GetToolTip, &INode::GetDescription, &INode::GetDisplayName, &INode::GetDeviceName,
                  &INode::GetChildren, &INode::GetParents, &INode::RegisterCallback, &INode::DeregisterCallback,
                  &INode::GetNodeMap, &INode::GetEventID, &INode::IsStreamable, &INode::GetPropertyNames,
                  &INode::GetProperty, &INode::ImposeAccessMode, &INode::ImposeVisibility, &INode::GetAlias,
                  &INode::GetCastAlias, &INode::GetDocuURL, &INode::IsDeprecated, &INode::GetPrincipalInterfaceType,
                  &INode::IsFeature);
    using GenApi::IEnumeration;
    using GenApi::IValue;
    constexpr Member<IEnumeration, IEnumeration&, const gcstring&> assign = &IEnumeration::operator=;
    ExpectInOrder(&IValue::GetNode, &IValue::ToString, &IValue::FromString, &IValue::IsValueCacheValid);
    ExpectInOrder(&IEnumeration::GetSymbolics, &IEnumeration::GetEntries, assign, &IEnumeration::SetIntValue,
                  &IEnumeration::operator*, &IEnumeration::GetIntValue, &IEnumeration::GetEntryByName,
                  &IEnumeration::GetEntry, &IEnumeration::GetCurrentEntry);
}

} // namespace
