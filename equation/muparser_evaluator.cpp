// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/muparser_evaluator.h"

#include <muParserBase.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <string>
#include <variant>

#include "equation/functions.h"
#include "text/characters.h"
#include "text/numbers.h"
#include "text/utf8.h"

namespace vantoscope {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::size_t kToTheEnd = std::string::npos;

bool IsSign(char c) { return c == '+' || c == '-'; }
bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }
bool OpensName(char c) { return IsLetter(c) || c == '_'; }

const char* SkipDigits(const char* at) {
  while (IsDigit(*at)) ++at;
  return at;
}

/// End of the number at the front of a text that ends in NUL; `text` itself if there is none.
///   number   = digits [ "." [ digits ] ] [ exponent ] | "." digits [ exponent ] | "."
///   exponent = ( "e" | "E" ) [ sign ] digits
const char* NumberEnd(const char* text) {
  const char* at = SkipDigits(text);
  if (*at == '.') at = SkipDigits(at + 1);
  if (at - text < 2 && !IsDigit(*text)) return at;  // nothing, or a lone point
  if (*at != 'e' && *at != 'E') return at;
  const char* exponent = at + 1;
  if (IsSign(*exponent)) ++exponent;
  return IsDigit(*exponent) ? SkipDigits(exponent) : at;
}

double NumberValue(const char* begin, const char* end) {
  double value = 0;  // stays for a lone point
  const auto read = std::from_chars(begin, end, value);
  if (read.ec == std::errc::result_out_of_range)
    return OverflowsDouble({begin, end}) ? kInfinity : 0;
  return value;
}

/// muParser's question whether a number stands here.
int ReadNumber(const char* text, int* position, double* value) {
  const char* end = NumberEnd(text);
  if (end == text) return 0;
  *value = NumberValue(text, end);
  *position += static_cast<int>(end - text);
  return 1;
}

/// What people paste in the place of a character of the grammar.
struct Pasted {
  std::string_view character;
  char meant;
};
constexpr Pasted kPasted[] = {
    {"\u2212", '-'},  // minus sign
    {"\u00D7", '*'},  // multiplication sign
    {"\u00B7", '*'},  // middle dot
    {"\u00A0", ' '},  // no-break space
};

/// The text in the characters of the grammar. Stops behind the character at `last` of the result,
/// and answers where in `text` that one came from.
std::size_t TakePasted(std::string_view text, std::string& plain, std::size_t last = kToTheEnd) {
  if (std::all_of(text.begin(), text.end(), IsAscii)) {
    plain.assign(text);
    return last;
  }
  plain.clear();
  std::size_t at = 0;
  while (at < text.size() && plain.size() < last) {
    const auto* const pasted = std::ranges::find_if(kPasted, [&](const Pasted& row) {
      return text.compare(at, row.character.size(), row.character) == 0;
    });
    const bool found = pasted != std::end(kPasted);
    plain += found ? pasted->meant : text[at];
    at += found ? pasted->character.size() : 1;
  }
  return at;
}

const char* NameEnd(const char* at) {
  while (OpensName(*at) || IsDigit(*at)) ++at;
  return at;
}

/// The name as the grammar knows it: in small letters, where that is a name and this is none.
std::string KnownName(std::string_view name) {
  std::string small(name);
  if (std::none_of(name.begin(), name.end(), IsCapital)) return small;
  for (char& c : small) c = Lower(c);
  return IsKnownName(small) ? small : std::string(name);
}

/// Copies a name; between a function and its bracket no blank is left.
const char* FoldName(const char* start, std::string& folded) {
  const char* at = NameEnd(start);
  const std::string name = KnownName({start, at});
  folded += name;
  const char* bracket = at;
  while (IsBlank(*bracket)) ++bracket;
  const bool parted = bracket != at && *bracket == '(';
  return parted && FindFunction(name) != nullptr ? bracket : at;
}

/// Every run of signs becomes one sign, by parity: a negative number is written right behind the
/// operator before it, and muParser takes one sign there. Signs inside a number are its own. A
/// name right behind a number is set off, lest `1e--6` be folded into the number `1e+6`. Stops
/// behind the character at `last` of the result, and answers where in `text` that one came from.
std::size_t FoldSigns(const std::string& text, std::string& folded, std::size_t last = kToTheEnd) {
  folded.clear();
  const char* const front = text.c_str();
  const char* at = front;
  const char* const end = at + text.size();
  while (at != end) {
    const char* const start = at;
    const std::size_t before = folded.size();
    if (OpensName(*at)) {
      at = FoldName(at, folded);
    } else if (IsSign(*at)) {
      bool negative = false;
      for (; IsSign(*at) || IsBlank(*at); ++at) negative ^= *at == '-';
      folded += negative ? '-' : '+';
    } else if (at = NumberEnd(start); at != start) {
      folded.append(start, at);
      if (OpensName(*at)) folded += ' ';
    } else {
      folded += *at++;
    }
    if (last < folded.size()) return static_cast<std::size_t>(start - front) + (last - before);
  }
  return text.size();
}

/// Built on the bare base, so that nothing is offered but what stands above: no variables, no
/// assignment, no texts, and no number reader but our own.
class Parser final : public mu::ParserBase {
 public:
  Parser() {
    AddValIdent(ReadNumber);
    EnableOptimizer(false);  // its && and || cut their values to whole numbers: .5||0 would be 0
    InitCharSets();
    InitFun();
    InitConst();
    InitOprt();
  }

 private:
  void InitCharSets() override {
    DefineNameChars("0123456789_abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
    DefineOprtChars("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ+-*^/?<>=#!$%&|~'_{}");
    DefineInfixOprtChars("+-");
  }
  void InitFun() override {
    for (const Function& function : Functions()) {
      std::visit([&](auto call) { DefineFun(std::string(function.name), call); }, function.call);
    }
  }
  void InitConst() override {
    for (const Constant& constant : Constants()) {
      DefineConst(std::string(constant.name), constant.value);
    }
  }
  void InitOprt() override {
    DefineInfixOprt("-", [](double x) { return -x; });
    DefineInfixOprt("+", [](double x) { return x; });
  }
};

/// Why muParser refuses a folded text, and where, in the words of whoever wrote the equation.
class Refusal {
 public:
  Refusal(const std::string& folded, const mu::ParserError& error)
      : text_(folded), error_(error), at_(Clamped(error.GetPos())) {}
  /// Of a text with commas outside every function.
  explicit Refusal(const std::string& folded) : text_(folded) {}

  [[nodiscard]] EvaluationError Comma() const { return CommaFrom(0); }

  [[nodiscard]] EvaluationError Why() const {
    switch (error_.GetCode()) {
      case mu::ecUNASSIGNABLE_TOKEN:
        return UnknownToken();
      case mu::ecUNEXPECTED_VAL:
      case mu::ecUNEXPECTED_FUN:
        return At(Kind::MissingOperator, "an operator is missing before " + Token());
      case mu::ecUNEXPECTED_PARENS:
        return Bracket();
      case mu::ecUNEXPECTED_OPERATOR:
        if (Token() == "=") return At(Kind::Other, "values are compared by ==");
        [[fallthrough]];
      case mu::ecUNEXPECTED_ARG_SEP:
      case mu::ecUNEXPECTED_CONDITIONAL:
        return At(Kind::Other, "a value is missing before " + Token());
      case mu::ecUNEXPECTED_EOF:
        return AtEnd();
      case mu::ecMISSING_PARENS:
        return OneAt(OpenBracket(text_.size()), "this bracket is never closed");
      case mu::ecUNEXPECTED_ARG:
        return CommaFrom(OpenBracket(at_ - std::min<std::size_t>(at_, 1)) + 1);
      case mu::ecTOO_MANY_PARAMS:
        return Count("too many values for ");
      case mu::ecTOO_FEW_PARAMS:
        return Count("too few values for ");
      case mu::ecMISSING_ELSE_CLAUSE:
        return OneAt(text_.rfind('?'), "behind ? go two values with a colon between them");
      case mu::ecMISPLACED_COLON:
        return OneAt(text_.rfind(':', at_), "this colon has no ? before it");
      case mu::ecINTERNAL_ERROR:  // muParser's answer to a sign with nothing behind it
        return at_ >= text_.size() ? AtEnd() : EvaluationError("a value is missing");
      default:
        if (const std::size_t quote = text_.find('"'); quote != std::string::npos) {
          return OneAt(quote, "a text in quotation marks is no value");
        }
        return EvaluationError(error_.GetMsg());
    }
  }

 private:
  using Kind = EvaluationError::Kind;

  [[nodiscard]] std::size_t Clamped(int position) const {
    return std::min(static_cast<std::size_t>(std::max(position, 0)), text_.size());
  }

  [[nodiscard]] std::size_t TokenEnd(std::size_t from) const {
    if (from >= text_.size()) return text_.size();
    const char* const start = text_.c_str() + from;
    const char* end = OpensName(*start) ? NameEnd(start) : NumberEnd(start);
    if (end == start) {
      ++end;
      while (ContinuesCharacter(*end)) ++end;
    }
    return static_cast<std::size_t>(end - text_.c_str());
  }
  [[nodiscard]] std::string Token() const { return text_.substr(at_, TokenEnd(at_) - at_); }

  [[nodiscard]] EvaluationError At(Kind kind, const std::string& reason) const {
    return {kind, reason, at_, TokenEnd(at_)};
  }
  [[nodiscard]] static EvaluationError OneAt(std::size_t at, const std::string& reason) {
    return {Kind::Other, reason, at, at + 1};
  }
  [[nodiscard]] EvaluationError AtEnd() const {
    return {Kind::Other, "a value is missing at the end", text_.size(), text_.size()};
  }

  [[nodiscard]] EvaluationError UnknownToken() const {
    const std::string token = Token();
    if (const Function* function = FindFunction(token)) {
      return At(Kind::UnknownName,
                token + " needs its brackets: " + token + std::string(function->arguments));
    }
    if (OpensName(token[0])) return At(Kind::UnknownName, "the name " + token + " is unknown");
    return At(Kind::Other, token + " has no meaning in an equation");
  }

  [[nodiscard]] EvaluationError Bracket() const {
    if (Token() == "(") return At(Kind::MissingOperator, "an operator is missing before (");
    if (OpenBracket(at_) == std::string::npos) {
      return At(Kind::Other, "this bracket was never opened");
    }
    return At(Kind::Other, "a value is missing before )");
  }

  /// The last bracket before `end` that is open there; npos if none is.
  [[nodiscard]] std::size_t OpenBracket(std::size_t end) const {
    int closed = 0;
    for (std::size_t at = end; at-- > 0;) {
      if (text_[at] == ')') ++closed;
      if (text_[at] == '(' && closed-- == 0) return at;
    }
    return std::string::npos;
  }

  /// Of the function whose closing bracket muParser has just read; without values it is one on.
  [[nodiscard]] EvaluationError Count(const std::string& what) const {
    for (const std::size_t close : {at_, at_ - std::min<std::size_t>(at_, 1)}) {
      const std::size_t open = OpenBracket(close);
      const std::string name = error_.GetToken();
      const Function* const function = FindFunction(name);
      if (open == std::string::npos || function == nullptr || open < name.size() ||
          text_.compare(open - name.size(), name.size(), name) != 0) {
        continue;
      }
      std::string reason = what + name + std::string(function->arguments);
      if (what.starts_with("too many") && HoldsDecimalComma(open, close)) {
        reason += "; decimals stand behind a point";
      }
      return {Kind::Other, reason, open - name.size(), std::min(close + 1, text_.size())};
    }
    return EvaluationError(error_.GetMsg());
  }

  [[nodiscard]] bool HoldsDecimalComma(std::size_t begin, std::size_t end) const {
    std::size_t comma = text_.find(',', begin);
    while (comma < end && !PartsDigits(comma)) comma = text_.find(',', comma + 1);
    return comma < end;
  }

  [[nodiscard]] bool PartsDigits(std::size_t comma) const {
    return comma > 0 && IsDigit(text_[comma - 1]) && IsDigit(text_.c_str()[comma + 1]);
  }

  /// The first comma from `from` on that stands inside no further bracket.
  [[nodiscard]] EvaluationError CommaFrom(std::size_t from) const {
    int depth = 0;
    for (std::size_t at = from; at < text_.size(); ++at) {
      if (text_[at] == '(') ++depth;
      if (text_[at] == ')') --depth;
      if (text_[at] != ',' || depth != 0) continue;
      return OneAt(at, PartsDigits(at) ? "decimals stand behind a point, not a comma"
                                       : "a comma stands between the values of a function only");
    }
    return EvaluationError("a comma stands between the values of a function only");
  }

  const std::string& text_;
  mu::ParserError error_;
  std::size_t at_ = 0;
};

class MuParserEvaluator : public Evaluator {
 public:
  double Evaluate(std::string_view text) override {
    TakePasted(text, plain_);
    if (std::all_of(plain_.begin(), plain_.end(), IsBlank)) {
      return std::numeric_limits<double>::quiet_NaN();
    }
    if (plain_.find('\0') != std::string::npos) {
      throw EvaluationError("a zero byte stands in the equation");
    }
    FoldSigns(plain_, folded_);
    if (folded_.size() >= static_cast<std::size_t>(mu::MaxLenExpression)) {
      throw EvaluationError("with its numbers the equation has " +
                            std::to_string(mu::MaxLenExpression) + " characters or more");
    }
    return OneValue(text);
  }

 private:
  double OneValue(std::string_view text) {
    try {
      parser_.SetExpr(folded_);
      int values = 0;
      const double* const results = parser_.Eval(values);
      if (values == 1) return results[0];
    } catch (const mu::ParserError& error) {
      throw InText(text, Refusal(folded_, error).Why());
    }
    throw InText(text, Refusal(folded_).Comma());
  }

  /// The error with its place in the text as it was given.
  EvaluationError InText(std::string_view text, EvaluationError error) const {
    std::string scratch;
    const auto place = [&](std::size_t at) {
      if (at > folded_.size()) return at;
      return TakePasted(text, scratch, FoldSigns(plain_, scratch, at));
    };
    if (error.end <= folded_.size()) {
      const std::size_t last = error.end > error.begin ? error.end - 1 : error.end;
      error.end = error.end > error.begin ? place(last) + 1 : place(last);
      error.begin = place(error.begin);
      while (error.end < text.size() && ContinuesCharacter(text[error.end])) ++error.end;
    }
    return error;
  }

  Parser parser_;
  std::string plain_;
  std::string folded_;
};

}  // namespace

std::unique_ptr<Evaluator> CreateMuParserEvaluator() {
  return std::make_unique<MuParserEvaluator>();
}

}  // namespace vantoscope
