// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/equation_check.h"

#include <algorithm>
#include <utility>

#include "equation/equation_proof.h"
#include "equation/equation_tick.h"
#include "equation/fault_sentences.h"
#include "equation/functions.h"
#include "equation/normaliser.h"
#include "equation/references.h"
#include "reduction/statistics.h"
#include "text/characters.h"
#include "text/utf8.h"

namespace vantoscope {
namespace {

using Severity = EquationFinding::Severity;

MeterRuntime RuntimeCopy(Meter& meter) {
  MeterRuntime copy;
  copy.ChannelIndex = meter.runtime.ChannelIndex;
  copy.DecimalSep = meter.runtime.DecimalSep;
  copy.StatisticNames = meter.runtime.StatisticNames;
  copy.ChannelsPerBank = meter.runtime.ChannelsPerBank;
  copy.DisplayFormat = meter.runtime.DisplayFormat;
  copy.EquationEngine = meter.platform.CreateEvaluator();
  return copy;
}

/// One character at least; the last one where the part is the end of the text.
Span Visible(Span part, std::string_view typed) {
  part.end = std::min(part.end, typed.size());
  part.begin = std::min(part.begin, part.end);
  if (part.Size() == 0 && part.end == typed.size()) {
    while (part.begin > 0 && typed[part.begin - 1] == ' ') --part.begin;
    if (part.begin > 0) --part.begin;
  }
  while (part.begin > 0 && ContinuesCharacter(typed[part.begin])) --part.begin;
  if (part.Size() == 0) part.end = std::min(part.begin + 1, typed.size());
  while (part.end < typed.size() && ContinuesCharacter(typed[part.end])) ++part.end;
  return part;
}

/// Whether the first word is one of the equation, in which small letters count.
bool OpensWithQuote(std::string_view sentence) {
  const std::string_view word = sentence.substr(0, sentence.find(' '));
  return IsKnownName(word) || (word.starts_with("ch") && (word.size() == 2 || IsDigit(word[2])));
}

EquationFinding Finding(Severity severity, Span where, std::string sentence,
                        std::string_view typed) {
  if (!sentence.ends_with('.')) sentence += '.';
  if (!OpensWithQuote(sentence)) sentence[0] = Upper(sentence[0]);
  return {severity, Visible(where, typed), std::move(sentence)};
}

/// What is accepted and means something else than it looks, around one number.
class Surprise {
 public:
  Surprise(Meter& meter, const ChannelLabels& labels, const EquationInNumbers& numbers,
           std::size_t use)
      : meter_(meter),
        labels_(labels),
        use_(numbers.uses[use]),
        typed_(numbers.text.Typed()),
        written_(typed_.substr(use_.where.begin, use_.where.Size())),
        before_(use == 0 ? 0 : numbers.uses[use - 1].where.end) {}

  [[nodiscard]] std::vector<EquationFinding> Warnings() const {
    std::vector<EquationFinding> warnings;
    const auto warn = [&](Span where, const std::string& sentence) {
      if (!sentence.empty()) {
        warnings.push_back(Finding(Severity::Warning, where, sentence, typed_));
      }
    };
    warn({use_.where.begin, use_.where.end + DigitsBehind()}, OtherMeaning());
    warn(use_.where, MissingOperator());
    warn(use_.where, Exponent());
    warn({use_.where.begin, use_.where.end + 1}, Power());
    return warnings;
  }

 private:
  [[nodiscard]] char At(std::size_t at) const { return at < typed_.size() ? typed_[at] : '\0'; }
  [[nodiscard]] std::string Written() const { return std::string(written_); }
  [[nodiscard]] std::size_t DigitsBehind() const {
    std::size_t end = use_.where.end;
    while (IsDigit(At(end))) ++end;
    return end - use_.where.end;
  }

  [[nodiscard]] std::string OtherMeaning() const {
    const std::string digits(typed_.substr(use_.where.end, DigitsBehind()));
    std::string joined = "the " + digits + " behind " + Written() + " joins its number";
    const std::string meaning = labels_.Written(use_.token);
    if (written_ == meaning || written_.starts_with('#')) {
      if (digits.empty()) return "";
      if (!written_.starts_with("CH")) return joined;
    } else if (written_.starts_with("RATE")) {
      return Written() + " is " + meaning + ": write an operator behind RATE";
    } else if (written_.starts_with("ch")) {
      return Written() + " in small letters is place " + std::to_string(use_.token.channel) +
             " of the list, counted from 0: " + meaning;
    }
    const auto reference = ReadReference(typed_.substr(use_.where.begin));
    if (!reference || labels_.Has(reference->label)) return digits.empty() ? "" : joined;
    return "channel " + std::string(reference->label) + " is not in the list (" + labels_.Text() +
           "): this is " + meaning +
           (digits.empty() ? "" : " with a " + digits + " behind its number");
  }

  /// Where the text before this number ends, blanks left out.
  [[nodiscard]] std::size_t EndBefore() const {
    constexpr std::string_view kNoBreakSpace = "\u00A0";
    std::size_t end = use_.where.begin;
    for (;;) {
      if (end > 0 && (typed_[end - 1] == ' ' || typed_[end - 1] == '\t')) {
        --end;
      } else if (typed_.substr(0, end).ends_with(kNoBreakSpace)) {
        end -= kNoBreakSpace.size();
      } else {
        return end;
      }
    }
  }

  /// Whether digits that are a number of their own end at `end`.
  [[nodiscard]] bool WholeNumberEndsAt(std::size_t end) const {
    std::size_t begin = end;
    while (begin > before_ && IsDigit(typed_[begin - 1])) --begin;
    if (begin == end || begin == before_) return begin < end && begin == 0;
    const char front = typed_[begin - 1];
    return front != '.' && front != '_' && !IsLetter(front);
  }

  [[nodiscard]] std::string MissingOperator() const {
    const std::size_t end = EndBefore();
    if (end == 0) return "";
    const char c = typed_[end - 1];
    const bool behind_value = IsDigit(c) || IsLetter(c) || c == '.' || c == ')' || c == '_';
    if (!behind_value && (end != before_ || before_ == 0)) return "";
    const std::string missing = "an operator is missing before " + Written();
    if (end == use_.where.begin && WholeNumberEndsAt(end)) {
      return missing + ": its digits join those in front, and a negative number is subtracted";
    }
    return missing + ": it works only while the number is negative, and then subtracts";
  }

  [[nodiscard]] std::string Exponent() const {
    std::size_t at = use_.where.end;
    if (Lower(At(at)) != 'e') return "";
    ++at;
    if (At(at) == '+' || At(at) == '-') ++at;
    if (!IsDigit(At(at))) return "";
    while (IsDigit(At(at))) ++at;
    const std::string exponent(typed_.substr(use_.where.end, at - use_.where.end));
    return "an operator is missing behind " + Written() + ": " + exponent +
           " is read as the exponent of its number";
  }

  [[nodiscard]] bool CanBeNegative() const {
    const EquationToken& token = use_.token;
    if (token.kind == EquationToken::Kind::Rate) return false;
    if (token.kind == EquationToken::Kind::Statistic && token.statistic >= kStatisticRms) {
      return false;
    }
    return use_.value < 0 || meter_.telvix.ScaleLow(token.channel) < 0;
  }

  /// An odd whole power has the sign of its base either way.
  [[nodiscard]] bool OddPowerAt(std::size_t at) const {
    while (At(at) == ' ') ++at;
    const std::size_t begin = at;
    while (IsDigit(At(at))) ++at;
    if (at == begin || (At(at - 1) - '0') % 2 == 0) return false;
    while (At(at) == ' ') ++at;
    const char next = At(at);
    return next != '.' && next != '^' && !IsLetter(next) && next != '#';
  }

  [[nodiscard]] std::string Power() const {
    std::size_t at = use_.where.end;
    while (At(at) == ' ') ++at;
    if (At(at) != '^' || OddPowerAt(at + 1) || !CanBeNegative()) return "";
    return "the power goes before the sign of a negative " + Written() +
           " (-3^2 is -9): put it in brackets";
  }

  Meter& meter_;
  const ChannelLabels& labels_;
  const NumberUse& use_;
  std::string_view typed_;
  std::string_view written_;
  std::size_t before_;  ///< where the number before this one ends; 0 without one
};

std::vector<EquationFinding> Warnings(Meter& meter, const EquationInNumbers& numbers) {
  const ChannelLabels labels(meter);
  std::vector<EquationFinding> warnings;
  for (std::size_t use = 0; use < numbers.uses.size(); ++use) {
    for (EquationFinding& warning : Surprise(meter, labels, numbers, use).Warnings()) {
      warnings.push_back(std::move(warning));
    }
  }
  return warnings;
}

}  // namespace

EquationCheck::EquationCheck(Meter& meter)
    : copy_{meter.telvix, meter.form, meter.platform, meter.config, RuntimeCopy(meter)} {}

std::vector<EquationFinding> EquationCheck::Findings(const std::string& equation) try {
  std::vector<EquationFinding> findings;
  const TracedText normalised = NormaliseOnRunningSource(copy_, equation);
  copy_.runtime.PreparedEquation = normalised.Text();
  FindNeeds(copy_.runtime, normalised.Text());
  const auto fail = [&](const EquationFault& fault) {
    findings.push_back(Finding(Severity::Error, fault.where, fault.reason, equation));
  };
  for (const Span where : UnknownTokens(copy_.runtime, normalised, copy_.telvix.ChannelCount())) {
    fail(ExplainUnknownToken(copy_, normalised, where));
  }
  if (!findings.empty()) return findings;
  const EquationInNumbers numbers = WithFirstNumbers(copy_, normalised);
  if (const auto fault = EvaluationFault(copy_, numbers)) {
    fail(*fault);
    return findings;
  }
  return Warnings(copy_, numbers);
} catch (const SourceError&) {
  return {};
}

std::optional<double> EquationCheck::ValueNow() try {
  if (!EquationTick(copy_)) return std::nullopt;
  return copy_.runtime.Reading;
} catch (const SourceError&) {
  return std::nullopt;
}

}  // namespace vantoscope
