// A map as the transport layer builds it in code.
#include "genapi/support/MemoryPort.h"

#include <GenApi/GenApi.h>

#include <gtest/gtest.h>

#include <thread>

using namespace GenApi;
using genapi_test::MemoryPort;

namespace {

class Params : public CNodeMap {
public:
    CCategoryNode Root;
    CIntegerNode MaxNumBuffer;
    CIntegerNode MaxBufferSize;
    CIntegerNode NumMaxQueuedUrbs;
    CEnumerationNode Status;
    CEnumEntryNode Closed;
    CEnumEntryNode Open;
    CEnumEntryNode Grabbing;
    CIntegerNode StatusReg;
    CIntSwissKnifeNode StatusIsLocked;
    CPortNode Port;
    CIntRegNode NumMaxQueuedUrbs_Value;
    CIntRegNode Statistic;
    CIntRegNode CustomRequest;
    CBooleanNode Migration;

    Params() : CNodeMap("") {
        SetProperty("ModelName", "Params");
        SetProperty("SchemaMajorVersion", "1");
        RegisterNode(Root, "Category", "Root");
        RegisterNode(MaxNumBuffer, "Integer", "MaxNumBuffer", "Custom");
        RegisterNode(MaxBufferSize, "Integer", "MaxBufferSize", "Custom");
        RegisterNode(NumMaxQueuedUrbs, "Integer", "NumMaxQueuedUrbs", "Custom");
        RegisterNode(Closed, "EnumEntry", "EnumEntry_Status_Closed", "Custom");
        RegisterNode(Open, "EnumEntry", "EnumEntry_Status_Open", "Custom");
        RegisterNode(Grabbing, "EnumEntry", "EnumEntry_Status_Grabbing", "Custom");
        RegisterNode(Status, "Enumeration", "Status", "Custom");
        RegisterNode(StatusReg, "Integer", "StatusReg", "Custom");
        RegisterNode(StatusIsLocked, "IntSwissKnife", "StatusIsLocked", "Custom");
        RegisterNode(Port, "Port", "StreamGrabberPort", "Custom");
        RegisterNode(NumMaxQueuedUrbs_Value, "IntReg", "NumMaxQueuedUrbs_Value", "Custom");
        RegisterNode(Statistic, "IntReg", "Statistic", "Custom");
        RegisterNode(CustomRequest, "IntReg", "CustomRequest", "Custom");
        RegisterNode(Migration, "Boolean", "MigrationModeEnable", "Custom");

        Root.SetProperty("pFeature", MaxNumBuffer);
        Root.SetProperty("pFeature", "MaxBufferSize");
        MaxNumBuffer.SetProperty("pIsLocked", StatusIsLocked);
        MaxNumBuffer.SetProperty("Value", "0x10");
        MaxNumBuffer.SetProperty("Min", "1");
        MaxNumBuffer.SetProperty("Max", "2147483647");
        MaxBufferSize.SetProperty("Value", "0x20000");
        MaxBufferSize.SetProperty("Min", "1");
        MaxBufferSize.SetProperty("pIsLocked", "StatusIsLocked");
        NumMaxQueuedUrbs.SetProperty("pValue", NumMaxQueuedUrbs_Value);
        NumMaxQueuedUrbs.SetProperty("Min", "1");
        SetEntry(Closed, "0", "Closed");
        SetEntry(Open, "1", "Open");
        SetEntry(Grabbing, "2", "Grabbing");
        Status.SetProperty("ImposedAccessMode", "RO");
        Status.SetProperty("pEnumEntry", Closed);
        Status.SetProperty("pEnumEntry", Open);
        Status.SetProperty("pEnumEntry", Grabbing);
        Status.SetProperty("pValue", StatusReg);
        StatusReg.SetProperty("Visibility", "Invisible");
        StatusReg.SetProperty("Value", "0");
        StatusIsLocked.SetProperty("pVariable", StatusReg, "STREAM_GRABBER_STATUS");
        StatusIsLocked.SetProperty("Formula", "STREAM_GRABBER_STATUS > 1");
        SetRegister(NumMaxQueuedUrbs_Value, "0x200", "4", "RW");
        SetRegister(Statistic, "0x400", "8", "RO");
        Statistic.SetProperty("Sign", "Signed");
        Statistic.SetProperty("PollingTime", "1000");
        Statistic.SetProperty("pInvalidator", StatusReg);
        Statistic.SetProperty("pDependent", Root);
        SetRegister(CustomRequest, "0xAFFE0000", "1", "RW");
        Migration.SetProperty("Value", "0");
        Migration.SetProperty("OnValue", "1");
        Migration.SetProperty("OffValue", "0");
        Migration.SetProperty("Visibility", "Invisible");
        Migration.SetProperty("IsFeature", "No");
        MaxNumBuffer.FinalConstruct();
        FinalConstruct();
    }

private:
    static void SetEntry(CEnumEntryNode& entry, const char* value, const char* symbolic) {
        entry.SetProperty("Value", value);
        entry.SetProperty("Symbolic", symbolic);
    }
    void SetRegister(CIntRegNode& node, const char* address, const char* length, const char* mode) {
        node.SetProperty("Address", address);
        node.SetProperty("Length", length);
        node.SetProperty("AccessMode", mode);
        node.SetProperty("pPort", Port);
        node.SetProperty("Cachable", "NoCache");
        node.SetProperty("Endianess", "LittleEndian"); // sic
    }
};

// Counts the calls of one node. bound to a thread
struct Counter {
    int calls = 0;
    void OnChange(INode*) { ++calls; }
};

} // namespace

TEST(ParameterMap, HoldsItsDefaultsWithoutAnyPort) {
    Params params;
    EXPECT_EQ(params.MaxNumBuffer->GetValue(), 16);
    EXPECT_EQ(params.MaxBufferSize->GetValue(), 131072);
    EXPECT_EQ(params.MaxNumBuffer->GetMax(), 2147483647);
    EXPECT_EQ(params.MaxBufferSize->GetMin(), 1);
    EXPECT_EQ(params.GetDeviceName(), "");
    EXPECT_EQ(params.GetModelName(), "Params");
}

TEST(ParameterMap, LocksFeaturesAtOnceWhenTheStatusIsWritten) {
    Params params;
    EXPECT_EQ(params.MaxNumBuffer->GetAccessMode(), RW);
    params.StatusReg->SetValue(2);
    EXPECT_EQ(params.StatusIsLocked->GetValue(), 1);
    EXPECT_EQ(params.MaxNumBuffer->GetAccessMode(), RO);
    EXPECT_THROW(params.MaxNumBuffer->SetValue(5), GenICam::AccessException);
    EXPECT_EQ(params.MaxNumBuffer->GetValue(), 16);
    params.StatusReg->SetValue(1);
    params.MaxNumBuffer->SetValue(5);
    EXPECT_EQ(params.MaxNumBuffer->GetValue(), 5);
}

TEST(ParameterMap, ShowsTheStatusButRefusesToHaveItWritten) {
    Params params;
    EXPECT_EQ(params.Status->ToString(), "Closed");
    params.StatusReg->SetValue(2);
    EXPECT_EQ(params.Status->ToString(), "Grabbing");
    EXPECT_EQ(params.Status->GetAccessMode(), RO);
    EXPECT_THROW(params.Status->FromString("Open"), GenICam::AccessException);
    EXPECT_EQ(params.StatusReg->GetAccessMode(), RW);
}

TEST(ParameterMap, FiresTheCallbacksOfUncachedStatisticsWhenTheStatusIsWritten) {
    Params params;
    MemoryPort port;
    params.Connect(&port, "StreamGrabberPort");
    Counter counter;
    const CallbackHandleType handle = Register(params.Statistic.GetNode(), counter, &Counter::OnChange);
    params.StatusReg->SetValue(1);
    EXPECT_EQ(counter.calls, 1);
    EXPECT_TRUE(Deregister(handle));
    params.StatusReg->SetValue(1);
    EXPECT_EQ(counter.calls, 1);
    EXPECT_FALSE(Deregister(handle));
}

TEST(ParameterMap, TakesAMissingMaximumFromTheRegister) {
    Params params;
    EXPECT_EQ(params.NumMaxQueuedUrbs->GetMax(), 4294967295);
    EXPECT_EQ(params.NumMaxQueuedUrbs->GetMin(), 1);
}

TEST(ParameterMap, PassesAddressesOnWithAllTheirBits) {
    Params params;
    MemoryPort port;
    params.Connect(&port, "StreamGrabberPort");
    params.CustomRequest->GetValue();
    EXPECT_EQ(port.lastAddress, 2952658944);
    EXPECT_EQ(port.lastLength, 1);
}

TEST(ParameterMap, LetsThePortSpeakWhenARegisterIsReadWithoutVerify) {
    Params params;
    MemoryPort port;
    port.mode = NA;
    port.failure = "Failed to read property value 400.";
    params.Connect(&port, "StreamGrabberPort");
    try {
        params.Statistic->GetValue();
        FAIL() << "the port's exception is missing";
    } catch (const GenICam::RuntimeException& exception) {
        EXPECT_STREQ(exception.GetDescription(), "Failed to read property value 400.");
    }
    EXPECT_EQ(params.Statistic->GetAccessMode(), NA);
    EXPECT_THROW(params.Statistic->GetValue(/*Verify=*/true), GenICam::AccessException);
}

TEST(ParameterMap, InvalidatesPolledStatisticsWhenTheirTimeHasAddedUp) {
    Params params;
    Counter counter;
    Register(params.Statistic.GetNode(), counter, &Counter::OnChange);
    params.Poll(400);
    params.Poll(400);
    EXPECT_EQ(counter.calls, 0);
    params.Poll(400);
    EXPECT_EQ(counter.calls, 1);
    params.Poll(900);
    EXPECT_EQ(counter.calls, 1);
}

TEST(ParameterMap, KeepsTheMigrationSwitchWritableThoughNobodySeesIt) {
    Params params;
    INode* const pNode = params.GetNode("MigrationModeEnable");
    ASSERT_NE(pNode, nullptr);
    EXPECT_EQ(pNode->GetVisibility(), Invisible);
    EXPECT_FALSE(pNode->IsFeature());
    CBooleanPtr pSwitch(pNode);
    ASSERT_TRUE(pSwitch.IsValid());
    bool seen = false;
    bool isLockFree = true;
    Register(pNode, [&](INode* pChanged) {
        std::thread([&] { isLockFree = params.GetLock().TryLock(); }).join();
        seen = CBooleanPtr(pChanged)->GetValue();
    });
    pSwitch->SetValue(true);
    EXPECT_TRUE(seen);
    EXPECT_FALSE(isLockFree);
}

TEST(ParameterMap, MarksFeaturesBelowRoot) {
    Params params;
    EXPECT_TRUE(params.MaxNumBuffer.GetNode()->IsFeature());
    EXPECT_FALSE(params.StatusReg.GetNode()->IsFeature());
    NodeList_t nodes;
    params.GetNodes(nodes);
    ASSERT_EQ(nodes.size(), params.GetNumNodes());
    EXPECT_EQ(nodes[1]->GetName(), "MaxNumBuffer");
}

TEST(ParameterMap, RefusesPropertiesAfterItIsFinished) {
    Params params;
    EXPECT_THROW(params.MaxNumBuffer.SetProperty("Min", "2"), GenICam::LogicalErrorException);
}

TEST(CodeBuiltMap, RefusesUnknownPropertiesAndMalformedValues) {
    CNodeMap map;
    CIntegerNode node;
    EXPECT_THROW(node.SetProperty("Value", "1"), GenICam::LogicalErrorException);
    EXPECT_THROW(node->GetValue(), GenICam::LogicalErrorException);
    map.RegisterNode(node, "Integer", "A");
    EXPECT_THROW(node.SetProperty("Nonsense", "1"), GenICam::PropertyException);
    EXPECT_THROW(node.SetProperty("Address", "1"), GenICam::PropertyException);
    EXPECT_THROW(node.SetProperty("Value", "ten"), GenICam::PropertyException);
    EXPECT_THROW(node.SetProperty("Visibility", "Nobody"), GenICam::PropertyException);
    EXPECT_THROW(map.SetProperty("Colour", "blue"), GenICam::PropertyException);
}

TEST(CodeBuiltMap, RefusesALinkWithoutTarget) {
    CNodeMap map;
    CIntegerNode node;
    map.RegisterNode(node, "Integer", "A");
    node.SetProperty("pValue", "Nobody");
    EXPECT_THROW(map.FinalConstruct(), GenICam::RuntimeException);
}

TEST(CodeBuiltMap, RefusesTakenNamesUnknownTypesAndForeignHandles) {
    CNodeMap map;
    CIntegerNode first;
    CIntegerNode second;
    CBooleanNode third;
    map.RegisterNode(first, "Integer", "A");
    EXPECT_THROW(map.RegisterNode(second, "Integer", "A"), GenICam::RuntimeException);
    EXPECT_THROW(map.RegisterNode(second, "Teapot", "B"), GenICam::RuntimeException);
    EXPECT_THROW(map.RegisterNode(third, "Integer", "C"), GenICam::DynamicCastException);
}
