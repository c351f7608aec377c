// The machine for formulas without fractions gives what the general one gives.
#include "genapi/formula/FormulaTesting.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace genapi::testkit {

namespace {

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
const std::vector<Value> kNumbers = {Value::Integer(7), Value::Integer(-3), Value::Integer(0), Value::Integer(kMin)};

FormulaNames FourVariables(bool areIntegers) {
    FormulaNames names;
    names.variables = {{"A", 0, areIntegers}, {"B", 1, areIntegers}, {"Z", 2, areIntegers}, {"M", 3, areIntegers}};
    return names;
}

void ExpectTheSame(const std::string& text) {
    ListSource general(kNumbers);
    ListSource integer(kNumbers);
    const Formula formula = Formula::Compile(text, FormulaMode::Integer, FourVariables(false));
    const FormulaResult expected = formula.TryEvaluate(general);
    const FormulaResult result = Formula::Compile(text, FormulaMode::Integer, FourVariables(true)).TryEvaluate(integer);
    EXPECT_EQ(result.fault, expected.fault) << text;
    if (expected.fault == FormulaFault::None) {
        EXPECT_FALSE(result.value.isReal) << text;
        EXPECT_EQ(result.value.integer, expected.value.integer) << text;
    }
    EXPECT_EQ(integer.reads, general.reads) << text;
}

// Formulas of all integer operators over the variables and some numbers. Bound to a thread.
class Author {
public:
    std::string Write(int depth) {
        if (depth == 0 || Pick(6) == 0) return Leaf();
        switch (Pick(8)) {
        case 0:
            return std::string(Of({"-", "~", "!", "+"})) + "(" + Write(depth - 1) + ")";
        case 1:
            return std::string(Of({"ABS", "SGN", "NEG", "TRUNC", "ROUND"})) + "(" + Write(depth - 1) + ")";
        case 2:
            return "((" + Write(depth - 1) + ")?(" + Write(depth - 1) + "):(" + Write(depth - 1) + "))";
        default:
            return "(" + Write(depth - 1) +
                   Of({"+", "-", "*", "/", "%", "<<", ">>", "&", "|", "^", "&&", "||", "<", "<=", ">", ">=", "=",
                       "<>"}) +
                   Write(depth - 1) + ")";
        }
    }

private:
    std::size_t Pick(std::size_t count) { return m_Random() % count; }
    const char* Of(const std::vector<const char*>& choice) { return choice[Pick(choice.size())]; }
    std::string Leaf() { return Of({"A", "B", "Z", "M", "1", "2", "63", "0x7FFFFFFFFFFFFFFF", "0", "1000"}); }

    std::mt19937 m_Random{20};
};

} // namespace

TEST(IntegerMachine, AgreesWithTheGeneralMachineOnAllOperators) {
    for (const char* const text : {"A + B * 2", "M / -1", "M % -1", "A / Z", "A % Z", "Z ? A / Z : B", "Z && (1 / Z)",
                                   "A || (1 / Z)", "-M", "ABS(M)", "A << 65", "M >> 62", "!A", "~B",
                                   "A = 7 ? B : 1 / Z", "SGN(B) * NEG(A)", "A > B", "(A,B)", "FLOOR(A)"}) {
        ExpectTheSame(text);
    }
}

TEST(IntegerMachine, AgreesWithTheGeneralMachineOnFormulasOfAllShapes) {
    Author author;
    for (int i = 0; i < 3000; ++i)
        ExpectTheSame(author.Write(1 + i % 5));
}

TEST(IntegerMachine, LeavesFractionsToTheGeneralMachine) {
    for (const char* const text : {"A / 2.0", "2 ** -1 * 8", "SQRT(16)", "ROUND(A, -1)", "A * 0.5 + 0.5"})
        ExpectTheSame(text);
}

TEST(IntegerMachine, IsNotUsedForVariablesThatMayBeReal) {
    FormulaNames names;
    names.variables = {{"A", 0, true}, {"B", 1, false}};
    EXPECT_EQ(Show("A * B", FormulaMode::Integer, names, {Value::Integer(3), Value::Real(1.5)}), "4");
}

TEST(IntegerMachine, KnowsTheImplicitName) {
    FormulaNames names;
    names.implicitName = "TO";
    names.implicitSlot = 0;
    names.isImplicitInteger = true;
    EXPECT_EQ(Show("(TO / 4) * 4", FormulaMode::Integer, names, {Value::Integer(11)}), "8");
    names.isImplicitInteger = false;
    EXPECT_EQ(Show("TO * 2", FormulaMode::Integer, names, {Value::Real(2.5)}), "5");
}

} // namespace genapi::testkit
