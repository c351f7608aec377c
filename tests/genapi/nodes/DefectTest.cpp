// Nodes whose description is faulty, and values that never reach a register.
#include "genapi/support/XmlMap.h"

#include <gtest/gtest.h>

#include <Base/GCException.h>
#include <GenApi/Why.h>

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

namespace {

// What the exception of the action says, and of which kind it is; empty when there is none.
template<class Exception = GenICam::RuntimeException, class Action>
std::string Fault(Action action) {
    try {
        action();
    } catch (const Exception& exception) {
        return exception.what();
    } catch (const GenICam::GenericException& exception) {
        return std::string("another kind: ") + exception.what();
    }
    return {};
}

const char* const kDangling = "pPort names the unknown node 'Nobody'";

} // namespace

TEST(Defect, IsNamedByWhateverNeedsTheNode) {
    XmlMap map("<IntReg Name=\"R\"><Address>0</Address><Length>4</Length><pPort>Nobody</pPort></IntReg>"
               "<Integer Name=\"I\"><pValue>R</pValue></Integer>" +
               Held("Zero", "0") +
               "<Integer Name=\"Chosen\"><pIndex>Zero</pIndex><pValueIndexed Index=\"0\">R</pValueIndexed>"
               "<ValueDefault>1</ValueDefault></Integer>"
               "<IntSwissKnife Name=\"F\"><pVariable Name=\"X\">I</pVariable><Formula>X</Formula></IntSwissKnife>"
               "<Command Name=\"C\"><pValue>R</pValue><CommandValue>1</CommandValue></Command>"
               "<Boolean Name=\"B\"><pValue>R</pValue></Boolean>");
    for (const char* const name : {"R", "I", "Chosen", "F"}) {
        IInteger& node = map.Integer(name);
        for (const bool verify : {false, true})
            EXPECT_NE(Fault([&] { node.GetValue(verify); }).find(kDangling), std::string::npos) << name << verify;
        EXPECT_NE(Fault([&] { node.GetValue(true); }).find("'R'"), std::string::npos) << name;
        EXPECT_FALSE(IsAvailable(map.Mode(name))) << name;
    }
    for (const char* const name : {"R", "I", "Chosen"})
        EXPECT_NE(Fault([&] { map.Integer(name).SetValue(1); }).find(kDangling), std::string::npos) << name;
    EXPECT_NE(Fault([&] { map.As<ICommand>("C").Execute(); }).find(kDangling), std::string::npos);
    EXPECT_NE(Fault([&] { map.As<IBoolean>("B").SetValue(true); }).find(kDangling), std::string::npos);
    EXPECT_NE(Fault([&] { map.As<IRegister>("R").GetLength(); }).find(kDangling), std::string::npos);
    EXPECT_NE(Fault([&] { map.Integer("I").GetMax(); }).find(kDangling), std::string::npos);
}

TEST(Defect, OfAFormulaBelowIsNamedInTheDirectionInWhichItHinders) {
    XmlMap map(Held("Raw", "3") +
               "<IntConverter Name=\"Down\"><FormulaTo>FROM +</FormulaTo><FormulaFrom>TO</FormulaFrom>"
               "<pValue>Raw</pValue></IntConverter><Integer Name=\"I\"><pValue>Down</pValue></Integer>");
    EXPECT_EQ(map.Integer("I").GetValue(/*Verify=*/true), 3);
    EXPECT_EQ(map.Mode("I"), RO);
    EXPECT_NE(Fault([&] { map.Integer("I").SetValue(1); }).find("Formula error: "), std::string::npos);
}

TEST(Defect, IsNotBlamedForWhatAnotherNodeForbids) {
    const XmlMap map(Held("No", "0") +
                     "<Integer Name=\"Faulty\"><pValue>Nobody</pValue></Integer>"
                     "<Integer Name=\"I\"><pIsAvailable>No</pIsAvailable><pIndex>No</pIndex>"
                     "<pValueIndexed Index=\"1\">Faulty</pValueIndexed><ValueDefault>5</ValueDefault></Integer>");
    EXPECT_THROW(map.Integer("I").GetValue(/*Verify=*/true), GenICam::AccessException);
    EXPECT_EQ(map.Integer("I").GetValue(), 5);
}

TEST(Defect, OfAVariableThatTheFormulaLeavesOutIsNotBlamed) {
    XmlMap map("<IntReg Name='W'><Address>0</Address><Length>4</Length><AccessMode>WO</AccessMode>"
               "<pPort>Device</pPort></IntReg><IntSwissKnife Name='Faulty'><Formula>1 +</Formula></IntSwissKnife>" +
               Reg("Asked", "8", "<Cachable>NoCache</Cachable>") +
               "<Integer Name='Guarded'><pIsLocked>Asked</pIsLocked><pValue>W</pValue></Integer>"
               "<IntConverter Name='C'><pVariable Name='F'>Faulty</pVariable><pVariable Name='G'>Guarded</pVariable>"
               "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>W</pValue></IntConverter>");
    EXPECT_THROW(map.Integer("C").GetValue(/*Verify=*/true), GenICam::AccessException);
    EXPECT_EQ(std::string(ExplainAccess(&map.Node("C")).c_str()).find("Faulty"), std::string::npos);
    map.port.failure = "cable";
    EXPECT_THROW(map.Integer("C").GetValue(/*Verify=*/true), GenICam::AccessException);
}

TEST(Defect, OfAnEntryIsThatEntrysAlone) {
    XmlMap map("<Enumeration Name=\"E\"><EnumEntry Name=\"Bad\"><Value>two</Value></EnumEntry>"
               "<EnumEntry Name=\"Good\"><Value>0</Value></EnumEntry><Value>0</Value></Enumeration>"
               "<IntSwissKnife Name=\"F\"><pVariable Name=\"E.Entry.Bad\">E</pVariable>"
               "<Formula>E.Entry.Bad</Formula></IntSwissKnife>");
    using Bad = GenICam::PropertyException;
    IEnumeration& enumeration = map.Enumeration("E");
    EXPECT_EQ(map.Text("E"), "Good") << "a number that is not known is no number";
    for (const bool verify : {false, true})
        EXPECT_NE(Fault<Bad>([&] { enumeration.FromString("Bad", verify); }).find("'two'"), std::string::npos);
    EXPECT_NE(Fault<Bad>([&] { enumeration.GetEntryByName("Bad")->GetValue(); }).find("'two'"), std::string::npos);
    EXPECT_NE(Fault<Bad>([&] { map.Integer("F").GetValue(); }).find("'two'"), std::string::npos);
    EXPECT_EQ(enumeration.GetIntValue(/*Verify=*/true), 0);
}

TEST(Defect, OfANameBorneTwiceIsReportedByTheNodeThatIsFound) {
    const XmlMap map("<Integer Name=\"A\"><Value>1</Value></Integer>\n<Float Name=\"A\"><Value>2</Value></Float>"
                     "<Integer Name=\"I\"><pValue>A</pValue></Integer>");
    for (const char* const name : {"A", "I"}) {
        const std::string fault = Fault([&] { map.Integer(name).GetValue(/*Verify=*/true); });
        EXPECT_NE(fault.find("line 2 has a second node of this name"), std::string::npos) << fault;
    }
    EXPECT_EQ(map.Problems().size(), 1u);
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

TEST(Defect, OfACopyIsNamedWhenTheWriteIsDenied) {
    XmlMap map(Held("A", "1") + "<Integer Name=\"Copy\"><pValue>Nobody</pValue></Integer>" +
               "<Integer Name=\"I\"><pValue>A</pValue><pValueCopy>Copy</pValueCopy></Integer>");
    EXPECT_EQ(map.Integer("I").GetValue(/*Verify=*/true), 1);
    EXPECT_NE(Fault([&] { map.Integer("I").SetValue(2); }).find("pValue names the unknown node 'Nobody'"),
              std::string::npos);
}

TEST(Defect, OfACircleIsSaidOfLinksAndOfFormulas) {
    XmlMap map("<Integer Name=\"A\"><pValue>B</pValue></Integer><Integer Name=\"B\"><pValue>A</pValue></Integer>"
               "<IntSwissKnife Name=\"F\"><pVariable Name=\"X\">F</pVariable><Formula>X</Formula></IntSwissKnife>");
    for (const char* const name : {"A", "F"}) {
        EXPECT_NE(Fault([&] { map.Integer(name).GetValue(); }).find("read one another in a circle"), std::string::npos)
            << name;
    }
}
