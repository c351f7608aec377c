// Maps loaded from descriptions.
#include "genapi/support/MemoryPort.h"

#include <GenApi/GenApi.h>

#include <gtest/gtest.h>

#include <fstream>

using namespace GenApi;
using genapi_test::MemoryPort;

namespace {

std::string Description(const std::string& nodes) {
    return R"(<?xml version="1.0"?><RegisterDescription ModelName="M" VendorName="V" ToolTip="T" StandardNameSpace="USB"
        SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="2" MinorVersion="3"
        SubMinorVersion="4" ProductGuid="P" VersionGuid="G" xmlns="http://www.genicam.org/GenApi/Version_1_1">)" +
           nodes + "</RegisterDescription>";
}

const char kSmall[] = R"(
    <Category Name="Root" NameSpace="Standard"><pFeature>Width</pFeature><pFeature>Gone</pFeature></Category>
    <Integer Name="Width" NameSpace="Standard"><pValue>WidthReg</pValue><Min>1</Min></Integer>
    <IntReg Name="WidthReg"><Address>0x10</Address><Length>4</Length><AccessMode>RW</AccessMode>
        <pPort>Device</pPort><Endianess>BigEndian</Endianess></IntReg>
    <Port Name="Device"/>
    <Integer Name="Broken"><pValue>Nobody</pValue></Integer>
    <Integer Name="BadNumber"><Value>12b</Value></Integer>
    <IntSwissKnife Name="BadFormula"><Formula>1 + +</Formula></IntSwissKnife>
    <Enumeration Name="Mode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry>
        <EnumEntry Name="On"><Value>1</Value></EnumEntry><Value>0</Value></Enumeration>)";

CNodeMapRef Load(const std::string& nodes) {
    CNodeMapRef map;
    map._LoadXMLFromString(Description(nodes).c_str());
    return map;
}

} // namespace

TEST(NodeMapRef, LoadsADescriptionAndReadsThroughItsPort) {
    CNodeMapRef map = Load(kSmall);
    MemoryPort port;
    port.Put(0x10, {0, 0, 2, 128});
    ASSERT_TRUE(map._Connect(&port));
    EXPECT_FALSE(map._Connect(&port, "Nowhere"));
    EXPECT_FALSE(map._Connect(&port, "Width"));
    CIntegerPtr pWidth = map._GetNode("Width");
    ASSERT_TRUE(pWidth.IsValid());
    EXPECT_EQ(pWidth->GetValue(), 640);
    EXPECT_EQ(pWidth->GetMin(), 1);
    pWidth->SetValue(320);
    EXPECT_EQ(port.Get(0x10, 4), (std::vector<uint8_t>{0, 0, 1, 64}));
}

TEST(NodeMapRef, TellsWhatTheDescriptionSaysOfItself) {
    CNodeMapRef map = Load(kSmall);
    EXPECT_EQ(map._GetModelName(), "M");
    EXPECT_EQ(map._GetVendorName(), "V");
    EXPECT_EQ(map._GetToolTip(), "T");
    EXPECT_EQ(map._GetStandardNameSpace(), "USB");
    EXPECT_EQ(map._GetProductGuid(), "P");
    EXPECT_EQ(map._GetVersionGuid(), "G");
    Version_t version{};
    uint16_t build = 0;
    map._GetSchemaVersion(version);
    EXPECT_EQ(version.Minor, 1);
    map._GetDeviceVersion(version);
    EXPECT_TRUE(version.Major == 2 && version.Minor == 3 && version.SubMinor == 4);
    map._GetGenApiVersion(version, build);
    EXPECT_TRUE(version.Major == 2 && version.Minor == 3);
    EXPECT_EQ(map._GetDeviceName(), "Device");
}

TEST(NodeMapRef, ListsNodesInTheOrderOfTheDescription) {
    CNodeMapRef map = Load(kSmall);
    NodeList_t nodes;
    map._GetNodes(nodes);
    ASSERT_EQ(nodes.size(), 10u);
    EXPECT_EQ(map._Ptr->GetNumNodes(), 10u);
    EXPECT_EQ(nodes[0]->GetName(), "Root");
    EXPECT_EQ(nodes[7]->GetName(), "Mode");
    EXPECT_EQ(nodes[8]->GetName(), "EnumEntry_Mode_Off");
}

TEST(NodeMapRef, FindsNodesByQualifiedName) {
    CNodeMapRef map = Load(kSmall);
    EXPECT_EQ(map._GetNode("Std::Width"), map._GetNode("Width"));
    EXPECT_EQ(map._GetNode("Cust::Width"), nullptr);
    EXPECT_NE(map._GetNode("Cust::WidthReg"), nullptr);
    EXPECT_EQ(map._GetNode("Nobody"), nullptr);
    EXPECT_EQ(map._GetNode("Width")->GetName(true), "Std::Width");
}

TEST(NodeMapRef, KeepsTheMapWhenSingleNodesAreBroken) {
    CNodeMapRef map = Load(kSmall);
    GenICam::gcstring_vector problems;
    CNodeMapDynPtr(map._Ptr)->GetLoadProblems(problems);
    ASSERT_EQ(problems.size(), 3u);
    EXPECT_NE(problems[0].find("Root: pFeature names the unknown node 'Gone'"), GenICam::gcstring::npos) << problems[0];
    EXPECT_NE(problems[1].find("Broken: pValue names the unknown node 'Nobody'"), GenICam::gcstring::npos);
    EXPECT_NE(problems[2].find("BadNumber: malformed value '12b' of Value"), GenICam::gcstring::npos);
    EXPECT_THROW(CIntegerPtr(map._GetNode("Broken"))->GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(CIntegerPtr(map._GetNode("BadNumber"))->GetValue(), GenICam::PropertyException);
    EXPECT_THROW(CIntegerPtr(map._GetNode("BadFormula"))->GetValue(), GenICam::RuntimeException);
    for (const char* const name : {"Broken", "BadNumber", "BadFormula"}) {
        EXPECT_THROW(CIntegerPtr(map._GetNode(name))->SetValue(1), GenICam::GenericException) << name;
    }
    EXPECT_EQ(map._GetNode("Broken")->GetAccessMode(), NI);
    EXPECT_EQ(map._GetNode("Mode")->GetAccessMode(), RW);
    GenICam::gcstring_vector errors;
    EXPECT_FALSE(map._ParseSwissKnifes(&errors));
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].find("BadFormula: "), 0u);
}

TEST(NodeMapRef, RefusesASecondLoad) {
    CNodeMapRef map = Load(kSmall);
    try {
        map._LoadXMLFromString(Description(kSmall).c_str());
        FAIL() << "the second load succeeded";
    } catch (const GenICam::RuntimeException& exception) {
        EXPECT_STREQ(exception.GetDescription(), "DLL already loaded");
    }
    EXPECT_NE(map._GetNode("Width"), nullptr);
}

TEST(NodeMapRef, IsEmptyAfterAFailedLoad) {
    CNodeMapRef map;
    EXPECT_THROW(map._LoadXMLFromString("<RegisterDescription"), GenICam::RuntimeException);
    EXPECT_EQ(map._Ptr, nullptr);
    EXPECT_THROW(map._GetNode("Width"), GenICam::LogicalErrorException);
    map._LoadXMLFromString(Description(kSmall).c_str());
    EXPECT_NE(map._GetNode("Width"), nullptr);
}

TEST(NodeMapRef, SharesItsMapWithCopies) {
    CNodeMapRef copy;
    {
        CNodeMapRef map = Load(kSmall);
        copy = map;
        const CNodeMapRef another(copy);
        EXPECT_EQ(another._Ptr, map._Ptr);
    }
    EXPECT_EQ(CIntegerPtr(copy._GetNode("BadNumber")).IsValid(), true);
}

TEST(NodeMapRef, WorksOnTextsWhileItIsEmpty) {
    const CNodeMapRef map;
    GenICam::gcstring_vector versions;
    map._GetSupportedSchemaVersions(versions);
    ASSERT_EQ(versions.size(), 2u);
    EXPECT_EQ(versions[1], "1.1");
    GenICam::gcstring subtree;
    map._ExtractIndependentSubtree(Description(kSmall).c_str(), "", "Width", subtree);
    EXPECT_EQ(map._Ptr, nullptr);
    CNodeMapRef small;
    small._LoadXMLFromString(subtree);
    EXPECT_NE(small._GetNode("WidthReg"), nullptr);
    EXPECT_EQ(small._GetNode("Mode"), nullptr);
    map._ExtractIndependentSubtree(Description(kSmall).c_str(), "", "Nobody", subtree);
    EXPECT_TRUE(subtree.empty());
}

TEST(NodeMapRef, TakesInjectedNodes) {
    CNodeMapRef map;
    map._LoadXMLFromStringInject(
        Description(kSmall).c_str(),
        Description(
            R"(<Category Name="Root"><pFeature>Added</pFeature></Category><Integer Name="Added"><Value>3</Value></Integer>)")
            .c_str());
    EXPECT_EQ(CIntegerPtr(map._GetNode("Added"))->GetValue(), 3);
    EXPECT_TRUE(map._GetNode("Added")->IsFeature());
    EXPECT_TRUE(map._GetNode("Root")->IsFeature()) << "it is where the features begin";
    EXPECT_TRUE(map._GetNode("Width")->IsFeature());
}

TEST(NodeMapRef, LoadsAndPreprocessesFiles) {
    const std::string path = testing::TempDir() + "genapi_description.xml";
    const std::string output = testing::TempDir() + "genapi_preprocessed.xml";
    std::ofstream(path) << Description(kSmall);
    CNodeMapRef map;
    map._LoadXMLFromFile(path.c_str());
    EXPECT_EQ(map._Ptr->GetNumNodes(), 10u);
    map._PreprocessXMLFromFile(path.c_str(), output.c_str());
    CNodeMapRef again;
    again._LoadXMLFromFile(output.c_str());
    EXPECT_EQ(again._Ptr->GetNumNodes(), 10u);
    CNodeMapRef none;
    EXPECT_THROW(none._LoadXMLFromFile("/nonexistent/description.xml"), GenICam::RuntimeException);
}

TEST(NodeMapRef, KnowsTheNodesOfOlderBusesButImplementsNone) {
    CNodeMapRef map = Load(R"(<Port Name="Device"/>
        <ConfRom Name="Rom"><Unit>0</Unit><Address>0</Address><Length>4</Length><pPort>Device</pPort>
            <TextDesc Name="Text">1</TextDesc><IntKey Name="Key">2</IntKey></ConfRom>
        <AdvFeatureLock Name="Lock"><Address>0</Address><Length>4</Length><pPort>Device</pPort><FeatureID>1</FeatureID>
        </AdvFeatureLock>
        <SmartFeature Name="Smart"><FeatureID>X</FeatureID><Address>0</Address><pPort>Device</pPort></SmartFeature>)");
    MemoryPort port;
    map._Connect(&port);
    for (const char* const name : {"Rom", "Lock", "Smart"}) {
        ASSERT_NE(map._GetNode(name), nullptr) << name;
        EXPECT_EQ(map._GetNode(name)->GetAccessMode(), NI) << name;
    }
    EXPECT_THROW(CIntegerPtr(map._GetNode("Lock"))->GetValue(), GenICam::AccessException);
    EXPECT_TRUE(CRegisterPtr(map._GetNode("Rom")).IsValid());
}

TEST(NodeMapRef, SurvivesCyclesOfEveryKind) {
    CNodeMapRef map = Load(R"(
        <Integer Name="A"><pValue>B</pValue></Integer><Integer Name="B"><pValue>A</pValue></Integer>
        <IntSwissKnife Name="F"><pVariable Name="X">F</pVariable><Formula>X+1</Formula></IntSwissKnife>
        <Integer Name="Locked"><pIsLocked>Lock</pIsLocked><Value>1</Value></Integer>
        <IntSwissKnife Name="Lock"><pVariable Name="X.AccessMode">Locked</pVariable>
            <Formula>X.AccessMode = 3</Formula></IntSwissKnife>
        <Category Name="Root"><pFeature>Sub</pFeature></Category><Category Name="Sub"><pFeature>Root</pFeature></Category>
        <Integer Name="Min"><pMin>Min</pMin><Value>1</Value></Integer>
        <Integer Name="Self"><Value>1</Value><pInvalidator>Self</pInvalidator></Integer>)");
    EXPECT_THROW(CIntegerPtr(map._GetNode("A"))->GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(CIntegerPtr(map._GetNode("A"))->SetValue(1, false), GenICam::RuntimeException);
    EXPECT_THROW(CIntegerPtr(map._GetNode("F"))->GetValue(), GenICam::RuntimeException);
    EXPECT_NO_THROW(map._GetNode("A")->GetAccessMode());
    EXPECT_NO_THROW(map._GetNode("Root")->GetAccessMode());
    EXPECT_NO_THROW(map._GetNode("Locked")->GetAccessMode());
    EXPECT_NO_THROW(map._GetNode("A")->GetCachingMode());
    EXPECT_NO_THROW(map._GetNode("A")->GetPollingTime());
    CIntegerPtr(map._GetNode("Min"))->SetValue(1);
    CIntegerPtr(map._GetNode("Self"))->SetValue(2);
    EXPECT_EQ(CIntegerPtr(map._GetNode("Self"))->GetValue(), 2);
}

TEST(NodeMapRef, SurvivesLongChainsAndWideFormulas) {
    std::string chain = "<Integer Name='N0'><Value>1</Value></Integer>";
    for (int i = 1; i < 5000; ++i) {
        chain += "<Integer Name='N" + std::to_string(i) + "'><pValue>N" + std::to_string(i - 1) + "</pValue></Integer>";
    }
    chain += "<IntSwissKnife Name='F0'><Formula>1</Formula></IntSwissKnife>";
    for (int i = 1; i < 60; ++i) {
        const std::string below = std::to_string(i - 1);
        chain += "<IntSwissKnife Name='F" + std::to_string(i) + "'><pVariable Name='X'>F" + below +
                 "</pVariable><pVariable Name='Y'>F" + below + "</pVariable><Formula>X+Y</Formula></IntSwissKnife>";
    }
    for (int i = 1; i < 60; ++i) {
        const std::string below = i > 1 ? "S" + std::to_string(i - 1) : "N0";
        chain += "<Integer Name='S" + std::to_string(i) + "'><pIndex>" + below + "</pIndex><pValueDefault>" + below +
                 "</pValueDefault></Integer>";
    }
    CNodeMapRef map = Load(chain);
    EXPECT_EQ(CIntegerPtr(map._GetNode("N19"))->GetValue(), 1);
    EXPECT_THROW(CIntegerPtr(map._GetNode("N4999"))->GetValue(), GenICam::RuntimeException);
    EXPECT_EQ(map._GetNode("N4999")->GetAccessMode(), NI);
    EXPECT_EQ(CIntegerPtr(map._GetNode("N199"))->GetValue(), 1);
    EXPECT_THROW(CIntegerPtr(map._GetNode("N200"))->GetValue(), GenICam::RuntimeException);
    EXPECT_NO_THROW(map._GetNode("N4999")->GetCachingMode());
    EXPECT_EQ(CIntegerPtr(map._GetNode("F59"))->GetValue(), int64_t{1} << 59);
    EXPECT_EQ(CIntegerPtr(map._GetNode("F59"))->GetAccessMode(), RO);
    EXPECT_EQ(CIntegerPtr(map._GetNode("F59"))->GetValue(false, /*IgnoreCache=*/true), int64_t{1} << 59);
    EXPECT_THROW(CIntegerPtr(map._GetNode("S59"))->GetValue(), GenICam::RuntimeException) << "2^59 readings";
}

TEST(NodeMapRef, LoadsFiftyThousandNodes) {
    std::string nodes = "<Port Name='Device'/>";
    std::string features;
    for (int i = 0; i < 25000; ++i) {
        const std::string number = std::to_string(i);
        nodes += "<Integer Name='F" + number + "'><pValue>R" + number + "</pValue></Integer><IntReg Name='R" + number +
                 "'><Address>" + std::to_string(4 * i) +
                 "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>";
        features += "<pFeature>F" + number + "</pFeature>";
    }
    CNodeMapRef map = Load(nodes + "<Category Name='Root'>" + features + "</Category>");
    EXPECT_EQ(map._Ptr->GetNumNodes(), 50002u);
    MemoryPort port;
    map._Connect(&port);
    CIntegerPtr(map._GetNode("F24999"))->SetValue(7);
    EXPECT_EQ(port.lastAddress, 99996);
    EXPECT_TRUE(map._GetNode("F12345")->IsFeature());
    EXPECT_EQ(map._GetNode("Root")->GetAccessMode(), RO);
}
