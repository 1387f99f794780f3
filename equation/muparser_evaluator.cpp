// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/muparser_evaluator.h"

#include <muParserBase.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>
#include <string>

#include "text/characters.h"
#include "text/numbers.h"

namespace vantoscope {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool IsSign(char c) { return c == '+' || c == '-'; }
bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool OpensName(char c) { return IsLetter(c) || c == '_'; }

const char* SkipDigits(const char* at) {
  while (IsDigit(*at)) ++at;
  return at;
}

/// End of the number at the front of a text that ends in NUL; `text` itself if there is none.
///   number   = digits [ "." [ digits ] ] [ exponent ] | "." digits [ exponent ] | "."
///   exponent = ( "e" | "E" ) [ sign ] digits
const char* NumberEnd(const char* text) {
  const char* at = SkipDigits(text);
  if (*at == '.') at = SkipDigits(at + 1);
  if (at - text < 2 && !IsDigit(*text)) return at;  // nothing, or a lone point
  if (*at != 'e' && *at != 'E') return at;
  const char* exponent = at + 1;
  if (IsSign(*exponent)) ++exponent;
  return IsDigit(*exponent) ? SkipDigits(exponent) : at;
}

double NumberValue(const char* begin, const char* end) {
  double value = 0;  // stays for a lone point
  const auto read = std::from_chars(begin, end, value);
  if (read.ec == std::errc::result_out_of_range)
    return OverflowsDouble({begin, end}) ? kInfinity : 0;
  return value;
}

/// muParser's question whether a number stands here.
int ReadNumber(const char* text, int* position, double* value) {
  const char* end = NumberEnd(text);
  if (end == text) return 0;
  *value = NumberValue(text, end);
  *position += static_cast<int>(end - text);
  return 1;
}

/// Every run of signs becomes one sign, by parity: a negative number is written right behind the
/// operator before it, and muParser takes one sign there. Signs inside a number are its own. A
/// name right behind a number is set off, lest `1e--6` be folded into the number `1e+6`.
void FoldSigns(const std::string& text, std::string& folded) {
  folded.clear();
  const char* at = text.c_str();
  const char* const end = at + text.size();
  while (at != end) {
    const char* const start = at;
    if (OpensName(*at)) {
      while (OpensName(*at) || IsDigit(*at)) ++at;
      folded.append(start, at);
    } else if (IsSign(*at)) {
      bool negative = false;
      for (; IsSign(*at) || IsBlank(*at); ++at) negative ^= *at == '-';
      folded += negative ? '-' : '+';
    } else if (at = NumberEnd(start); at != start) {
      folded.append(start, at);
      if (OpensName(*at)) folded += ' ';
    } else {
      folded += *at++;
    }
  }
}

double Sum(const double* values, int count) {
  double sum = 0;
  for (int i = 0; i < count; ++i) sum += values[i];
  return sum;
}

double Average(const double* values, int count) { return Sum(values, count) / count; }

/// A nan among the values is the result.
double Least(const double* values, int count) {
  double least = values[0];
  for (int i = 1; i < count; ++i)
    least = least <= values[i] || std::isnan(least) ? least : values[i];
  return least;
}

double Greatest(const double* values, int count) {
  double greatest = values[0];
  for (int i = 1; i < count; ++i) {
    greatest = greatest >= values[i] || std::isnan(greatest) ? greatest : values[i];
  }
  return greatest;
}

double Sign(double x) { return x > 0 ? 1 : x < 0 ? -1 : x; }

using OneArgument = double (*)(double);
using TwoArguments = double (*)(double, double);
using AnyArguments = double (*)(const double*, int);

template <class Function>
struct Named {
  const char* name;
  Function function;
};

constexpr Named<OneArgument> kOneArgument[] = {
    {"sqrt", [](double x) { return std::sqrt(x); }},
    {"cbrt", [](double x) { return std::cbrt(x); }},
    {"exp", [](double x) { return std::exp(x); }},
    {"ln", [](double x) { return std::log(x); }},
    {"log", [](double x) { return std::log(x); }},
    {"log2", [](double x) { return std::log2(x); }},
    {"log10", [](double x) { return std::log10(x); }},
    {"sin", [](double x) { return std::sin(x); }},
    {"cos", [](double x) { return std::cos(x); }},
    {"tan", [](double x) { return std::tan(x); }},
    {"asin", [](double x) { return std::asin(x); }},
    {"acos", [](double x) { return std::acos(x); }},
    {"atan", [](double x) { return std::atan(x); }},
    {"sinh", [](double x) { return std::sinh(x); }},
    {"cosh", [](double x) { return std::cosh(x); }},
    {"tanh", [](double x) { return std::tanh(x); }},
    {"asinh", [](double x) { return std::asinh(x); }},
    {"acosh", [](double x) { return std::acosh(x); }},
    {"atanh", [](double x) { return std::atanh(x); }},
    {"deg", [](double x) { return x * (180 / std::numbers::pi); }},
    {"rad", [](double x) { return x * (std::numbers::pi / 180); }},
    {"abs", [](double x) { return std::abs(x); }},
    {"sign", Sign},
    {"floor", [](double x) { return std::floor(x); }},
    {"ceil", [](double x) { return std::ceil(x); }},
    {"round", [](double x) { return std::round(x); }},
    {"rint", [](double x) { return std::nearbyint(x); }},
    {"int", [](double x) { return std::trunc(x); }},
};

constexpr Named<TwoArguments> kTwoArguments[] = {
    {"pow", [](double x, double y) { return std::pow(x, y); }},
    {"mod", [](double x, double y) { return std::fmod(x, y); }},
    {"atan2", [](double y, double x) { return std::atan2(y, x); }},
    {"hypot", [](double x, double y) { return std::hypot(x, y); }},
};

constexpr Named<AnyArguments> kAnyArguments[] = {
    {"min", Least},
    {"max", Greatest},
    {"sum", Sum},
    {"avg", Average},
};

constexpr Named<double> kConstants[] = {
    {"pi", std::numbers::pi},
    {"e", std::numbers::e},
    {"inf", kInfinity},
    {"nan", std::numeric_limits<double>::quiet_NaN()},
};

/// Built on the bare base, so that nothing is offered but what stands above: no variables, no
/// assignment, no texts, and no number reader but our own.
class Parser final : public mu::ParserBase {
 public:
  Parser() {
    AddValIdent(ReadNumber);
    EnableOptimizer(false);  // its && and || cut their values to whole numbers: .5||0 would be 0
    InitCharSets();
    InitFun();
    InitConst();
    InitOprt();
  }

 private:
  void InitCharSets() override {
    DefineNameChars("0123456789_abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
    DefineOprtChars("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ+-*^/?<>=#!$%&|~'_{}");
    DefineInfixOprtChars("+-");
  }
  void InitFun() override {
    for (const auto& [name, function] : kOneArgument) DefineFun(name, function);
    for (const auto& [name, function] : kTwoArguments) DefineFun(name, function);
    for (const auto& [name, function] : kAnyArguments) DefineFun(name, function);
  }
  void InitConst() override {
    for (const auto& [name, value] : kConstants) DefineConst(name, value);
  }
  void InitOprt() override {
    DefineInfixOprt("-", [](double x) { return -x; });
    DefineInfixOprt("+", [](double x) { return x; });
  }
};

class MuParserEvaluator : public Evaluator {
 public:
  double Evaluate(std::string_view text) override {
    if (std::all_of(text.begin(), text.end(), IsBlank)) {
      return std::numeric_limits<double>::quiet_NaN();
    }
    if (text.find('\0') != std::string_view::npos) {
      throw EvaluationError("A zero byte stands in the expression");
    }
    text_.assign(text);
    FoldSigns(text_, folded_);
    if (folded_.size() >= static_cast<std::size_t>(mu::MaxLenExpression)) {
      throw EvaluationError("The expression has " + std::to_string(mu::MaxLenExpression) +
                            " characters or more");
    }
    return OneValue();
  }

 private:
  double OneValue() {
    try {
      parser_.SetExpr(folded_);
      int values = 0;
      const double* const results = parser_.Eval(values);
      if (values != 1) throw EvaluationError("The expression gives more than one value");
      return results[0];
    } catch (const mu::ParserError& error) {
      // muParser's answer to a sign with nothing behind it.
      if (error.GetCode() == mu::ecINTERNAL_ERROR) throw EvaluationError("A value is missing");
      throw EvaluationError(error.GetMsg());
    }
  }

  Parser parser_;
  std::string text_;
  std::string folded_;
};

}  // namespace

std::unique_ptr<Evaluator> CreateMuParserEvaluator() {
  return std::make_unique<MuParserEvaluator>();
}

}  // namespace vantoscope
