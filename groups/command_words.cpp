// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/command_words.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>

#include "groups/command_line.h"
#include "text/characters.h"
#include "text/numbers.h"
#include "text/shown_text.h"
#include "text/utf8.h"
#include "text/words.h"

namespace vantoscope {
namespace {

constexpr std::size_t kLongestWord = 200;    // characters, in a sentence
constexpr std::size_t kSentencesInText = 5;  // of a box

constexpr std::string_view kWords = "\"-dDEVICE\", \"-nNAME\" and \"-iINDEX\", in this order";

/// What stands in one place of the command line.
struct Slot {
  char letter;  ///< of its form, as a capital
  std::string_view ordinal;
  std::string_view thing;    ///< as a user calls it, and as a long option of that name
  std::string_view written;  ///< how a sentence begins that shows its form
};
constexpr std::array<Slot, 3> kSlots{{{'D', "first", "device", "a device is named with "},
                                      {'N', "second", "name", "a name is given with "},
                                      {'I', "third", "index", "an index is given with "}}};

std::string QuotedWord(std::string_view word) { return '"' + ShownWord(word) + '"'; }

std::string Form(const Slot& slot, std::string_view value) {
  return QuotedWord(std::string{'-', Lower(slot.letter)} + std::string(value));
}

const Slot* SlotOfForm(std::string_view word) {
  const auto* found = std::ranges::find_if(
      kSlots, [&](const Slot& slot) { return ValueBehind(slot.letter, word).has_value(); });
  return found == kSlots.end() ? nullptr : found;
}

/// The slot that "--device" or "--device=x" means, and so on.
const Slot* SlotOfLongOption(std::string_view word) {
  if (!word.starts_with("--")) return nullptr;
  const std::string_view option = word.substr(2, word.find('=') - 2);
  const auto* found = std::ranges::find_if(
      kSlots, [&](const Slot& slot) { return SameIgnoringCase(slot.thing, option); });
  return found == kSlots.end() ? nullptr : found;
}

/// The slot whose value the user wrote as a word of its own behind `word`.
const Slot* SlotWithoutValue(std::string_view word) {
  if (word.find('=') != std::string_view::npos) return nullptr;
  if (const Slot* slot = SlotOfLongOption(word)) return slot;
  return word.size() == 2 ? SlotOfForm(word) : nullptr;
}

/// What would be right where a user asks for help or the version as with other programs.
std::string_view OnlyWordAdvice(std::string_view word) {
  for (const auto* help : {"-h", "-?", "-help", "--help", "/?"}) {
    if (word == help) return "\"--help\" as the only word shows the help";
  }
  for (const auto* version : {"-v", "-V", "-version", "--version"}) {
    if (word == version) return "\"--version\" as the only word shows the version";
  }
  return {};
}

std::string LongOptionAdvice(const Slot& slot, std::string_view word, std::string_view next) {
  const std::size_t equals = word.find('=');
  if (equals != std::string_view::npos) next = word.substr(equals + 1);
  std::string stand_in(slot.thing);
  std::ranges::transform(stand_in, stand_in.begin(), Upper);
  const bool has_value = !next.empty() && !next.starts_with('-');
  return std::string(slot.written) + Form(slot, has_value ? next : stand_in);
}

/// How the blank before a word is written where the word looks like the rest of a value; else
/// empty.
std::string_view BlankBefore(const std::vector<std::string_view>& words, std::size_t at) {
  const auto stands_behind = [&](std::size_t place) {
    return at == place + 1 && ValueBehind(kSlots[place].letter, words[place]);
  };
  if (stands_behind(0) && words[at].find_first_of("./") != std::string_view::npos) return "%20";
  if (stands_behind(1) && !WholeNumberFromText(words[at])) return "_";
  return {};
}

/// What would be right instead of a word without effect; the end of a sentence.
std::string Advice(const std::vector<std::string_view>& words, std::size_t at) {
  const std::string_view word = words[at];
  const std::string_view before = at > 0 ? words[at - 1] : "";
  const std::string_view next = at + 1 < words.size() ? words[at + 1] : "";
  if (word.empty()) return "a single space parts two words";
  if (const std::string_view only = OnlyWordAdvice(word); !only.empty()) return std::string(only);
  if (const Slot* slot = SlotOfForm(word)) {
    return "the " + std::string(slot->thing) + " is the " + std::string(slot->ordinal) + " word";
  }
  if (const Slot* slot = SlotOfLongOption(word)) return LongOptionAdvice(*slot, word, next);
  if (!word.starts_with('-')) {
    if (const Slot* slot = SlotWithoutValue(before)) {
      return "a value stands directly behind its letter, as in " + Form(*slot, word);
    }
    if (const std::string_view blank = BlankBefore(words, at); !blank.empty()) {
      return "a space is written \"" + std::string(blank) + "\", as in " +
             QuotedWord(std::string(before) + std::string(blank) + std::string(word));
    }
    if (at < kSlots.size()) return std::string(kSlots[at].written) + Form(kSlots[at], word);
  }
  return "the words are " + std::string(kWords);
}

std::string Subject(std::string_view word, std::size_t at) {
  const std::string place = at < kSlots.size() ? std::string(kSlots[at].ordinal) + " word" : "word";
  if (word.empty()) return "The " + place + " is empty and";
  return "The " + place + " " + QuotedWord(word) + (at < kSlots.size() ? "" : " behind the third");
}

/// Empty when the index counts as it was typed, and when it will be refused for what it is.
std::string IndexSentence(std::string_view value) {
  const double number = NumberFromText(value);
  const std::int16_t taken = RoundToInt16(number);
  const bool refused = (taken < 0 && number != -1) || std::abs(number - taken) > 0.5;
  if (refused || WholeNumberFromText(value) == taken) return {};
  return "The index " + Form(kSlots[2], value) + " counts as " + std::to_string(taken) +
         "; an index is a whole number from 0 on, or -1 for every channel.";
}

/// Empty when there is nothing to say.
std::string Sentence(const std::vector<std::string_view>& words, std::size_t at) {
  const auto value = at < kSlots.size() ? ValueBehind(kSlots[at].letter, words[at]) : std::nullopt;
  if (!value) return Subject(words[at], at) + " has no effect; " + Advice(words, at) + ".";
  return at == 2 ? IndexSentence(*value) : "";
}

/// A box would break its lines behind the hyphen of a form; a word joiner prevents that.
std::string WithoutBreaksBehindHyphens(std::string text) {
  constexpr std::string_view kOpening = "\"-";
  constexpr std::string_view kWordJoiner = "\u2060";
  for (std::size_t at = 0; (at = text.find(kOpening, at)) != std::string::npos;) {
    at += kOpening.size();
    text.insert(at, kWordJoiner);
  }
  return text;
}

}  // namespace

WordCheck CheckWords(std::string_view command_line) {
  WordCheck check;
  if (command_line.empty()) return check;
  const std::vector<std::string_view> words = CutAtBlanks(command_line);
  check.names_no_device = !ValueBehind('D', words[0]);
  for (std::size_t at = 0; at < words.size(); ++at) {
    std::string sentence = Sentence(words, at);
    if (!sentence.empty()) check.sentences.push_back(std::move(sentence));
  }
  return check;
}

std::string WithSentences(std::string text, const WordCheck& check) {
  if (!check.sentences.empty()) text += '\n';
  for (std::size_t i = 0; i < std::min(check.sentences.size(), kSentencesInText); ++i) {
    text += "\n" + check.sentences[i];
  }
  if (check.sentences.size() > kSentencesInText) text += "\n...";
  return WithoutBreaksBehindHyphens(text);
}

std::string NoDeviceText(const WordCheck& check) {
  const std::string text =
      "No device was named, so the built-in simulator runs. The reading is no measurement.";
  return WithSentences(text, check) +
         WithoutBreaksBehindHyphens("\n\nThe words of a command line are " + std::string(kWords) +
                                    ".");
}

std::string ShownWord(std::string_view word) {
  std::string text = WithoutCredentials(word);
  std::ranges::replace_if(text, IsControl, '?');
  if (const std::size_t length = BytesOfCharacters(text, kLongestWord); length < text.size()) {
    text.resize(length);
    text += "...";
  }
  return text;
}

}  // namespace vantoscope
