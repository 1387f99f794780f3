// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/functions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace vantoscope {
namespace {

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

constexpr OneArgument One(OneArgument function) { return function; }
constexpr TwoArguments Two(TwoArguments function) { return function; }

// clang-format off
constexpr Function kFunctions[] = {
    {"sqrt", "(x)", "square root", One([](double x) { return std::sqrt(x); })},
    {"cbrt", "(x)", "cube root", One([](double x) { return std::cbrt(x); })},
    {"exp", "(x)", "e to the power of x", One([](double x) { return std::exp(x); })},
    {"ln", "(x)", "natural logarithm", One([](double x) { return std::log(x); })},
    {"log", "(x)", "natural logarithm, as ln", One([](double x) { return std::log(x); })},
    {"log2", "(x)", "logarithm to base 2", One([](double x) { return std::log2(x); })},
    {"log10", "(x)", "logarithm to base 10", One([](double x) { return std::log10(x); })},
    {"sin", "(x)", "sine, x in radians", One([](double x) { return std::sin(x); })},
    {"cos", "(x)", "cosine, x in radians", One([](double x) { return std::cos(x); })},
    {"tan", "(x)", "tangent, x in radians", One([](double x) { return std::tan(x); })},
    {"asin", "(x)", "arc sine, radians", One([](double x) { return std::asin(x); })},
    {"acos", "(x)", "arc cosine, radians", One([](double x) { return std::acos(x); })},
    {"atan", "(x)", "arc tangent, radians", One([](double x) { return std::atan(x); })},
    {"sinh", "(x)", "hyperbolic sine", One([](double x) { return std::sinh(x); })},
    {"cosh", "(x)", "hyperbolic cosine", One([](double x) { return std::cosh(x); })},
    {"tanh", "(x)", "hyperbolic tangent", One([](double x) { return std::tanh(x); })},
    {"asinh", "(x)", "inverse hyperbolic sine", One([](double x) { return std::asinh(x); })},
    {"acosh", "(x)", "inverse hyperbolic cosine", One([](double x) { return std::acosh(x); })},
    {"atanh", "(x)", "inverse hyperbolic tangent", One([](double x) { return std::atanh(x); })},
    {"deg", "(x)", "radians to degrees", One([](double x) { return x * (180 / std::numbers::pi); })},
    {"rad", "(x)", "degrees to radians", One([](double x) { return x * (std::numbers::pi / 180); })},
    {"abs", "(x)", "size without sign", One([](double x) { return std::abs(x); })},
    {"sign", "(x)", "-1, 0 or 1", One(Sign)},
    {"floor", "(x)", "next whole number down", One([](double x) { return std::floor(x); })},
    {"ceil", "(x)", "next whole number up", One([](double x) { return std::ceil(x); })},
    {"round", "(x)", "nearest whole number, halves away from 0", One([](double x) { return std::round(x); })},
    {"rint", "(x)", "nearest whole number, halves to the even one", One([](double x) { return std::nearbyint(x); })},
    {"int", "(x)", "whole number towards 0", One([](double x) { return std::trunc(x); })},
    {"pow", "(x, y)", "x to the power of y", Two([](double x, double y) { return std::pow(x, y); })},
    {"mod", "(x, y)", "what x / y leaves, with the sign of x", Two([](double x, double y) { return std::fmod(x, y); })},
    {"atan2", "(y, x)", "angle of the point x, y, radians", Two([](double y, double x) { return std::atan2(y, x); })},
    {"hypot", "(x, y)", "square root of x² + y²", Two([](double x, double y) { return std::hypot(x, y); })},
    {"min", "(a, b, ...)", "least of its values", AnyArguments{Least}},
    {"max", "(a, b, ...)", "greatest of its values", AnyArguments{Greatest}},
    {"sum", "(a, b, ...)", "sum of its values", AnyArguments{Sum}},
    {"avg", "(a, b, ...)", "mean of its values", AnyArguments{Average}},
};
// clang-format on

constexpr Constant kConstants[] = {
    {"pi", "3.14159...", std::numbers::pi},
    {"e", "2.71828...", std::numbers::e},
    {"inf", "infinity", std::numeric_limits<double>::infinity()},
    {"nan", "no number", std::numeric_limits<double>::quiet_NaN()},
};

}  // namespace

std::span<const Function> Functions() { return kFunctions; }
std::span<const Constant> Constants() { return kConstants; }

const Function* FindFunction(std::string_view name) {
  const auto* const found = std::ranges::find(kFunctions, name, &Function::name);
  return found == std::end(kFunctions) ? nullptr : found;
}

bool IsKnownName(std::string_view name) {
  return FindFunction(name) != nullptr ||
         std::ranges::find(kConstants, name, &Constant::name) != std::end(kConstants);
}

}  // namespace vantoscope
