#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale>
#include <string>
#include <vector>

#include "equation/muparser_evaluator.h"

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
  double value;
  std::vector<std::string> texts;
};

std::vector<Row> Rows() {
  return {
      // Every form of a value text, and numbers that users type.
      {0, {".", "-.", "-1e-99999999999", "." + std::string(399, '0') + "1"}},
      {.5, {".5"}},
      {-.25, {"-.25"}},
      {12, {"12."}},
      {7, {std::string(400, '0') + "7."}},
      {250, {"(1.5-1.25)*1000."}},
      {1e-16, {"." + std::string(15, '0') + "1"}},
      {1e-6, {"1e-6"}},
      {1e308, {"1" + std::string(308, '0') + "."}},
      {2000, {"2.E+3"}},
      {5, {".5e1"}},
      {kInf, {"1" + std::string(399, '0') + ".", "1e400", "1e99999999999", ".001e+400"}},
      {-kInf, {"-1" + std::string(399, '0') + ".", "-inf"}},
      // Runs of signs. Behind a name that ends in e they must not make an exponent.
      {5, {"2.--3.", "2+-\t-3"}},
      {6, {"2.*--3."}},
      {3, {"--3."}},
      {-3, {"-+-+-3"}},
      {2, {"2^--1"}},
      {1, {"(--1)", "max(--1,-- -2)"}},
      {-1, {Times(100001, "-") + "1", "2 - - - 3"}},
      {3.718281828459045, {"e--1"}},
      // Precedence.
      {-9, {"-3.^2"}},
      {9, {"(-3.)^2"}},
      {11, {"2--3^2"}},
      {512, {"2^3^2"}},
      {.5, {"2^-3*4"}},
      {-1.5, {"2/-4*3"}},
      {2, {"8-4-2"}},
      {1, {"1+2*3<8&&0||2==2", ".5?1:2", ".5&&.25", ".5||0"}},
      {10, {"2>1 ? 10 : 20"}},
      {3, {"0?1:0?2:3"}},
      // IEEE arithmetic: a channel at zero stops no meter. Nothing is no number.
      {kInf, {"1/0"}},
      {-kInf, {"-1./.", "ln(0)"}},
      {kNan, {"nan", "0/0", "sqrt(-1)", "mod(1,0)", "min(1,nan)", "max(nan,1)", "", " \t "}},
      // Constants and functions; values from tables.
      {3.141592653589793, {"pi"}},
      {2.718281828459045, {"e", "exp(1)"}},
      {2.302585092994046, {"ln(10)", "log(10)"}},
      {1.5707963267948966, {"acos(0)"}},
      {.5, {"sin(pi/6)", "cos(rad(60))"}},
      {1, {"tan(pi/4)"}},
      {3, {"cbrt(27)", "log10(1000)", "log2(8)", "round(2.5)", "max(3,-1,2)"}},
      {90, {"deg(asin(1))"}},
      {-45, {"deg(atan(-1))"}},
      {135, {"deg(atan2(1,-1))"}},
      {5, {"hypot(3,4)"}},
      {4.5, {"sinh(asinh(2))+cosh(acosh(2))+tanh(atanh(.5))"}},
      {1024, {"pow(2,10)"}},
      {-1, {"mod(-7,3)", "ceil(-1.5)", "int(-1.9)", "min(3,-1,2)"}},
      {-2, {"floor(-1.5)"}},
      {1, {"abs(-2)+sign(-5)"}},
      {2, {"rint(2.5)"}},
      {10, {"sum(1,2,3,4)"}},
      {2.5, {"avg(1,2,3,4)"}},
      // Depth and length.
      {1,
       {Times(9000, "(") + "1" + Times(9000, ")"), Times(3000, "-(") + "1" + Times(3000, ")"),
        Times(3000, "1^") + "2"}},
      {0, {Times(2000, "sin(") + "0" + Times(2000, ")")}},
      {7, {Times(2000, "1?") + "7" + Times(2000, ":0"), Times(2000, "0?1:") + "7"}},
      {3001, {Times(3000, "1+") + "1"}},
      {3000, {"sum(0" + Times(3000, ",1") + ")"}},
  };
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
  for (const auto& [value, texts] : Rows()) {
    for (const std::string& text : texts) {
      SCOPED_TRACE(name(text));
      const double result = evaluator->Evaluate(text);
      EXPECT_EQ(std::isnan(result), std::isnan(value)) << result;
      EXPECT_DOUBLE_EQ(std::isnan(result) ? 0 : result, std::isnan(value) ? 0 : value);
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
