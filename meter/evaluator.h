// SPDX-License-Identifier: GPL-3.0-or-later
// The evaluator of equation texts as the meter sees it: text in, number out. What a text may hold
// stands in equation/muparser_evaluator.h.
#pragma once

#include <stdexcept>
#include <string_view>

namespace vantoscope {

/// The text is no expression. The text of the error says why.
struct EvaluationError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Abstract so that tests can see the exact text that reaches it.
class Evaluator {
 public:
  Evaluator() = default;
  Evaluator(const Evaluator&) = delete;
  Evaluator& operator=(const Evaluator&) = delete;
  virtual ~Evaluator() = default;

  /// The value of the expression; inf and nan are values. Each call is complete in itself.
  /// Throws EvaluationError.
  virtual double Evaluate(std::string_view text) = 0;
};

}  // namespace vantoscope
