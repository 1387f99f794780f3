// SPDX-License-Identifier: GPL-3.0-or-later
// The functions and constants that an equation can call by name: what they are called, what they
// take and what they give.
#pragma once

#include <span>
#include <string_view>
#include <variant>

namespace vantoscope {

using OneArgument = double (*)(double);
using TwoArguments = double (*)(double, double);
/// One argument or more.
using AnyArguments = double (*)(const double* values, int count);

struct Function {
  std::string_view name;       ///< small letters and digits
  std::string_view arguments;  ///< with their brackets: "(y, x)"
  std::string_view meaning;    ///< a few words
  std::variant<OneArgument, TwoArguments, AnyArguments> call;
};

struct Constant {
  std::string_view name;
  std::string_view meaning;
  double value;
};

std::span<const Function> Functions();
std::span<const Constant> Constants();

/// The function of exactly that name; nullptr if there is none.
const Function* FindFunction(std::string_view name);
/// Whether a function or a constant has exactly that name.
bool IsKnownName(std::string_view name);

}  // namespace vantoscope
