// Formulas and their values in both modes, row by row.

#include "FormulaTesting.h"

#include <gtest/gtest.h>

#include <ostream>

namespace genapi::testkit {
namespace {

struct Row {
    const char* text;
    const char* integer;
    const char* real;
};

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.text;
}

class FormulaVector : public ::testing::TestWithParam<Row> {};

TEST_P(FormulaVector, HasTheValueInIntegerMode) {
    EXPECT_EQ(Show(GetParam().text, FormulaMode::Integer), GetParam().integer);
}

TEST_P(FormulaVector, HasTheValueInFloatMode) {
    EXPECT_EQ(Show(GetParam().text, FormulaMode::Float), GetParam().real);
}

constexpr Row kArithmetic[] = {
    {"1+2*3", "7", "7"},
    {"7/2", "3", "3.5"},
    {"-7/2", "-3", "-3.5"},
    {"-7%3", "-1", "-1"},
    {"7%-3", "1", "1"},
    {"7.5 % 2", "1", "1.5"},
    {"-7.5 % 2", "-1", "-1.5"},
    {"10-3-2", "5", "5"},
    {"100/10/5", "2", "2"},
    {"20 - 7 % 4", "17", "17"},
    {"2**10", "1024", "1024"},
    {"2**10*2", "2048", "2048"},
    {"-2**2", "-4", "-4"},
    {"2**3**2", "512", "512"},
    {"2**-1", "0", "0.5"},
    {"2 ** -1 * 4", "2", "2"},
    {"(-3)**3", "-27", "-27"},
    {"3**64", "8733086111712066817", "3.43368382029251e+30"},
    {"3**39 % 10", "7", "7"}, // what fits into an integer is exact in both
    {"0**0", "1", "1"},
    {"4 * -3", "-12", "-12"},
    {"- - 5", "5", "5"},
    {"+5", "5", "5"},
    {"9223372036854775807 + 1", "-9223372036854775808", "9.22337203685478e+18"},
    {"-9223372036854775808", "-9223372036854775808", "-9.22337203685478e+18"},
    {"-9223372036854775808 / -1", "-9223372036854775808", "9.22337203685478e+18"},
    {"-9223372036854775808 % -1", "0", "-0"},
    {"NEG(0x8000000000000000)", "-9223372036854775808", "-9.22337203685478e+18"},
    {"ABS(0x8000000000000000)", "-9223372036854775808", "-9.22337203685478e+18"},
    {"5.9", "5", "5.9"},
    {"-5.9", "-5", "-5.9"},
    {"10 / 4.0", "2", "2.5"},
    {"0.1 * 50", "5", "5"},
    {"1e3", "1000", "1000"},
    {"64512e0", "64512", "64512"},
    {"1.5E-3 * 2000", "3", "3"},
    {".5 * 4", "2", "2"},
    {"5. / 2", "2", "2.5"},
    {"007 + 010", "17", "17"},
};
INSTANTIATE_TEST_SUITE_P(Arithmetic, FormulaVector, ::testing::ValuesIn(kArithmetic));

constexpr Row kBits[] = {
    {"1<<40", "1099511627776", "1099511627776"},
    {"1 << 64", "1", "1"},
    {"1 << 65", "2", "2"},
    {"1 << -1 >> 63", "-1", "-1"},
    {"2.9 << 1.9", "4", "4"},
    {"-8 >> 1", "-4", "-4"},
    {"~0xFF", "-256", "-256"},
    {"(~(~0xC2000221|0xFEFFFFFF)) ? 2:0", "0", "0"},
    {"0xFFFFFFFF", "4294967295", "4294967295"},
    {"0xFFFFFFFFFFFFFFFF", "-1", "-1"},
    {"0Xff", "255", "255"},
    {"0xe1060", "921696", "921696"},
    {"6 & 3", "2", "2"},
    {"6 | 3", "7", "7"},
    {"6 ^ 3", "5", "5"},
    {"7.9 & 6.9", "6", "6"},
    {"1 | 6 ^ 3 & 5", "7", "7"},
    {"5 & 1 = 1", "1", "1"},
    {"(0 & 1)=0?((0 & 1)+2):1", "2", "2"},
    {"12 & 8 | 1", "9", "9"},
    {"1 + 1 << 2", "8", "8"},
    {"(0x12 << 32) | 0x34", "77309411380", "77309411380"},
};
INSTANTIATE_TEST_SUITE_P(Bits, FormulaVector, ::testing::ValuesIn(kBits));

constexpr Row kLogic[] = {
    {"1=1?1:0", "1", "1"},
    {"1<>1", "0", "0"},
    {"2>=2", "1", "1"},
    {"1==1", "1", "1"},
    {"1!=1", "0", "0"},
    {"5 <> -1", "1", "1"},
    {"3 < 2", "0", "0"},
    {"2 <= 1", "0", "0"},
    {"3 > 2 = 1", "1", "1"},
    {"(2=2)&&(1=2)||(3=3)", "1", "1"},
    {"0 && 0 || 1", "1", "1"},
    {"1 || 0 && 0", "1", "1"},
    {"2 && 4", "1", "1"},
    {"0 || 7", "1", "1"},
    {"0.5 && 1", "1", "1"},
    {"!0", "1", "1"},
    {"!5 + 1", "1", "1"},
    {"NEG(1) ? 10 : 20", "10", "10"},
    {"9223372036854775807 = 9223372036854775806", "0", "0"},
    {"9223372036854775807 > 9223372036854775806", "1", "1"},
    {"1 = 1.0", "1", "1"},
    {"(0)?(1/0):(5)", "5", "5"},
    {"1?5:1/0", "5", "5"},
    {"0 && 1/0", "0", "0"},
    {"1 || 1/0", "1", "1"},
    {"1 ? 2 : 3 ? 4 : 5", "2", "2"},
    {"0 ? 2 : 0 ? 4 : 5", "5", "5"},
    {"1 ? 0 ? 2 : 3 : 4", "3", "3"},
    {"0 ? 1 : 2 + 3", "5", "5"},
    {"(1 ? 10 : 20) + 1", "11", "11"},
    {"1 + (0 ? 10 : 20)", "21", "21"},
    {"100 - (1 ? 1 : 2) * 3", "97", "97"},
};
INSTANTIATE_TEST_SUITE_P(Logic, FormulaVector, ::testing::ValuesIn(kLogic));

constexpr Row kFunctions[] = {
    {"ROUND(10.99,1)", "11", "11"},
    {"ROUND(1.25, 1)", "1", "1.3"},
    {"ROUND(-20.9)", "-21", "-21"},
    {"ROUND(2.5)", "3", "3"},
    {"ROUND(-2.5)", "-3", "-3"},
    {"ROUND(1234, -2)", "1200", "1200"},
    {"ROUND(7, 3)", "7", "7"},
    {"ROUND(1.5, 400)", "1", "1.5"},
    {"ROUND(1.5, -400)", "0", "0"},
    {"TRUNC(-11.9)", "-11", "-11"},
    {"FLOOR(-11.9)", "-12", "-12"},
    {"CEIL(-11.9)", "-11", "-11"},
    {"TRUNC(5) / 2", "2", "2.5"},
    {"SGN(-2)", "-1", "-1"},
    {"SGN(0)", "0", "0"},
    {"SGN(0.5)", "1", "1"},
    {"NEG(-1)", "1", "1"},
    {"ABS(-10000000000)", "10000000000", "10000000000"},
    {"ABS(-1.5)", "1", "1.5"},
    {"LG(1000)", "3", "3"},
    {"LN(E)", "1", "1"},
    {"LN(E())", "1", "1"},
    {"COS(PI)", "-1", "-1"},
    {"SIN(-PI/2)", "-1", "-1"},
    {"TAN(0)", "0", "0"},
    {"ASIN(1) * 2 - PI()", "0", "0"},
    {"ACOS(1)", "0", "0"},
    {"ATAN(0)", "0", "0"},
    {"SQRT(16)", "4", "4"},
    {"EXP(0)", "1", "1"},
    {"sqrt(16) + Abs(-1)", "5", "5"},
    {" \t\r\n 1 \n+\n 2 \n", "3", "3"},
};
INSTANTIATE_TEST_SUITE_P(Functions, FormulaVector, ::testing::ValuesIn(kFunctions));

constexpr Row kFaults[] = {
    {"1/0", "division by zero", "division by zero"},
    {"1%0", "division by zero", "division by zero"},
    {"1/0.0", "division by zero", "division by zero"},
    {"1%0.0", "division by zero", "division by zero"},
    {"LN(0)", "the formula's result is not a finite number", "the formula's result is not a finite number"},
    {"SQRT(-1)", "the formula's result is not a finite number", "the formula's result is not a finite number"},
    {"1e308 * 10", "the formula's result is not a finite number", "the formula's result is not a finite number"},
    {"1e30", "a number of the formula is outside the 64-bit integer range", "1e+30"},
    {"1e30 & 1", "a number of the formula is outside the 64-bit integer range",
     "a number of the formula is outside the 64-bit integer range"},
    {"~1e30", "a number of the formula is outside the 64-bit integer range",
     "a number of the formula is outside the 64-bit integer range"},
    {"1 << 1e30", "a number of the formula is outside the 64-bit integer range",
     "a number of the formula is outside the 64-bit integer range"},
    {"ROUND(1.5, SQRT(-1))", "a number of the formula is outside the 64-bit integer range",
     "a number of the formula is outside the 64-bit integer range"},
};
INSTANTIATE_TEST_SUITE_P(Faults, FormulaVector, ::testing::ValuesIn(kFaults));

} // namespace
} // namespace genapi::testkit
