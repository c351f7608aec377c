// The small public types: enumerations, their texts, smart pointers, locks.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

#include <thread>

using namespace GenApi;
using genapi_test::TestMap;

TEST(PublicTypes, KeepTheirNumbers) {
    EXPECT_TRUE(NI == 0 && NA == 1 && WO == 2 && RO == 3 && RW == 4);
    EXPECT_TRUE(Beginner == 0 && Invisible == 3 && _UndefinedVisibility == 99);
    EXPECT_TRUE(NoCache == 0 && WriteThrough == 1 && WriteAround == 2);
    EXPECT_TRUE(Linear == 0 && HexNumber == 4 && MACAddress == 6);
    EXPECT_TRUE(Signed == 0 && BigEndian == 0 && No == 0 && Yes == 1 && Custom == 0 && USB == 4);
    EXPECT_TRUE(intfIValue == 0 && intfIInteger == 2 && intfIPort == 11);
    EXPECT_TRUE(cbPostInsideLock == 1 && cbPostOutsideLock == 2);
}

TEST(PublicTypes, AreSpelledAsInDescriptions) {
    EXPECT_EQ(EAccessModeClass::ToString(RO), "RO");
    EXPECT_EQ(EDisplayNotationClass::ToString(fnFixed), "Fixed");
    EVisibility visibility = Beginner;
    EXPECT_TRUE(EVisibilityClass::FromString("Guru", &visibility));
    EXPECT_EQ(visibility, Guru);
    EXPECT_FALSE(EVisibilityClass::FromString("guru", &visibility));
    EXPECT_EQ(visibility, Guru);
    GenICam::gcstring text;
    const ERepresentation representation = IPV4Address;
    ERepresentationClass::ToString(text, &representation);
    EXPECT_EQ(text, "IPV4Address");
}

TEST(Pointer, IsEmptyWhenTheInterfaceIsMissing) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "5", ""}}).Ready();
    CIntegerPtr pInteger = map.GetNode("I");
    const CFloatPtr pFloat = map.GetNode("I");
    CNodePtr pNobody = map.GetNode("Nobody");
    EXPECT_TRUE(pInteger.IsValid() && pInteger);
    EXPECT_FALSE(pFloat.IsValid() || pNobody);
    EXPECT_TRUE(pFloat == nullptr && pFloat == 0 && pInteger != nullptr);
    EXPECT_EQ((*pInteger).GetValue(), 5);
    EXPECT_THROW(pFloat->GetValue(), GenICam::LogicalErrorException);
    EXPECT_THROW(*pNobody, GenICam::LogicalErrorException);
    pInteger = map.GetNode("Nobody");
    EXPECT_FALSE(pInteger.IsValid());
    EXPECT_TRUE(CNodeMapPtr(&map).IsValid() && CDeviceInfoPtr(&map).IsValid() && CDestroyPtr(&map).IsValid());
    EXPECT_FALSE(CNodeMapDynPtr(&map).IsValid());
}

TEST(Pointer, FindsEveryFaceOfANode) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0").Ready();
    INode* const pNode = map.GetNode("R");
    EXPECT_TRUE(CIntegerPtr(pNode).IsValid() && CRegisterPtr(pNode).IsValid() && CSelectorPtr(pNode).IsValid());
    EXPECT_EQ(pNode->GetPrincipalInterfaceType(), intfIInteger);
    EXPECT_EQ(CValuePtr(pNode)->GetNode(), pNode);
    EXPECT_EQ(pNode->GetNodeMap(), static_cast<INodeMap*>(&map));
    EXPECT_TRUE(CPortPtr(map.GetNode("Device")).IsValid());
    EXPECT_EQ(map.port.GetNode(), map.GetNode("Device"));
}

namespace {

// The analysis knows no locks that are taken twice.
bool TakeTwice(CLock& lock) TAVIX_NO_THREAD_SAFETY_ANALYSIS {
    lock.Lock();
    return lock.TryLock();
}
void GiveBackTwice(CLock& lock) TAVIX_NO_THREAD_SAFETY_ANALYSIS {
    lock.Unlock();
    lock.Unlock();
}

} // namespace

TEST(Lock, IsRecursiveAndExcludesOtherThreads) {
    CLock lock;
    ASSERT_TRUE(TakeTwice(lock));
    bool wasFree = true;
    std::thread([&] { wasFree = lock.TryLock(); }).join();
    EXPECT_FALSE(wasFree);
    GiveBackTwice(lock);
}
