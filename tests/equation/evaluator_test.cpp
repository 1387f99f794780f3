#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale>
#include <string>
#include <vector>

#include "platform/muparser_evaluator.h"

namespace vantoscope {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::string Times(int n, const std::string& text) {
  std::string result;
  for (int i = 0; i < n; ++i) result += text;
  return result;
}

struct Row {
  std::string text;
  double value;
};

const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
      // Every form of a value text.
      {"12.", 12},
      {".5", 0.5},
      {"-.25", -0.25},
      {".", 0},
      {"-.", 0},
      {".+.", 0},
      {"(1.5-1.25)*1000.", 250},
      {"." + std::string(16, '0').replace(15, 1, "1"), 1e-16},
      {"1" + std::string(308, '0') + ".", 1e308},
      {"1" + std::string(399, '0') + ".", kInf},
      {"-1" + std::string(399, '0') + ".", -kInf},
      {"." + std::string(399, '0') + "1", 0},
      {std::string(400, '0') + "7.", 7},
      {"nan", kNan},
      {"-inf", -kInf},
      // Numbers that users type.
      {"1e-6", 1e-6},
      {"2.E+3", 2000},
      {".5e1", 5},
      {"1e400", kInf},
      {"1e-400", 0},
      {"1e99999999999", kInf},
      {"-1e-99999999999", 0},
      {".001e+400", kInf},
      {"1000e-400", 0},
      // Runs of signs.
      {"2.--3.", 5},
      {"2.*--3.", 6},
      {"2.*-3.", -6},
      {"--3.", 3},
      {"-+-+-3", -3},
      {"2 - - - 3", -1},
      {"2+-\t-3", 5},
      {"2^--1", 2},
      {"(--1)", 1},
      {"max(--1,-- -2)", 1},
      {Times(100001, "-") + "1", -1},
      // A name that ends in e, then signs: the signs must not make an exponent.
      {"e--1", 3.718281828459045},
      // Precedence.
      {"-3.^2", -9},
      {"(-3.)^2", 9},
      {"2--3^2", 11},
      {"2^3^2", 512},
      {"2^-3*4", 0.5},
      {"2/-4*3", -1.5},
      {"8-4-2", 2},
      {"1+2*3<8&&0||2==2", 1},
      {"2>1 ? 10 : 20", 10},
      {".5&&.25", 1},
      {".5||0", 1},
      {".5?1:2", 1},
      {"0?1:0?2:3", 3},
      // IEEE arithmetic: a channel at zero stops no meter.
      {"1/0", kInf},
      {"-1./.", -kInf},
      {"0/0", kNan},
      {"sqrt(-1)", kNan},
      {"ln(0)", -kInf},
      {"mod(1,0)", kNan},
      // Empty.
      {"", kNan},
      {" \t ", kNan},
      // Constants and functions; values from tables.
      {"pi", 3.141592653589793},
      {"e", 2.718281828459045},
      {"ln(10)", 2.302585092994046},
      {"log(10)", 2.302585092994046},
      {"log10(1000)", 3},
      {"log2(8)", 3},
      {"exp(1)", 2.718281828459045},
      {"cbrt(27)", 3},
      {"sin(pi/6)", 0.5},
      {"cos(rad(60))", 0.5},
      {"tan(pi/4)", 1},
      {"deg(asin(1))", 90},
      {"acos(0)", 1.5707963267948966},
      {"deg(atan(-1))", -45},
      {"deg(atan2(1,-1))", 135},
      {"hypot(3,4)", 5},
      {"sinh(asinh(2))+cosh(acosh(2))+tanh(atanh(.5))", 4.5},
      {"pow(2,10)", 1024},
      {"mod(-7,3)", -1},
      {"abs(-2)+sign(-5)", 1},
      {"floor(-1.5)", -2},
      {"ceil(-1.5)", -1},
      {"round(2.5)", 3},
      {"rint(2.5)", 2},
      {"int(-1.9)", -1},
      {"min(3,-1,2)", -1},
      {"max(3,-1,2)", 3},
      {"sum(1,2,3,4)", 10},
      {"avg(1,2,3,4)", 2.5},
      {"min(1,nan)", kNan},
      {"max(nan,1)", kNan},
      // Depth and length.
      {Times(9000, "(") + "1" + Times(9000, ")"), 1},
      {Times(3000, "-(") + "1" + Times(3000, ")"), 1},
      {Times(2000, "sin(") + "0" + Times(2000, ")"), 0},
      {Times(2000, "1?") + "7" + Times(2000, ":0"), 7},
      {Times(2000, "0?1:") + "7", 7},
      {Times(3000, "1^") + "2", 1},
      {Times(3000, "1+") + "1", 3001},
      {"sum(0" + Times(3000, ",1") + ")", 3000},
  };
  return rows;
}

/// Garbage, and texts that give more or less than one value. The last one has a minus from a
/// typesetter.
constexpr const char* kErrors[] = {
    "1e--6",    "1e-",     "2e",   "1,5",  "(1,5)",    "1.52.5", "1..5", "1.5FREQ", "1.5)", "(1.5",
    "1 2",      "2pi",     "0x10", "1;",   "2%",       "#0",     "1+",   "-",       "()",   "sin",
    "sin(1,2)", "max(1,)", "a=3",  "pi=3", "\"text\"", "2(3)",   "1?2",  "\u22121"};

std::vector<std::string> Errors() {
  std::vector<std::string> errors(std::begin(kErrors), std::end(kErrors));
  for (const auto& [n, text] : {std::pair(3000, "("),
                                {1000000, "("},
                                {3000, "1,"},
                                {1000000, "9"},
                                {500000, "1+"},
                                {1000000, "x"}}) {
    errors.push_back(Times(n, text) + "1");
  }
  errors.push_back(std::string("1\0+1", 4));
  errors.push_back(std::string("1\0", 2));
  return errors;
}

/// The same for streams. (A named std::locale would leak a search path inside glibc.)
class CommaNumbers : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
};

class EvaluatorTest : public testing::TestWithParam<const char*> {
 protected:
  EvaluatorTest() {
    setenv("LOCPATH", COMMA_LOCALES, 1);
    std::setlocale(LC_ALL, GetParam());
    if (GetParam() != std::string("C")) {
      std::locale::global(std::locale(std::locale::classic(), new CommaNumbers));
    }
  }
  ~EvaluatorTest() override {
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
  }
};

TEST_P(EvaluatorTest, GivesTheValueOrAnError) {
  ASSERT_STREQ(std::localeconv()->decimal_point, GetParam() == std::string("C") ? "." : ",");
  const auto evaluator = CreateMuParserEvaluator();
  const auto name = [](const std::string& text) {
    return text.substr(0, 60) + " (" + std::to_string(text.size()) + ")";
  };
  for (const auto& [text, value] : Rows()) {
    SCOPED_TRACE(name(text));
    const double result = evaluator->Evaluate(text);
    if (std::isnan(value)) {
      EXPECT_TRUE(std::isnan(result)) << result;
    } else {
      EXPECT_DOUBLE_EQ(result, value);
    }
  }
  for (const std::string& text : Errors()) {
    SCOPED_TRACE(name(text));
    EXPECT_THROW(evaluator->Evaluate(text), EvaluationError);
    ASSERT_EQ(evaluator->Evaluate("1.5*2"), 3);  // each call is complete in itself
  }
}

INSTANTIATE_TEST_SUITE_P(Locales, EvaluatorTest, testing::Values("C", "de_DE.UTF-8"),
                         [](const auto& param) {
                           return std::string(param.index == 0 ? "Point" : "Comma");
                         });

}  // namespace
}  // namespace vantoscope
