#include "FormulaTesting.h"

#include "genapi/support/Repeat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>

namespace genapi::testkit {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr FormulaMode kInteger = FormulaMode::Integer;
constexpr FormulaMode kFloat = FormulaMode::Float;

TEST(Formula, ComputesWithVariablesAndConstantsAndExpressions) {
    FormulaNames names = OneVariable("X");
    names.constants.push_back({"TEN", Value::Integer(10)});
    names.expressions.push_back({"XP2", "TEN + X"});
    EXPECT_EQ(Show("TEN * XP2", kInteger, names, {Value::Integer(4)}), "140");
    EXPECT_EQ(Show("TEN * XP2", kFloat, names, {Value::Integer(4)}), "140");
}

TEST(Formula, TruncatesFloatPartsOfIntegerFormulasOnlyAtTheEnd) {
    FormulaNames names;
    names.implicitName = "TO";
    EXPECT_EQ(Show("TO / 4.0", kInteger, names, {Value::Integer(10)}), "2");
    EXPECT_EQ(Show("TO / 4.0", kFloat, names, {Value::Integer(10)}), "2.5");
    EXPECT_EQ(Show("0.1 * TO", kInteger, names, {Value::Integer(50)}), "5");
    EXPECT_EQ(Show("TO * 3 / 2", kInteger, names, {Value::Real(1.5)}), "2");
}

TEST(Formula, DividesIntegerVariablesByTheMode) {
    FormulaNames names = OneVariable("X");
    EXPECT_EQ(Show("X / 2 * 2", kInteger, names, {Value::Integer(7)}), "6");
    EXPECT_EQ(Show("X / 2 * 2", kFloat, names, {Value::Integer(7)}), "7");
}

TEST(Formula, KeepsLargeIntegersExactInFloatFormulas) {
    FormulaNames names = OneVariable("X");
    EXPECT_EQ(Show("X - 9007199254740992", kFloat, names, {Value::Integer(9007199254740993)}), "1");
}

TEST(Formula, TreatsNamesCaseSensitively) {
    EXPECT_THAT(Show("x", kInteger, OneVariable("X"), {Value::Integer(1)}),
                HasSubstr("unknown name 'x' at position 1"));
}

TEST(Formula, LetsDeclaredNamesHideBuiltInOnes) {
    EXPECT_EQ(Show("E + PI", kInteger, OneVariable("E"), {Value::Integer(10)}), "13");
    EXPECT_EQ(Show("ABS + 1", kInteger, OneVariable("ABS"), {Value::Integer(10)}), "11");
}

TEST(Formula, LooksForVariablesBeforeConstantsBeforeExpressionsBeforeTheImplicitName) {
    FormulaNames names;
    names.implicitName = "TO";
    names.expressions = {{"A", "1"}, {"B", "1"}, {"TO", "1"}};
    names.constants = {{"A", Value::Integer(2)}, {"B", Value::Integer(2)}};
    names.variables = {{"A", 0}};
    EXPECT_EQ(Show("A*100 + B*10 + TO", kInteger, names, {Value::Integer(3)}), "321");
}

TEST(Formula, DoesNotTreatOldSpecially) {
    EXPECT_THAT(Show("OLD", kInteger), HasSubstr("unknown name 'OLD'"));
    EXPECT_EQ(Show("OLD", kInteger, OneVariable("OLD"), {Value::Integer(4)}), "4");
}

TEST(Formula, TakesDottedNames) {
    FormulaNames names;
    names.variables = {{"X", 0}, {"X.Max", 1}, {"SEL.Entry.12bit", 2}};
    EXPECT_EQ(Show("X.Max - X + SEL.Entry.12bit", kInteger, names,
                   {Value::Integer(1), Value::Integer(10), Value::Integer(100)}),
              "109");
}

TEST(Formula, TakesEnumForEntryAndTheOtherWayRound) {
    EXPECT_EQ(Show("S.Enum.On", kInteger, OneVariable("S.Entry.On"), {Value::Integer(5)}), "5");
    EXPECT_EQ(Show("S.Entry.On", kInteger, OneVariable("S.Enum.On"), {Value::Integer(6)}), "6");
}

TEST(Formula, ReadsOnlyWhatTheTakenBranchMentions) {
    FormulaNames names;
    names.variables = {{"A", 0}, {"B", 1}, {"C", 2}, {"UNUSED", 3}};
    const Formula formula = Formula::Compile("A ? B : C", kInteger, names);
    ListSource source({Value::Integer(0), Value::Integer(1), Value::Integer(2)});
    EXPECT_EQ(formula.TryEvaluate(source).value.integer, 2);
    EXPECT_THAT(source.reads, ElementsAre(0, 2));
    EXPECT_THAT(formula.Slots(), ElementsAre(0, 1, 2));
}

TEST(Formula, StopsAtTheFirstDecidingOperandOfAndAndOr) {
    FormulaNames names;
    names.variables = {{"A", 0}, {"B", 1}};
    for (const char* text : {"A && B", "!A || B"}) {
        ListSource source({Value::Integer(0), Value::Integer(1)});
        static_cast<void>(Formula::Compile(text, kInteger, names).TryEvaluate(source));
        EXPECT_THAT(source.reads, ElementsAre(0)) << text;
    }
}

TEST(Formula, LetsExceptionsOfTheSourcePass) {
    struct Broken final : VariableSource {
        Value Read(uint32_t) override { throw std::runtime_error("port"); }
    } source;
    const Formula formula = Formula::Compile("X + 1", kInteger, OneVariable("X"));
    EXPECT_THROW(static_cast<void>(formula.TryEvaluate(source)), std::runtime_error);
}

TEST(Formula, AllowsExpressionsInExpressionsInAnyOrder) {
    FormulaNames names = OneVariable("X");
    names.expressions = {{"A", "B * 2"}, {"B", "C + 1"}, {"C", "X"}};
    EXPECT_EQ(Show("A + B", kInteger, names, {Value::Integer(3)}), "12");
}

TEST(Formula, EvaluatesExpressionsAsIfInParentheses) {
    FormulaNames names;
    names.expressions = {{"S", "1 + 2"}};
    EXPECT_EQ(Show("S * S", kInteger, names), "9");
    EXPECT_EQ(Show("10 - S", kInteger, names), "7");
}

TEST(Formula, ReportsExpressionsThatUseEachOtherInACircle) {
    FormulaNames names;
    names.expressions = {{"A", "B"}, {"B", "C"}, {"C", "A"}};
    EXPECT_THAT(Show("1 + A", kInteger, names), HasSubstr("circle"));
    names.expressions = {{"A", "A"}};
    EXPECT_THAT(Show("A", kInteger, names), HasSubstr("circle"));
}

TEST(Formula, IgnoresFaultsInExpressionsThatItDoesNotUse) {
    FormulaNames names;
    names.expressions = {{"A", "A"}, {"B", "(("}};
    EXPECT_EQ(Show("1", kInteger, names), "1");
    EXPECT_EQ(Show("B", kInteger, names), "malformed formula: expression 'B': value expected at position 3");
}

TEST(Formula, EvaluatesAnExpressionOnceHoweverOftenItIsUsed) {
    FormulaNames names = OneVariable("X");
    std::vector<std::string> texts(60);
    std::vector<std::string> keys(60);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        keys[i] = "E" + std::to_string(i);
        texts[i] = i == 0 ? "X" : keys[i - 1] + " - " + keys[i - 1] + " + " + keys[i - 1];
        names.expressions.push_back({keys[i], texts[i]});
    }
    ListSource source({Value::Integer(7)});
    const Formula formula = Formula::Compile(keys.back(), kInteger, names);
    EXPECT_EQ(formula.TryEvaluate(source).value.integer, 7);
    EXPECT_THAT(source.reads, ElementsAre(0));
}

TEST(Formula, WithoutTextIsInvalid) {
    EXPECT_EQ(Show("", kInteger), "malformed formula: value expected at position 1");
    EXPECT_EQ(Show("   ", kInteger), "malformed formula: value expected at position 4");
    EXPECT_FALSE(Formula().IsValid());
    EXPECT_EQ(Formula().FaultText(FormulaFault::Malformed), "malformed formula: no formula given");
}

TEST(Formula, NamesReasonAndPositionOfParseErrors) {
    struct Row {
        const char* text;
        const char* error;
    };
    constexpr Row kRows[] = {
        {"1 +", "value expected at position 4"},
        {"* 1", "value expected at position 1"},
        {"1 2", "operator expected at position 3"},
        {"(1", "'(' without ')' at position 1"},
        {"1)", "')' without '(' at position 2"},
        {"(1 ? 2)", "'?' without ':' at position 4"},
        {"1 ? 2", "'?' without ':' at position 3"},
        {"1 : 2", "':' without '?' at position 3"},
        {"(1 : 2)", "':' without '?' at position 4"},
        {"1 ? 2 : ", "value expected at position 9"},
        {"1, 2", "unexpected ',' at position 2"},
        {"(1, 2)", "unexpected ',' at position 3"},
        {"()", "value expected at position 2"},
        {"FOO(1)", "unknown function 'FOO' at position 1"},
        {"SIN()", "value expected at position 5"},
        {"SIN(1, 2)", "wrong number of arguments at position 1"},
        {"ROUND(1, 2, 3)", "wrong number of arguments at position 1"},
        {"E(1)", "no arguments allowed for 'E' at position 1"},
        {"1 # 2", "unexpected character at position 3"},
        {"1 = = 2", "value expected at position 5"},
        {"0x", "malformed hexadecimal number at position 1"},
        {"0x10000000000000000", "malformed hexadecimal number at position 1"},
        {"0xZZ", "malformed hexadecimal number at position 1"},
        {"12bit", "malformed number at position 1"},
        {"1e", "malformed number at position 1"},
        {"1.2.3", "malformed number at position 1"},
        {".", "malformed number at position 1"},
        {"99999999999999999999", "integer beyond 64 bits at position 1"},
        {"1 & & 2", "value expected at position 5"},
        {"X", "unknown name 'X' at position 1"},
        {"~", "value expected at position 2"},
        {"(\n", "value expected at position 3"},
    };
    for (const Row& row : kRows) {
        const Formula formula = Formula::Compile(row.text, kInteger);
        EXPECT_FALSE(formula.IsValid()) << row.text;
        EXPECT_EQ(formula.Error(), row.error) << row.text;
    }
}

TEST(Formula, TakesChainsOfThousandsOfConditions) {
    constexpr std::size_t kCount = 20000;
    EXPECT_EQ(Show(Repeat("0 ? 1 : ", kCount) + "5", kInteger), "5");
    EXPECT_EQ(Show(Repeat("(0) ? 1 : (", kCount) + "6" + Repeat(")", kCount), kInteger), "6");
    EXPECT_EQ(Show(Repeat("1 ? ", kCount) + "7" + Repeat(" : 0", kCount), kInteger), "7");
}

TEST(Formula, SurvivesAnyNesting) {
    constexpr std::size_t kCount = 200000;
    EXPECT_EQ(Show(Repeat("(", kCount) + "1" + Repeat(")", kCount), kInteger), "1");
    EXPECT_EQ(Show(Repeat("-", kCount) + "1", kInteger), "1");
    EXPECT_EQ(Show(Repeat("ABS(", kCount) + "-1" + Repeat(")", kCount), kInteger), "1");
    EXPECT_THAT(Show(Repeat("1+(", kCount) + "1" + Repeat(")", kCount), kInteger), HasSubstr("nested too deeply"));
    EXPECT_THAT(Show(Repeat("(", kCount), kInteger), HasSubstr("value expected"));
}

TEST(Formula, TakesDeepRightHandSides) {
    EXPECT_EQ(Show(Repeat("1+(", 1000) + "1" + Repeat(")", 1000), kInteger), "1001");
}

TEST(FormulaNames, SplitsSuffixes) {
    EXPECT_EQ(ParseVariableName("X").base, "X");
    EXPECT_EQ(ParseVariableName("X").suffix, VariableSuffix::Value);
    EXPECT_EQ(ParseVariableName("X.Value").suffix, VariableSuffix::Value);
    EXPECT_EQ(ParseVariableName("X.Min").suffix, VariableSuffix::Min);
    EXPECT_EQ(ParseVariableName("X.Max").suffix, VariableSuffix::Max);
    EXPECT_EQ(ParseVariableName("X.Inc").suffix, VariableSuffix::Inc);
    EXPECT_EQ(ParseVariableName("X.AccessMode").suffix, VariableSuffix::AccessMode);
    EXPECT_EQ(ParseVariableName("X.Visibility").suffix, VariableSuffix::Visibility);
    EXPECT_EQ(ParseVariableName("X.CachingMode").suffix, VariableSuffix::CachingMode);
    EXPECT_EQ(ParseVariableName("X.Entry.Off").suffix, VariableSuffix::Entry);
    EXPECT_EQ(ParseVariableName("X.Entry.Off").entry, "Off");
    EXPECT_EQ(ParseVariableName("X.Enum.Off").entry, "Off");
    EXPECT_EQ(ParseVariableName("X.Entry.Off").base, "X");
    EXPECT_EQ(ParseVariableName("X.Other").suffix, VariableSuffix::Unknown);
}

} // namespace
} // namespace genapi::testkit
