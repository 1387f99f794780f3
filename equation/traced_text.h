// SPDX-License-Identifier: GPL-3.0-or-later
// A text that is rewritten by replacements and knows of each of its characters which part of the
// text it began as it stands for.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vantoscope {

/// Bytes of a text, from `begin` up to `end`.
struct Span {
  std::size_t begin = 0;
  std::size_t end = 0;

  [[nodiscard]] std::size_t Size() const { return end - begin; }
  bool operator==(const Span&) const = default;
};

class TracedText {
 public:
  TracedText(std::string typed);
  TracedText(const char* typed) : TracedText(std::string(typed)) {}

  /// As it stands now.
  [[nodiscard]] const std::string& Text() const { return text_; }
  /// As it began.
  [[nodiscard]] const std::string& Typed() const { return typed_; }
  [[nodiscard]] std::string_view Typed(Span part) const;
  /// The part of Typed that Text from `begin` up to `end` stands for. An empty one lies behind
  /// the part of the character before it.
  [[nodiscard]] Span Origin(std::size_t begin, std::size_t end) const;

  /// As the function of that name for plain texts. The parts that were replaced.
  std::vector<Span> ReplaceAll(std::string_view from, std::string_view to);

 private:
  std::string typed_;
  std::string text_;
  std::vector<Span> origins_;  ///< of each character of text_
};

inline void ReplaceAll(TracedText& text, std::string_view from, std::string_view to) {
  text.ReplaceAll(from, to);
}

}  // namespace vantoscope
