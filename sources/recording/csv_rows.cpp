// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_rows.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "meter/data_source.h"

namespace vantoscope {
namespace {

constexpr std::size_t kLongestField = std::size_t{1} << 20U;
constexpr std::size_t kPiece = std::size_t{1} << 16U;

/// libcsv in its lenient mode: a quote in the middle of a field is text.
void InitParser(csv_parser& parser, char separator, unsigned char options) {
  if (csv_init(&parser, options) != 0) throw std::bad_alloc();
  csv_set_delim(&parser, static_cast<unsigned char>(separator));
  csv_set_blk_size(&parser, 4096);
}

/// The text with blanks for its tabs where blanks separate.
std::string_view WithBlanks(std::string_view text, char separator, std::string& buffer) {
  if (separator != ' ') return text;
  buffer = text;
  std::ranges::replace(buffer, '\t', ' ');
  return buffer;
}

struct FieldList {
  std::vector<std::vector<std::string>> lines;
  std::vector<std::string> line;
  std::size_t max_lines;
  bool runs;  // of blanks separate
};

}  // namespace

bool StartsComment(std::string_view field) {
  const bool marked = field.starts_with('#') || field.starts_with('%') || field.starts_with("//");
  return marked && !ReadNumber(field, {});
}

CsvRows::CsvRows(CsvLayout layout, bool goes_on, Take take)
    : layout_(std::move(layout)),
      goes_on_(goes_on),
      take_(std::move(take)),
      guard_(layout_.separator, [this](std::string_view piece) { Parse(piece); }),
      values_(layout_.columns.size(), std::numeric_limits<double>::quiet_NaN()),
      next_(values_),
      time_(layout_) {
  for (std::size_t column = 0; column < layout_.columns.size(); ++column) {
    const std::size_t field = layout_.columns[column].field;
    if (field >= column_of_field_.size()) column_of_field_.resize(field + 1);
    column_of_field_[field] = column;
  }
  fields_ = column_of_field_.size();
  InitParser(parser_, layout_.separator, CSV_REPALL_NL);
}

CsvRows::~CsvRows() { csv_free(&parser_); }

void CsvRows::Feed(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view piece = bytes.substr(0, kPiece);
    bytes.remove_prefix(piece.size());
    guard_.Feed(piece);
    if (csv_get_buffer_size(&parser_) > kLongestField) {
      throw SourceError("a field is longer than a mebibyte, as after a quote that is not closed");
    }
  }
}

void CsvRows::Parse(std::string_view piece) {
  const std::string_view text = WithBlanks(piece, layout_.separator, spaced_);
  if (csv_parse(&parser_, text.data(), text.size(), &OnField, &OnLine, this) != text.size()) {
    throw std::bad_alloc();  // the one error of the lenient mode
  }
}

void CsvRows::Finish() {
  guard_.Finish();
  finishing_ = true;
  csv_fini(&parser_, &OnField, &OnLine, this);
  finishing_ = false;
}

void CsvRows::SkipLines(std::size_t lines) {
  line_ = 0;
  layout_.lines_to_skip = lines;
}

void CsvRows::OnField(void* bytes, std::size_t size, void* self) {
  static_cast<CsvRows*>(self)->TakeField({static_cast<const char*>(bytes), size});
}

void CsvRows::OnLine(int end, void* self) {
  auto& rows = *static_cast<CsvRows*>(self);
  if (rows.field_ == 0) {
    rows.TakeBlankLine(end);
  } else {
    rows.TakeLine();
  }
  rows.last_end_ = end;
}

void CsvRows::TakeField(std::string_view field) {
  if (field.empty() && layout_.separator == ' ') return;
  const std::size_t place = field_++;
  if (line_ < layout_.lines_to_skip || ended_) return;
  if (time_.IsAt(place)) return TakeTime(place, field);
  if (place >= column_of_field_.size() || !column_of_field_[place]) return;
  TakeNumber(*column_of_field_[place], field);
}

void CsvRows::TakeTime(std::size_t place, std::string_view field) {
  if (time_.Take(field)) return;
  comment_ = comment_ || (place == 0 && StartsComment(field));
  header_again_ = header_again_ || time_.IsHeading(field);
}

void CsvRows::TakeNumber(std::size_t column, std::string_view field) {
  if (const auto plain = PlainNumber(field, layout_.style)) {
    next_[column] = *plain;
    ++set_values_;
    any_number_ = true;
    first_number_ = first_number_ || column == 0;
    return;
  }
  const CsvColumn& told = layout_.columns[column];
  const auto written = ReadNumber(field, layout_.style);
  const auto number = written ? NumberIn(*written, told.in_fields) : std::nullopt;
  if (!number && TrimmedField(field).empty()) return;
  next_[column] = number.value_or(std::numeric_limits<double>::quiet_NaN());
  ++set_values_;
  if (number) {
    any_number_ = true;
    return;
  }
  any_words_ = true;
  comment_ = comment_ || (told.field == 0 && StartsComment(field));
  header_again_ = header_again_ || (!told.heading.empty() && field == told.heading);
}

void CsvRows::TakeBlankLine(int end) {
  if (end == '\n' && last_end_ == '\r') return;  // two bytes of one line end
  ++blank_lines_;
}

bool CsvRows::IsSkipped() const {
  const bool of_table = layout_.times ? time_.Any() : first_number_;
  return comment_ || (header_again_ && !of_table);
}

bool CsvRows::BeginsAnotherTable() const {
  if (!begun_ || IsSkipped() || finishing_) return false;
  const bool words = blank_lines_ > 0 && !any_number_ && !time_.Any() && any_words_ && field_ > 1;
  return words || (layout_.separator == ' ' && blank_lines_ > 1 && !goes_on_);
}

bool CsvRows::Counts() const {
  if (line_ < layout_.lines_to_skip || ended_ || (finishing_ && !IsWhole())) return false;
  if (skip_ || IsSkipped()) return false;
  return any_number_ || time_.Any() || (any_words_ && !layout_.times && IsWhole());
}

void CsvRows::TakeLine() {
  if (BeginsAnotherTable()) {
    skip_ = true;
    ended_ = !goes_on_;
  }
  if (Counts()) {
    begun_ = true;
    values_ = next_;
    take_({.seconds = time_.Seconds(),
           .values = values_,
           .line = line_,
           .complete = set_values_ == values_.size()});
  } else {
    next_ = values_;
  }
  ++line_;
  blank_lines_ = 0;
  NextLine();
}

void CsvRows::NextLine() {
  time_.NextLine();
  field_ = set_values_ = 0;
  any_number_ = any_words_ = first_number_ = comment_ = header_again_ = skip_ = false;
}

void CsvRows::Restart(const CsvRestart& from) {
  csv_free(&parser_);
  InitParser(parser_, layout_.separator, CSV_REPALL_NL);
  guard_.Restart();
  time_.SetOrigin(from.origin);
  if (from.values.empty()) {
    std::ranges::fill(values_, std::numeric_limits<double>::quiet_NaN());
  } else {
    values_ = from.values;
  }
  next_ = values_;
  line_ = from.line;
  blank_lines_ = 0;
  last_end_ = 0;
  begun_ = line_ > layout_.lines_to_skip;
  ended_ = false;
  NextLine();
}

std::optional<CsvRestart> CsvRows::RestartHere() const {
  if (!begun_ || ended_ || blank_lines_ > 0 || !guard_.AtLineStart()) return std::nullopt;
  return CsvRestart{.line = line_, .origin = time_.Origin(), .values = values_};
}

std::vector<std::vector<std::string>> CsvFields(std::string_view text, char separator,
                                                std::size_t max_lines) {
  FieldList list{.lines = {}, .line = {}, .max_lines = max_lines, .runs = separator == ' '};
  const auto on_field = [](void* bytes, std::size_t size, void* data) {
    auto& fields = *static_cast<FieldList*>(data);
    if (fields.lines.size() >= fields.max_lines || (fields.runs && size == 0)) return;
    fields.line.emplace_back(static_cast<const char*>(bytes), size);
  };
  const auto on_line = [](int, void* data) {
    auto& fields = *static_cast<FieldList*>(data);
    if (fields.lines.size() >= fields.max_lines || fields.line.empty()) return;
    fields.lines.push_back(std::exchange(fields.line, {}));
  };
  csv_parser parser{};
  InitParser(parser, separator, 0);
  std::string buffer;
  QuoteGuard guard(separator, [&](std::string_view piece) {
    const std::string_view bytes = WithBlanks(piece, separator, buffer);
    csv_parse(&parser, bytes.data(), bytes.size(), on_field, on_line, &list);
  });
  constexpr std::size_t kStep = 4096;
  for (; !text.empty() && list.lines.size() < max_lines;
       text.remove_prefix(std::min(kStep, text.size()))) {
    guard.Feed(text.substr(0, kStep));
  }
  guard.Finish();
  csv_fini(&parser, on_field, on_line, &list);
  csv_free(&parser);
  return std::move(list.lines);
}

}  // namespace vantoscope
