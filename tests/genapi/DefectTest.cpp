// Nodes whose description is faulty, and values that never reach a register.
#include "genapi/support/XmlMap.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>

using namespace GenApi;
using genapi_test::Held;
using genapi_test::Reg;
using genapi_test::XmlMap;

TEST(Defect, OfAPropertyAndOfALinkAreToldApart) {
    const XmlMap map("<Integer Name=\"Number\"><Value>twelve</Value></Integer>"
                     "<Integer Name=\"Link\"><pValue>Nobody</pValue></Integer>");
    EXPECT_THROW(map.Integer("Number").GetValue(), GenICam::PropertyException);
    EXPECT_THROW(map.Integer("Link").GetValue(), GenICam::RuntimeException);
    EXPECT_EQ(map.Mode("Number"), NI);
    EXPECT_EQ(map.Problems().size(), 2u);
}

TEST(Defect, OfPresentationIsLeftOut) {
    const XmlMap map("<Float Name=\"F\"><Visibility>Nobody</Visibility><Value>1.5</Value>"
                     "<Representation>Roman</Representation><DisplayNotation>Loud</DisplayNotation>"
                     "<DisplayPrecision>many</DisplayPrecision></Float>" +
                     Reg("R", "0", "<PollingTime>often</PollingTime>"));
    EXPECT_EQ(map.Mode("F"), RW);
    EXPECT_EQ(map.Node("F").GetVisibility(), Beginner);
    EXPECT_EQ(map.Text("F"), "1.5");
    EXPECT_EQ(map.Mode("R"), RW);
    EXPECT_EQ(map.Node("R").GetPollingTime(), -1);
    EXPECT_EQ(map.Problems().size(), 5u);
}

TEST(Defect, AFractionIsNoneForAConstantOfAnIntegerFormula) {
    const XmlMap map(Held("X", "10") + "<IntSwissKnife Name=\"Half\"><pVariable Name=\"X\">X</pVariable>"
                                       "<Constant Name=\"H\">0.5</Constant><Formula>X * H</Formula></IntSwissKnife>");
    EXPECT_EQ(map.Integer("Half").GetValue(), 5);
}

TEST(NotANumber, IsRefusedBySilentWritesToo) {
    XmlMap map("<FloatReg Name=\"R\"><Address>0</Address>" + genapi_test::kRegisterRest + "</FloatReg>" +
               "<Float Name=\"F\"><pValue>R</pValue></Float>");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(map.Float("F").SetValue(nan), GenICam::OutOfRangeException);
    EXPECT_THROW(map.Float("F").SetValue(nan, /*Verify=*/false), GenICam::OutOfRangeException);
    EXPECT_EQ(map.port.writes, 0);
}

namespace {

// Whether a description of these nodes stands the checks.
bool Stands(const std::string& nodes, uint32_t checks) {
    const std::string path = testing::TempDir() + "genapi_validated.xml";
    std::ofstream(path) << XmlMap::Head('1') << nodes << "</RegisterDescription>";
    try {
        CNodeMapRef()._PreprocessXMLFromFile(path.c_str(), (path + ".out").c_str(), checks);
        return true;
    } catch (const GenICam::RuntimeException&) {
        return false;
    }
}

const std::string kWhole = "<Category Name=\"Root\"><pFeature>A</pFeature></Category><Port Name=\"Device\"/>";

} // namespace

TEST(XMLValidation, ChecksOnlyWhatItIsAskedFor) {
    const std::string sound = kWhole + Held("A", "1");
    EXPECT_TRUE(Stands(sound, static_cast<uint32_t>(xvAll)));

    const std::string dangling = kWhole + "<Integer Name=\"A\"><pValue>Nobody</pValue></Integer>";
    EXPECT_FALSE(Stands(dangling, xvLoad));
    EXPECT_TRUE(Stands(dangling, xvCycles | xvSFNC));
    EXPECT_TRUE(Stands(dangling, xvDefault));

    const std::string circle = kWhole + "<Integer Name=\"A\"><pValue>B</pValue></Integer>" +
                               "<Integer Name=\"B\"><pValue>A</pValue></Integer>";
    EXPECT_FALSE(Stands(circle, xvCycles));
    EXPECT_TRUE(Stands(circle, xvLoad | xvSFNC));

    EXPECT_FALSE(Stands(Held("A", "1"), xvSFNC));
    EXPECT_TRUE(Stands(Held("A", "1"), xvCycles));
}
