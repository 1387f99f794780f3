// SPDX-License-Identifier: GPL-3.0-or-later
// Keeps a quote that nobody closes from swallowing the lines behind it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace vantoscope {

/// CSV text in pieces of any size, handed on in the same order. A quoted field may hold line ends,
/// 20 of them and 8 KiB at most, and what follows its last quote must be a separator or a line end;
/// otherwise its first quote is taken for a stray one, and in that one line all quotes become
/// apostrophes.
class QuoteGuard {
 public:
  using Take = std::function<void(std::string_view)>;

  QuoteGuard(char separator, Take take) : separator_(separator), take_(std::move(take)) {}

  void Feed(std::string_view bytes);
  /// There is no more text, or what comes is another one.
  void Finish();
  /// Forgets what came before.
  void Restart();
  /// Nothing is held back, and what comes next is the start of a line, if a line end came last.
  [[nodiscard]] bool AtLineStart() const {
    return state_ == State::kFieldStart && quoted_.empty() && !in_stray_line_;
  }

 private:
  enum class State { kFieldStart, kField, kQuoted, kQuoteInQuoted };

  void FeedPiece(std::string_view bytes);
  [[nodiscard]] State StateAfter(std::string_view unquoted) const;
  [[nodiscard]] bool EndsField(char c) const;
  /// Goes on to the end of the quoted field or of the bytes; false when its quote is stray.
  bool TakeQuoted(std::string_view& bytes);
  /// Hands on the line of the stray quote, and gives the text behind it.
  std::string GiveUpLine();

  char separator_;
  Take take_;
  State state_ = State::kFieldStart;
  std::string quoted_;  // from the first quote on
  std::size_t lines_ = 0;
  bool in_stray_line_ = false;
};

}  // namespace vantoscope
