// SPDX-License-Identifier: GPL-3.0-or-later
// The evaluator of equation texts as the meter sees it: text in, number out. What a text may hold
// stands in equation/muparser_evaluator.h.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vantoscope {

/// The text is no expression. The text of the error says why, as the end of a sentence.
struct EvaluationError : std::runtime_error {
  enum class Kind {
    Other,
    UnknownName,  ///< or that of a function without its brackets
    MissingOperator,
  };

  explicit EvaluationError(const std::string& reason) : std::runtime_error(reason) {}
  EvaluationError(Kind what_kind, const std::string& reason, std::size_t from, std::size_t to)
      : std::runtime_error(reason), kind(what_kind), begin(from), end(to) {}

  Kind kind = Kind::Other;
  /// Where in the text, in bytes: what is wrong stands there, or is missing before it. Empty at
  /// the end of the text; the whole text where nothing better is known.
  std::size_t begin = 0;
  std::size_t end = std::string_view::npos;
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
