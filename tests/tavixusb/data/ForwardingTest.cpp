// What the wrappers and the compatibility layer hand on as it is: every operation, its arguments and its result.

#include "MockNode.h"
#include "compatibility/NodeCompatibilityLayer.h"

#include <gtest/gtest.h>

#include <map>

using testing::_;
using testing::Ref;
using testing::Return;
using testing::ReturnRef;

namespace {

using GenICam::gcstring;

struct Forwarding : testing::Test {
    support::MockNode camera;
    Tavix::CWrappedEnumeration wrapper{&camera, "PixelFormat"};
    GenApi::INode& node = wrapper;
    GenApi::ISelector& selector = wrapper;
    GenApi::IEnumeration& enumeration = wrapper;
};

TEST_F(Forwarding, OfTheNodesTexts) {
    EXPECT_CALL(camera, GetName(true)).WillOnce(Return("Custom::Name"));
    EXPECT_CALL(camera, GetName(false)).WillOnce(Return("Name"));
    EXPECT_EQ(node.GetName(true), "Custom::Name");
    EXPECT_EQ(node.GetName(), "Name");
    EXPECT_CALL(camera, GetToolTip()).WillOnce(Return("tip"));
    EXPECT_EQ(node.GetToolTip(), "tip");
    EXPECT_CALL(camera, GetDescription()).WillOnce(Return("description"));
    EXPECT_EQ(node.GetDescription(), "description");
    EXPECT_CALL(camera, GetDisplayName()).WillOnce(Return("display"));
    EXPECT_EQ(node.GetDisplayName(), "display");
    EXPECT_CALL(camera, GetDeviceName()).WillOnce(Return("Device"));
    EXPECT_EQ(node.GetDeviceName(), "Device");
    EXPECT_CALL(camera, GetEventID()).WillOnce(Return("9C40"));
    EXPECT_EQ(node.GetEventID(), "9C40");
    EXPECT_CALL(camera, GetDocuURL()).WillOnce(Return("http://docu"));
    EXPECT_EQ(node.GetDocuURL(), "http://docu");
}

TEST_F(Forwarding, OfTheNodesKind) {
    EXPECT_CALL(camera, GetNameSpace()).WillOnce(Return(GenApi::Standard));
    EXPECT_EQ(node.GetNameSpace(), GenApi::Standard);
    EXPECT_CALL(camera, GetVisibility()).WillOnce(Return(GenApi::Guru));
    EXPECT_EQ(node.GetVisibility(), GenApi::Guru);
    EXPECT_CALL(camera, GetPrincipalInterfaceType()).WillOnce(Return(GenApi::intfIEnumeration));
    EXPECT_EQ(node.GetPrincipalInterfaceType(), GenApi::intfIEnumeration);
    for (const bool answer : {true, false}) {
        EXPECT_CALL(camera, IsStreamable()).WillOnce(Return(answer));
        EXPECT_EQ(node.IsStreamable(), answer);
        EXPECT_CALL(camera, IsDeprecated()).WillOnce(Return(answer));
        EXPECT_EQ(node.IsDeprecated(), answer);
        EXPECT_CALL(camera, IsFeature()).WillOnce(Return(answer));
        EXPECT_EQ(node.IsFeature(), answer);
        EXPECT_CALL(camera, IsCachable()).WillOnce(Return(answer));
        EXPECT_EQ(node.IsCachable(), answer);
    }
    EXPECT_CALL(camera, ImposeVisibility(GenApi::Invisible));
    node.ImposeVisibility(GenApi::Invisible);
    EXPECT_CALL(camera, ImposeAccessMode(GenApi::RO));
    node.ImposeAccessMode(GenApi::RO);
}

TEST_F(Forwarding, OfTheNodesCache) {
    EXPECT_CALL(camera, InvalidateNode());
    node.InvalidateNode();
    EXPECT_CALL(camera, IsAccessModeCacheable()).WillOnce(Return(GenApi::Yes));
    EXPECT_EQ(node.IsAccessModeCacheable(), GenApi::Yes);
    EXPECT_CALL(camera, GetCachingMode()).WillOnce(Return(GenApi::WriteAround));
    EXPECT_EQ(node.GetCachingMode(), GenApi::WriteAround);
    EXPECT_CALL(camera, GetPollingTime()).WillOnce(Return(1234));
    EXPECT_EQ(node.GetPollingTime(), 1234);
}

TEST_F(Forwarding, OfTheNodesLinks) {
    GenApi::NodeList_t list;
    EXPECT_CALL(camera, GetChildren(Ref(list), GenApi::ctDependingNodes));
    node.GetChildren(list, GenApi::ctDependingNodes);
    EXPECT_CALL(camera, GetChildren(Ref(list), GenApi::ctReadingChildren));
    node.GetChildren(list);
    EXPECT_CALL(camera, GetParents(Ref(list)));
    node.GetParents(list);
    support::MockNode alias, castAlias;
    EXPECT_CALL(camera, GetAlias()).WillOnce(Return(&alias));
    EXPECT_EQ(node.GetAlias(), &alias);
    EXPECT_CALL(camera, GetCastAlias()).WillOnce(Return(&castAlias));
    EXPECT_EQ(node.GetCastAlias(), &castAlias);
    support::MockNodeMap map;
    EXPECT_CALL(camera, GetNodeMap()).WillOnce(Return(&map));
    EXPECT_EQ(node.GetNodeMap(), &map);
}

TEST_F(Forwarding, OfTheNodesProperties) {
    GenICam::gcstring_vector names;
    EXPECT_CALL(camera, GetPropertyNames(Ref(names)));
    node.GetPropertyNames(names);
    const gcstring name("ToolTip");
    gcstring value, attribute;
    EXPECT_CALL(camera, GetProperty(name, Ref(value), Ref(attribute))).WillOnce(Return(true)).WillOnce(Return(false));
    EXPECT_TRUE(node.GetProperty(name, value, attribute));
    EXPECT_FALSE(node.GetProperty(name, value, attribute));
}

TEST_F(Forwarding, OfTheNodesCallbacks) {
    auto* const callback = reinterpret_cast<GenApi::CNodeCallback*>(&camera);
    EXPECT_CALL(camera, RegisterCallback(callback)).WillOnce(Return(42));
    EXPECT_EQ(node.RegisterCallback(callback), 42);
    EXPECT_CALL(camera, DeregisterCallback(42)).WillOnce(Return(true)).WillOnce(Return(false));
    EXPECT_TRUE(node.DeregisterCallback(42));
    EXPECT_FALSE(node.DeregisterCallback(42));
}

TEST_F(Forwarding, OfTheSelector) {
    GenApi::FeatureList_t features;
    EXPECT_CALL(camera, IsSelector()).WillOnce(Return(true)).WillOnce(Return(false));
    EXPECT_TRUE(selector.IsSelector());
    EXPECT_FALSE(selector.IsSelector());
    EXPECT_CALL(camera, GetSelectedFeatures(Ref(features)));
    selector.GetSelectedFeatures(features);
    EXPECT_CALL(camera, GetSelectingFeatures(Ref(features)));
    selector.GetSelectingFeatures(features);
}

TEST_F(Forwarding, OfTheEnumeration) {
    GenApi::StringList_t names;
    GenApi::NodeList_t entries;
    auto* const entry = reinterpret_cast<GenApi::IEnumEntry*>(&camera);
    EXPECT_CALL(camera, IsValueCacheValid()).WillOnce(Return(true)).WillOnce(Return(false));
    EXPECT_TRUE(enumeration.IsValueCacheValid());
    EXPECT_FALSE(enumeration.IsValueCacheValid());
    EXPECT_CALL(camera, GetSymbolics(Ref(names)));
    enumeration.GetSymbolics(names);
    EXPECT_CALL(camera, GetEntries(Ref(entries)));
    enumeration.GetEntries(entries);
    EXPECT_CALL(camera, SetIntValue(7, false));
    enumeration.SetIntValue(7, false);
    EXPECT_CALL(camera, GetIntValue(true, false)).WillOnce(Return(8));
    EXPECT_EQ(enumeration.GetIntValue(true, false), 8);
    EXPECT_CALL(camera, GetIntValue(false, true)).WillOnce(Return(9));
    EXPECT_EQ(enumeration.GetIntValue(false, true), 9);
    EXPECT_CALL(camera, GetEntry(5)).WillOnce(Return(entry));
    EXPECT_EQ(enumeration.GetEntry(5), entry);
    EXPECT_CALL(camera, GetCurrentEntry(true, false)).WillOnce(Return(entry));
    EXPECT_EQ(enumeration.GetCurrentEntry(true, false), entry);
    EXPECT_CALL(camera, GetCurrentEntry(false, true)).WillOnce(Return(nullptr));
    EXPECT_EQ(enumeration.GetCurrentEntry(false, true), nullptr);
}

TEST_F(Forwarding, OfTheOperatorsWithoutTranslation) {
    EXPECT_CALL(camera, Assign(gcstring("BGR8Packed"))).WillOnce(ReturnRef(camera));
    EXPECT_EQ(&(enumeration = gcstring("BGR8Packed")), static_cast<GenApi::IEnumeration*>(&camera));
    EXPECT_CALL(camera, Value()).WillOnce(Return("BGR8"));
    EXPECT_EQ(*enumeration, "BGR8");
}

TEST_F(Forwarding, OfFlagsAlsoWhereNamesAreTranslated) {
    for (const bool verify : {true, false}) {
        EXPECT_CALL(camera, ToString(verify, !verify)).WillOnce(Return("BGR8"));
        EXPECT_EQ(enumeration.ToString(verify, !verify), "BGR8Packed");
        EXPECT_CALL(camera, FromString(gcstring("BGR8"), verify));
        enumeration.FromString("BGR8Packed", verify);
    }
    EXPECT_CALL(camera, GetEntryByName(gcstring("BGR8"))).WillOnce(Return(nullptr));
    EXPECT_EQ(enumeration.GetEntryByName("BGR8Packed"), nullptr);
}

TEST_F(Forwarding, OfTheAccessModeOnceForAllFaces) {
    EXPECT_CALL(camera, GetAccessMode()).Times(3).WillRepeatedly(Return(GenApi::WO));
    EXPECT_EQ(node.GetAccessMode(), GenApi::WO);
    EXPECT_EQ(selector.GetAccessMode(), GenApi::WO);
    EXPECT_EQ(enumeration.GetAccessMode(), GenApi::WO);
}

TEST_F(Forwarding, OfExceptions) {
    EXPECT_CALL(camera, FromString(_, _)).WillOnce(testing::Throw(INVALID_ARGUMENT_EXCEPTION("unknown")));
    EXPECT_THROW(enumeration.FromString("Unknown"), GenICam::InvalidArgumentException);
}

TEST_F(Forwarding, TranslatesOnceAndExactly) {
    // No table leads from its current names on, and none takes a name of other case.
    EXPECT_CALL(camera, FromString(gcstring("bgr8packed"), true));
    enumeration.FromString("bgr8packed");
    EXPECT_CALL(camera, FromString(gcstring("AcquisitionStart"), true)); // of another wrapper's table
    enumeration.FromString("AcquisitionStart");
    EXPECT_CALL(camera, ToString(false, false)).WillOnce(Return("BGR8Packed"));
    EXPECT_EQ(enumeration.ToString(), "BGR8Packed");
}

struct LayerForwarding : testing::Test {
    LayerForwarding() { ON_CALL(camera, GetNode(_)).WillByDefault(Return(nullptr)); }
    testing::NiceMock<support::MockNodeMap> camera;
};

TEST_F(LayerForwarding, OfAllButGetNode) {
    Tavix::CNodeCompatibilityLayer compatibility(&camera);
    GenApi::INodeMap& layer = compatibility;
    GenApi::NodeList_t nodes;
    EXPECT_CALL(camera, GetNodes(Ref(nodes)));
    layer.GetNodes(nodes);
    EXPECT_CALL(camera, InvalidateNodes());
    layer.InvalidateNodes();
    auto* const port = reinterpret_cast<GenApi::IPort*>(&camera);
    EXPECT_CALL(camera, ConnectByName(port, gcstring("P"))).WillOnce(Return(true)).WillOnce(Return(false));
    EXPECT_TRUE(layer.Connect(port, "P"));
    EXPECT_FALSE(layer.Connect(port, "P"));
    EXPECT_CALL(camera, ConnectDevice(port)).WillOnce(Return(true)).WillOnce(Return(false));
    EXPECT_TRUE(layer.Connect(port));
    EXPECT_FALSE(layer.Connect(port));
    EXPECT_CALL(camera, GetDeviceName()).WillOnce(Return("Device"));
    EXPECT_EQ(layer.GetDeviceName(), "Device");
    EXPECT_CALL(camera, Poll(123));
    layer.Poll(123);
    GenApi::CLock lock;
    EXPECT_CALL(camera, GetLock()).WillOnce(ReturnRef(lock));
    EXPECT_EQ(&layer.GetLock(), &lock);
    EXPECT_CALL(camera, GetNumNodes()).WillOnce(Return(77));
    EXPECT_EQ(layer.GetNumNodes(), 77u);
    EXPECT_EQ(static_cast<Tavix::INodeMapProvider&>(compatibility).GetNodeMap(), &camera);
}

TEST_F(LayerForwarding, LooksForTheNodesToWrapOnceAndInOrder) {
    std::vector<std::string> asked;
    EXPECT_CALL(camera, GetNode(_)).WillRepeatedly([&](const gcstring& name) {
        asked.emplace_back(name.c_str());
        return nullptr;
    });
    const Tavix::CNodeCompatibilityLayer layer(&camera);
    EXPECT_THAT(asked, testing::ElementsAre("AcquisitionStatusSelector", "AutoFunctionProfile", "ChunkSelector",
                                            "EventNotification", "EventSelector", "LightSourcePreset", "LineSource",
                                            "PixelFormat", "TriggerSelector"));
}

TEST_F(LayerForwarding, WrapsNoNodeThatAppearsLater) {
    const Tavix::CNodeCompatibilityLayer layer(&camera);
    support::MockNode node;
    ON_CALL(camera, GetNode(gcstring("PixelFormat"))).WillByDefault(Return(&node));
    EXPECT_EQ(layer.GetNode("PixelFormat"), static_cast<GenApi::INode*>(&node));
}

TEST_F(LayerForwarding, AsksTheCameraForTheNameItselfFirst) {
    const Tavix::CNodeCompatibilityLayer layer(&camera);
    testing::InSequence inThisOrder;
    EXPECT_CALL(camera, GetNode(gcstring("GainAbs"))).WillOnce(Return(nullptr));
    EXPECT_CALL(camera, GetNode(gcstring("Gain"))).WillOnce(Return(nullptr));
    EXPECT_EQ(layer.GetNode("GainAbs"), nullptr);
    EXPECT_CALL(camera, GetNode(gcstring("NoSuchName"))).WillOnce(Return(nullptr));
    EXPECT_EQ(layer.GetNode("NoSuchName"), nullptr);
}

TEST_F(LayerForwarding, LetsAWrapperLiveAsLongAsItself) {
    support::MockNode node;
    ON_CALL(camera, GetNode(gcstring("LightSourcePreset"))).WillByDefault(Return(&node));
    EXPECT_CALL(node, GetName(_)).WillRepeatedly(Return("LightSourcePreset"));
    EXPECT_CALL(node, ToString(_, _)).WillRepeatedly(Return("Daylight5000K"));
    const Tavix::CNodeCompatibilityLayer layer(&camera);
    GenApi::INode* const wrapper = layer.GetNode("LightSourceSelector");
    EXPECT_EQ(wrapper, layer.GetNode("LightSourcePreset"));
    EXPECT_EQ(wrapper->GetName(), "LightSourcePreset");
    EXPECT_EQ(dynamic_cast<GenApi::IEnumeration&>(*wrapper).ToString(), "Daylight");
}

} // namespace
