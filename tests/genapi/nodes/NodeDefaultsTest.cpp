// What holds when a description is silent, and what it may say of a node.
#include "genapi/support/XmlMap.h"

#include <gmock/gmock.h>

using namespace GenApi;
using genapi_test::Held;
using genapi_test::Reg;
using genapi_test::XmlMap;
using ::testing::IsEmpty;

namespace {

const std::string kPlace = "<Address>0</Address><pPort>Device</pPort>";

std::string Kind(const std::string& kind, const std::string& name, const std::string& content) {
    return "<" + kind + " Name='" + name + "'>" + content + "</" + kind + ">";
}

} // namespace

TEST(NodeDefaults, OfASilentNode) {
    XmlMap map(Kind("Integer", "N", "<Value>1</Value><ToolTip>tip</ToolTip>"));
    const INode& node = map.Node("N");
    EXPECT_EQ(node.GetVisibility(), Beginner);
    EXPECT_EQ(node.GetNameSpace(), Custom);
    EXPECT_EQ(node.GetName(/*FullQualified=*/true), "Cust::N");
    EXPECT_EQ(node.GetDisplayName(), "N");
    EXPECT_EQ(node.GetDescription(), "") << "the tool tip does not stand in for it";
    EXPECT_EQ(node.GetToolTip(), "tip");
    EXPECT_EQ(node.GetDocuURL(), "");
    EXPECT_EQ(node.GetEventID(), "");
    EXPECT_EQ(node.GetDeviceName(), "Device");
    EXPECT_FALSE(node.IsDeprecated() || node.IsStreamable() || node.IsFeature());
    EXPECT_EQ(node.GetAlias(), nullptr);
    EXPECT_EQ(node.GetCastAlias(), nullptr);
    EXPECT_EQ(node.GetPollingTime(), -1);
    EXPECT_EQ(node.GetCachingMode(), WriteThrough);
    EXPECT_TRUE(node.IsCachable());
    EXPECT_EQ(node.IsAccessModeCacheable(), Yes);
    EXPECT_EQ(node.GetNodeMap(), &map.Map());
    EXPECT_EQ(map.Integer("N").GetMin(), INT64_MIN);
    EXPECT_EQ(map.Integer("N").GetMax(), INT64_MAX);
    EXPECT_EQ(map.Integer("N").GetInc(), 1);
    EXPECT_EQ(map.Integer("N").GetIncMode(), fixedIncrement);
    EXPECT_EQ(map.Integer("N").GetRepresentation(), PureNumber);
    EXPECT_EQ(map.Integer("N").GetUnit(), "");
}

TEST(NodeDefaults, GiveWayToWhatIsSaid) {
    XmlMap map("<Integer Name='N' NameSpace='Standard'><ToolTip>tip</ToolTip><Description> words </Description>"
               "<DisplayName>Shown</DisplayName><Visibility>Guru</Visibility><DocuURL>http://a</DocuURL>"
               "<IsDeprecated>Yes</IsDeprecated><EventID>0A0B</EventID><pAlias>M</pAlias><pCastAlias>R</pCastAlias>"
               "<Streamable>Yes</Streamable><Value>1</Value></Integer>" +
               Held("M", "2") + Reg("R", "0"));
    const INode& node = map.Node("N");
    EXPECT_EQ(node.GetName(true), "Std::N");
    EXPECT_EQ(node.GetDescription(), " words ") << "free text keeps its blanks";
    EXPECT_EQ(node.GetDisplayName(), "Shown");
    EXPECT_EQ(node.GetVisibility(), Guru);
    EXPECT_EQ(node.GetDocuURL(), "http://a");
    EXPECT_TRUE(node.IsDeprecated() && node.IsStreamable());
    EXPECT_EQ(node.GetEventID(), "0A0B");
    EXPECT_EQ(node.GetAlias(), &map.Node("M"));
    EXPECT_EQ(node.GetCastAlias(), &map.Node("R"));
}

TEST(NodeDefaults, OfARegister) {
    XmlMap map(Kind("IntReg", "N", kPlace) + Kind("IntReg", "Homeless", "<Address>0</Address><Length>4</Length>") +
               Kind("IntReg", "R", kPlace + "<AccessMode>R</AccessMode>") +
               Kind("IntReg", "W", kPlace + "<AccessMode>W</AccessMode>"));
    map.port.Put(0, {0xF1, 2, 3, 0xF4});
    EXPECT_EQ(map.Mode("N"), RO);
    EXPECT_EQ(map.As<IRegister>("N").GetLength(), 4);
    EXPECT_EQ(map.Integer("N").GetValue(), 0xF40302F1) << "unsigned, the low byte first";
    EXPECT_EQ(map.Node("N").GetCachingMode(), WriteThrough);
    EXPECT_EQ(map.Mode("R"), RO);
    EXPECT_EQ(map.Mode("W"), WO);
    EXPECT_EQ(map.Mode("Homeless"), NI);
    EXPECT_THROW(map.Integer("Homeless").GetValue(), GenICam::GenericException);
}

TEST(NodeDefaults, OfAFloatAndWhatItInherits) {
    XmlMap map(Kind("Float", "N", "<Value>1</Value>") +
               Kind("Integer", "Raw", "<Value>1</Value><Unit>us</Unit><Representation>Logarithmic</Representation>") +
               Kind("Float", "Own", "<pValue>Raw</pValue><Unit>ms</Unit><DisplayPrecision>2</DisplayPrecision>") +
               Kind("Float", "Upon", "<pValue>Own</pValue>") +
               Kind("Converter", "C", "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>Raw</pValue>"));
    EXPECT_EQ(map.Float("N").GetRepresentation(), PureNumber);
    EXPECT_EQ(map.Float("N").GetDisplayNotation(), fnAutomatic);
    EXPECT_EQ(map.Float("N").GetDisplayPrecision(), 6);
    EXPECT_EQ(map.Float("N").GetUnit(), "");
    EXPECT_FALSE(map.Float("N").HasInc());
    EXPECT_EQ(map.Float("Own").GetUnit(), "ms");
    EXPECT_EQ(map.Float("Own").GetRepresentation(), Logarithmic);
    EXPECT_EQ(map.Float("Upon").GetUnit(), "ms");
    EXPECT_EQ(map.Float("Upon").GetDisplayPrecision(), 2);
    EXPECT_EQ(map.Float("C").GetUnit(), "us");
}

TEST(NodeDefaults, OfAccess) {
    XmlMap map(Kind("Node", "Plain", "") + Kind("Category", "Empty", "") +
               "<Enumeration Name='E'><EnumEntry Name='X'><Value>0</Value></EnumEntry><Value>0</Value></Enumeration>"
               "<String Name='S'><Value>x</Value></String><Boolean Name='B'><Value>1</Value></Boolean>"
               "<Command Name='C'><Value>0</Value><CommandValue>1</CommandValue></Command>");
    for (const char* const name : {"Plain", "E", "EnumEntry_E_X", "S", "B", "C", "Device"})
        EXPECT_EQ(map.Mode(name), RW) << name;
    EXPECT_EQ(map.Mode("Empty"), RO);
    map.port.mode = WO;
    EXPECT_EQ(map.Mode("Device"), WO) << "a port has the mode of what is connected";
}

TEST(NodeDefaults, AreNotNeededForThePlaceOfARegister) {
    XmlMap map(Kind("IntReg", "Base", kPlace + "<AccessMode>WO</AccessMode>") +
               Kind("IntReg", "N",
                    "<pAddress>Base</pAddress><Length>4</Length><AccessMode>RW</AccessMode>"
                    "<pPort>Device</pPort>"));
    EXPECT_EQ(map.Mode("N"), RW) << "what the address is read from takes no part";
}

TEST(Place, WrapsRoundAndFollowsItsLengthAndStride) {
    XmlMap map(Held("Index", "2") + Held("Stride", "0x10") + Held("Size", "2") +
               Kind("IntReg", "High",
                    "<Address>0xFFFFFFFFFFFFFFFE</Address><Address>6</Address><Length>1</Length>"
                    "<pPort>Device</pPort>") +
               Kind("IntReg", "N",
                    "<Address>0x100</Address><pIndex pOffset='Stride'>Index</pIndex>"
                    "<pLength>Size</pLength><pPort>Device</pPort>"));
    EXPECT_EQ(map.As<IRegister>("High").GetAddress(), 4);
    map.port.Put(0x120, {1, 2, 3, 4});
    map.port.Put(0x140, {5});
    EXPECT_EQ(map.Integer("N").GetValue(), 0x0201);
    map.Integer("Size").SetValue(3);
    EXPECT_EQ(map.Integer("N").GetValue(), 0x030201);
    map.Integer("Stride").SetValue(0x20);
    EXPECT_EQ(map.Integer("N").GetValue(), 5) << "the node of the stride counts as read";
    int calls = 0;
    Register(&map.Node("N"), [&calls](INode*) { ++calls; });
    map.Integer("Stride").SetValue(0x10);
    map.Integer("Size").SetValue(2);
    EXPECT_EQ(calls, 2);
}

TEST(Place, OfAPortThatSwapsBytes) {
    XmlMap map("<Port Name='Old'><SwapEndianess>Yes</SwapEndianess></Port>" + // sic
               Kind("IntReg", "I", "<Address>0</Address><Length>2</Length><pPort>Old</pPort>") +
               Kind("FloatReg", "F", "<Address>8</Address><Length>4</Length><pPort>Old</pPort>"));
    ASSERT_TRUE(map.Map().Connect(&map.port, "Old"));
    map.port.Put(0, {1, 2});
    map.port.Put(8, {0x3F, 0xC0, 0, 0});
    EXPECT_EQ(map.Integer("I").GetValue(), 0x0102);
    EXPECT_EQ(map.Float("F").GetValue(), 1.5);
    EXPECT_EQ(map.As<IPortConstruct>("Old").GetSwapEndianess(), Yes); // sic
    EXPECT_EQ(map.As<IPortConstruct>("Device").GetSwapEndianess(), No);
}

TEST(Place, HoldsWholeNumbersOfUpToEightBytes) {
    XmlMap map(Kind("IntReg", "Wide", "<Address>0</Address><Length>8</Length><pPort>Device</pPort>") +
               Kind("IntReg", "TooWide", "<Address>0</Address><Length>9</Length><pPort>Device</pPort>") +
               Kind("StringReg", "S", "<Address>16</Address><Length>4</Length><pPort>Device</pPort>"));
    map.port.Put(0, {0, 0, 0, 0, 0, 0, 0, 0x80});
    EXPECT_EQ(map.Integer("Wide").GetValue(), INT64_MIN) << "the pattern is kept";
    EXPECT_THROW(map.Integer("TooWide").GetValue(), GenICam::OutOfRangeException);
    map.port.Put(16, {0xFF, 'a', ' ', 0});
    EXPECT_EQ(map.Text("S"), "\xFF"
                             "a ")
        << "any bytes pass, trailing blanks stay";
}

TEST(Texts, OfNodesOfEveryKind) {
    XmlMap map(Kind("Integer", "Hex", "<Value>-1</Value><Representation>HexNumber</Representation>") +
               Kind("Integer", "Yes", "<Value>1</Value><Representation>Boolean</Representation>") +
               Kind("Category", "C", "<DisplayName>Shown</DisplayName>") +
               "<Enumeration Name='E'><EnumEntry Name='On'><Value>0</Value></EnumEntry><Value>0</Value></Enumeration>" +
               Kind("Boolean", "B", "<Value>false</Value>") + Kind("Float", "F", "<Value>1234567.5</Value>"));
    EXPECT_EQ(map.Text("Hex"), "0xffffffffffffffff");
    EXPECT_EQ(map.Text("Yes"), "1");
    EXPECT_EQ(map.Text("C"), "C");
    EXPECT_EQ(map.Text("EnumEntry_E_On"), "On");
    EXPECT_EQ(map.Text("F"), "1.23457e+06");
    map.As<IValue>("Hex").FromString(" 0XFf ");
    EXPECT_EQ(map.Integer("Hex").GetValue(), 255);
    map.As<IValue>("F").FromString(" 12 ");
    EXPECT_EQ(map.Float("F").GetValue(), 12.0);
    for (const char* const text : {"1", "true", "True", "TRUE"}) {
        map.As<IValue>("B").FromString("0");
        map.As<IValue>("B").FromString(text);
        EXPECT_EQ(map.Text("B"), "1") << text;
    }
    EXPECT_THROW(map.As<IValue>("C").FromString("x"), GenICam::AccessException);
    EXPECT_THROW(map.As<IValue>("F").FromString("1.5 s"), GenICam::InvalidArgumentException);
}

TEST(Texts, ThatAreNotKnownAreLeftOutWithoutHarm) {
    XmlMap map("<Integer Name='N' Colour='blue'><Colour>red</Colour><Value>3</Value></Integer>"
               "<Integer Name='Other'><Value>4</Value></Integer>");
    EXPECT_EQ(map.Integer("N").GetValue(), 3);
    EXPECT_EQ(map.Integer("Other").GetValue(), 4);
    EXPECT_THAT(map.Problems(), IsEmpty());
}
