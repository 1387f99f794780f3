// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_quotes.h"

#include <algorithm>
#include <utility>

namespace vantoscope {
namespace {

constexpr std::size_t kMostLines = 20;
constexpr std::size_t kMostBytes = 8192;
constexpr std::size_t kPiece = 16384;  // what is copied at most for a stray quote

}  // namespace

void QuoteGuard::Feed(std::string_view bytes) {
  for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), kPiece))) {
    FeedPiece(bytes.substr(0, kPiece));
  }
}

void QuoteGuard::FeedPiece(std::string_view bytes) {
  std::string again;  // what is read a second time, behind a stray quote
  std::string rest;
  while (!bytes.empty()) {
    if (in_stray_line_) {
      const std::size_t end = std::min(bytes.find('\n'), bytes.size() - 1) + 1;
      std::string line(bytes.substr(0, end));
      in_stray_line_ = !line.ends_with('\n');
      std::ranges::replace(line, '"', '\'');
      take_(line);
      bytes.remove_prefix(end);
      if (!in_stray_line_) state_ = State::kFieldStart;
    } else if (state_ == State::kQuoted || state_ == State::kQuoteInQuoted) {
      if (TakeQuoted(bytes)) continue;
      rest = GiveUpLine();
      again = std::move(rest.append(bytes));
      bytes = again;
    } else {
      const std::size_t quote = std::min(bytes.find('"'), bytes.size());
      const std::size_t end = std::min(quote + 1, bytes.size());
      state_ = StateAfter(bytes.substr(0, quote));
      const bool opens = quote < bytes.size() && state_ == State::kFieldStart;
      if (quote > 0 || !opens) take_(bytes.substr(0, opens ? quote : end));
      if (opens) quoted_ = "\"";
      if (quote < bytes.size()) state_ = opens ? State::kQuoted : State::kField;
      bytes.remove_prefix(end);
    }
  }
}

void QuoteGuard::Finish() {
  while (!quoted_.empty() && lines_ > 0 && state_ == State::kQuoted) Feed(GiveUpLine());
  take_(std::exchange(quoted_, {}));
  state_ = State::kFieldStart;
  lines_ = 0;
  in_stray_line_ = false;
}

void QuoteGuard::Restart() {
  state_ = State::kFieldStart;
  quoted_.clear();
  lines_ = 0;
  in_stray_line_ = false;
}

bool QuoteGuard::EndsField(char c) const {
  return c == separator_ || c == '\n' || c == '\r' || (separator_ == ' ' && c == '\t');
}

QuoteGuard::State QuoteGuard::StateAfter(std::string_view unquoted) const {
  for (auto c = unquoted.rbegin(); c != unquoted.rend(); ++c) {
    if (EndsField(*c)) return State::kFieldStart;
    if (*c != ' ' && *c != '\t') return State::kField;
  }
  return state_;
}

bool QuoteGuard::TakeQuoted(std::string_view& bytes) {
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char c = bytes[i];
    if (state_ == State::kQuoteInQuoted && EndsField(c)) {
      take_(quoted_ += bytes.substr(0, i));
      quoted_.clear();
      lines_ = 0;
      bytes.remove_prefix(i);
      state_ = State::kField;
      return true;
    }
    if (state_ == State::kQuoteInQuoted && c != '"' && c != ' ' && c != '\t') {
      if (lines_ > 0) return false;
      state_ = State::kQuoted;
    } else if (c == '"') {
      state_ = state_ == State::kQuoted ? State::kQuoteInQuoted : State::kQuoted;
    }
    if (c == '\n' && state_ == State::kQuoted) ++lines_;
    if (lines_ > kMostLines || quoted_.size() + i > kMostBytes) return false;
  }
  quoted_ += bytes;
  bytes = {};
  return true;
}

std::string QuoteGuard::GiveUpLine() {
  std::string text = std::exchange(quoted_, {});
  lines_ = 0;
  in_stray_line_ = true;
  state_ = State::kField;
  return text;
}

}  // namespace vantoscope
