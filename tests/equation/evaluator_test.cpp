// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>

#include "equation/muparser_evaluator.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope::test {

constexpr double kInf = INFINITY;

std::string Times(int n, const std::string& text) {
  std::string result;
  for (int i = 0; i < n; ++i) result += text;
  return result;
}

const std::pair<const char*, double> kShort[] = {
    {"12.", 12},
    {".5", .5},
    {"-.25", -.25},
    {"1e-6", 1e-6},
    {"2.E+3", 2e3},
    {".5e1", 5},
    {"1e400", kInf},
    {"-inf", -kInf},
    {"1/0", kInf},
    {"-1./.", -kInf},
    {"ln(0)", -kInf},
    {"2.--3.", 5},
    {"2+-\t-3", 5},
    {"2.*--3.", 6},
    {"-+-+-3", -3},
    {"2^--1", 2},
    {"(--1)", 1},
    {"2 - - - 3", -1},
    {"-3.^2", -9},
    {"(-3.)^2", 9},
    {"2--3^2", 11},
    {"2^3^2", 512},
    {"2^-3*4", .5},
    {"2/-4*3", -1.5},
    {"8-4-2", 2},
    {".5?1:2", 1},
    {".5&&.25", 1},
    {".5||0", 1},
    {"2>1 ? 4 : 5", 4},
    {"0?1:0?2:3", 3},
    {"nan", NAN},
    {"0/0", NAN},
    {"sqrt(-1)", NAN},
    {"mod(1,0)", NAN},
    {"min(1,nan)", NAN},
    {"max(nan,1)", NAN},
    {"\t", NAN},
    {"hypot(3,4)", 5},
    {"mod(-7,3)", -1},
    {"ceil(-1.5)", -1},
    {"floor(-1.5)", -2},
    {"int(-1.9)", -1},
    {"cbrt(27)", 3},
    {"log10(1e3)", 3},
    {"log2(8)", 3},
    {"round(2.5)", 3},
    {"rint(2.5)", 2},
    {"max(3,-1,4)", 4},
    {"min(3,-1,4)", -1},
    {"abs(-2)", 2},
    {"sign(-5)", -1},
    {"sum(1,2,4)", 7},
    {"avg(1,2,6)", 3},
    {"pow(2,10)", 1024},
    {"sin(pi/6)", .5},
    {"tan(pi/4)", 1},
    {"ln(exp(2))", 2},
    {"log(e^2)", 2},
    {"2*acos(0)/pi", 1},
    {"e^asinh(.75)", 2},
    {"e^acosh(1.25)", 2},
    {"e^atanh(.6)", 2},
    {"sinh(ln(2))", .75},
    {"4*cosh(ln(2))", 5},
    {"tanh(ln(2))", .6},
    {"deg(asin(1))", 90},
    {"cos(rad(60))", .5},
    {"4*atan(1)/pi", 1},
    {"sqrt(1.44)", 1.2},
    // What people paste and type: signs of a typesetter, names in capitals, a blank before a
    // bracket.
    {"\u22121", -1},
    {"5\u00D7\u22122", -10},
    {"4\u00B72", 8},
    {"\u00A01\u00A0+\u00A01", 2},
    {"1e\u22123", 1e-3},
    {"2\u2212\u22123", 5},
    {"\u00A0", NAN},
    {"SIN(PI/6)", .5},
    {"Max (1,\t3)", 3},
    {"1.E1-E", 10 - 2.718281828459045},
    {"sqrt \u00A0(4)", 2},
    {"Log10(100)", 2}};

// Signs behind a name that ends in e must not make an exponent.
std::vector<std::pair<std::string, double>> Long() {
  return {{"." + Times(399, "0") + "1", 0},
          {".", 0},
          {"-.", 0},
          {"", NAN},
          {"-1e-99999999999", 0},
          {Times(400, "0") + "7.", 7},
          {"." + Times(15, "0") + "1", 1e-16},
          {"1" + Times(308, "0") + ".", 1e308},
          {"1" + Times(399, "0") + ".", kInf},
          {"1e99999999999", kInf},
          {".001e+400", kInf},
          {Times(100001, "-") + "1", -1},
          {"max(--1,-- -2)+e--1", 4.718281828459045},
          {"1+2*3<8&&0||2==2", 1},
          {"deg(atan2(1,-1))", 135},
          {Times(9000, "(") + "4" + Times(9000, ")"), 4},
          {Times(3000, "-(") + "4" + Times(3000, ")"), 4},
          {Times(2000, "1?") + "7" + Times(2000, ":0"), 7},
          {Times(3000, "1+") + "1", 3001}};
}

/// Garbage, and texts that give more or less than one value.
constexpr const char* kErrors[] = {
    "1e--6",    "1e-",  "2e",  "1,5",    "(1,5)",    "1.52.5",  "1..5", "1.5FREQ",
    "1.5)",     "(1.5", "1 2", "2pi",    "0x10",     "1;",      "2%",   "#0",
    "1+",       "-",    "()",  "sin",    "sin(1,2)", "max(1,)", "a=3",  "pi=3",
    "\"text\"", "2(3)", "1?2", "pi (2)", "1\u20132"};

struct Refused {
  const char* before;  // the text up to where it is wrong
  const char* wrong;
  const char* behind;
  const char* reason;
};
constexpr Refused kRefused[] = {
    {"1", ",", "5", "decimals stand behind a point, not a comma"},
    {"max(1,2)+(1", ",", "pi)", "a comma stands between the values of a function only"},
    {"1+", "sin(1,5)", "*2", "too many values for sin(x); decimals stand behind a point"},
    {"(", "max()", ")", "too few values for max(a, b, ...)"},
    {"2*", "sine", "(1)", "the name sine is unknown"},
    {"1.5", "FREQ", "", "the name FREQ is unknown"},
    {"", "Sin", " 1", "sin needs its brackets: sin(x)"},
    {"1.5 ", "2.5", "", "an operator is missing before 2.5"},
    {"(1)", "(", "2)", "an operator is missing before ("},
    {"sin(1)+", "(", "1+(2)", "this bracket is never closed"},
    {"(1+2)", ")", "", "this bracket was never opened"},
    {"max(1,", ")", "", "a value is missing before )"},
    {"1+", "*", "2", "a value is missing before *"},
    {"2 --- ", "\u00D7", "2", "a value is missing before *"},
    {"1-", "", "", "a value is missing at the end"},
    {"pi", "=", "3", "values are compared by =="},
    {"1", "?", "2", "behind ? go two values with a colon between them"},
    {"1?2:3", ":", "4", "this colon has no ? before it"},
    {"2", "%", "", "% has no meaning in an equation"},
    {"\u00A02\u2212", "\u20AC", "3", "\u20AC has no meaning in an equation"},
    {"1+", "\"", "x\"", "a text in quotation marks is no value"}};

TEST(EvaluatorTest, SaysWhatIsWrongAndWhere) {
  const auto evaluator = CreateMuParserEvaluator();
  for (const auto& [before, wrong, behind, reason] : kRefused) {
    const std::string text = std::string(before) + wrong + behind;
    try {
      ADD_FAILURE() << text << " is " << evaluator->Evaluate(text);
    } catch (const EvaluationError& error) {
      EXPECT_STREQ(error.what(), reason) << text;
      EXPECT_EQ(text.substr(error.begin, error.end - error.begin), wrong) << text;
      EXPECT_EQ(error.begin, std::string(before).size()) << text;
    }
  }
}

// A C library that reads numbers with a comma changes nothing.
TEST(EvaluatorTest, GivesTheValueOrAnErrorInEveryLocale) {
  const ScratchFolder locales;
  const std::string make = "localedef -i de_DE -f UTF-8 " + locales / "de_DE.UTF-8";
  ASSERT_EQ(std::system(make.c_str()), 0);
  setenv("LOCPATH", locales.Path().c_str(), 1);
  for (const char* locale : {"C", "de_DE.UTF-8"}) {
    ASSERT_TRUE(std::setlocale(LC_ALL, locale));
    const auto evaluator = CreateMuParserEvaluator();
    const auto expect = [&](const std::string& text, double value) {
      EXPECT_THAT(evaluator->Evaluate(text), testing::NanSensitiveDoubleEq(value))
          << text.substr(0, 60);
    };
    for (const auto& [text, value] : kShort) expect(text, value);
    for (const auto& [text, value] : Long()) expect(text, value);
    const auto refuse = [&](const std::string& text) {
      EXPECT_THROW(evaluator->Evaluate(text), EvaluationError) << text.substr(0, 60);
      ASSERT_EQ(evaluator->Evaluate("1.5*2"), 3);  // each call is complete in itself
    };
    for (const char* text : kErrors) refuse(text);
    for (const char* part : {"(", "9", "1+", "x"}) refuse(Times(1000000, part) + "1");
    for (const auto& text : {Times(3000, "(") + "1", {"1\0+1", 4}, {"1\0", 2}}) refuse(text);
  }
  std::setlocale(LC_ALL, "C");
}

}  // namespace vantoscope::test
