// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/tokens.h"

#include <utility>

#include "equation/text_replacement.h"
#include "equation/traced_text.h"
#include "text/characters.h"
#include "text/picture.h"

namespace vantoscope {
namespace {

bool IsTokenCharacter(char c) { return IsDigit(c) || IsLetter(c) || c == '@'; }

/// Whether a `#` reaches the next one over nothing but characters of tokens, as in `#1#15`. The
/// number that replaces the second token may then lengthen the first to one that the text does
/// not hold: `#12.5` reads as index 12.
bool TokensTouch(std::string_view text) {
  bool open = false;
  for (const char c : text) {
    if (c == '#' && open) return true;
    open = c == '#' || (open && IsTokenCharacter(c));
  }
  return false;
}

}  // namespace

std::string SampleToken(int channel) { return std::string("#").append(std::to_string(channel)); }

std::string HistoryPrefix(int depth) { return {'#', static_cast<char>('@' + depth)}; }

TokenGatherer::TokenGatherer(std::string_view text,
                             const std::array<std::string, 6>& statistic_names)
    : text_(text), statistic_names_(statistic_names), any_can_form_(TokensTouch(text)) {}

void TokenGatherer::AddSample(std::int16_t channel) {
  Add({.text = SampleToken(channel), .kind = EquationToken::Kind::Sample, .channel = channel});
}

void TokenGatherer::AddStatistics(std::int16_t channel) {
  for (std::int16_t s = 0; const std::string& name : statistic_names_) {
    Add({.text = "#" + name + std::to_string(channel),
         .kind = EquationToken::Kind::Statistic,
         .channel = channel,
         .statistic = s++});
  }
}

void TokenGatherer::AddHistory(std::int16_t channel, std::int16_t deepest) {
  for (std::int16_t depth = deepest; depth >= 0; --depth) {
    Add({.text = HistoryPrefix(depth) + std::to_string(channel),
         .kind = EquationToken::Kind::History,
         .channel = channel,
         .depth = depth});
  }
}

void TokenGatherer::AddRate() { Add({.text = "#@", .kind = EquationToken::Kind::Rate}); }

void TokenGatherer::Add(EquationToken token) {
  if (any_can_form_ || text_.find(token.text) != std::string_view::npos) {
    tokens_.push_back(std::move(token));
  }
}

std::string ValueText(double value, std::string_view picture) {
  return FormatPicture(value, picture, ".");
}

namespace {

const std::string& Plain(const std::string& text) { return text; }
const std::string& Plain(const TracedText& text) { return text.Text(); }

}  // namespace

template <class Text>
Text Substitute(Text text, const std::vector<EquationToken>& tokens, std::string_view picture,
                const std::function<double(const EquationToken&)>& value_of) {
  for (const EquationToken& token : tokens) {
    if (Plain(text).find(token.text) == std::string::npos) continue;
    ReplaceAll(text, token.text, ValueText(value_of(token), picture));
  }
  return text;
}

using ValueOf = std::function<double(const EquationToken&)>;
template std::string Substitute(std::string, const std::vector<EquationToken>&, std::string_view,
                                const ValueOf&);
template TracedText Substitute(TracedText, const std::vector<EquationToken>&, std::string_view,
                               const ValueOf&);

}  // namespace vantoscope
