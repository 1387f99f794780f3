#include "sources/recording/csv_rows.h"

#include <limits>
#include <new>
#include <utility>

#include "meter/data_source.h"

namespace vantoscope {
namespace {

constexpr std::size_t kLongestField = std::size_t{1} << 20U;
constexpr std::size_t kPiece = std::size_t{1} << 16U;

/// libcsv in its lenient mode: a quote in the middle of a field is text.
void InitParser(csv_parser& parser, char separator) {
  if (csv_init(&parser, 0) != 0) throw std::bad_alloc();
  csv_set_delim(&parser, static_cast<unsigned char>(separator));
  csv_set_blk_size(&parser, 4096);
}

bool IsComment(std::string_view field) {
  return field.starts_with('#') || field.starts_with('%') || field.starts_with("//");
}

struct FieldList {
  std::vector<std::vector<std::string>> lines;
  std::vector<std::string> line;
  std::size_t max_lines;
};

}  // namespace

CsvRows::CsvRows(CsvLayout layout, Take take)
    : layout_(std::move(layout)),
      take_(std::move(take)),
      values_(layout_.columns.size(), std::numeric_limits<double>::quiet_NaN()),
      next_(values_) {
  for (std::size_t column = 0; column < layout_.columns.size(); ++column) {
    const std::size_t field = layout_.columns[column].field;
    if (field >= column_of_field_.size()) column_of_field_.resize(field + 1);
    column_of_field_[field] = column;
  }
  InitParser(parser_, layout_.separator);
}

CsvRows::~CsvRows() { csv_free(&parser_); }

void CsvRows::Feed(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view piece = bytes.substr(0, kPiece);
    bytes.remove_prefix(piece.size());
    if (csv_parse(&parser_, piece.data(), piece.size(), &OnField, &OnLine, this) != piece.size()) {
      throw std::bad_alloc();  // the one error of the lenient mode
    }
    if (csv_get_buffer_size(&parser_) > kLongestField) {
      throw SourceError("a field is longer than a mebibyte, as after a quote that is not closed");
    }
  }
}

void CsvRows::Finish() {
  finishing_ = true;
  csv_fini(&parser_, &OnField, &OnLine, this);
  finishing_ = false;
}

void CsvRows::OnField(void* bytes, std::size_t size, void* self) {
  static_cast<CsvRows*>(self)->TakeField({static_cast<const char*>(bytes), size});
}

void CsvRows::OnLine(int /*end*/, void* self) { static_cast<CsvRows*>(self)->TakeLine(); }

void CsvRows::TakeField(std::string_view field) {
  const std::size_t place = field_++;
  if (line_ < layout_.lines_to_skip) return;
  if (place == 0 && layout_.has_times) return TakeTime(field);
  if (place >= column_of_field_.size() || !column_of_field_[place]) return;
  TakeNumber(*column_of_field_[place], field);
}

void CsvRows::TakeTime(std::string_view field) {
  seconds_ = TimeOfField(field, layout_.style);
  if (seconds_) *seconds_ *= layout_.seconds_per_time_unit;
  any_number_ = seconds_.has_value();
  skip_ = !seconds_ && IsComment(field);
}

void CsvRows::TakeNumber(std::size_t column, std::string_view field) {
  const CsvColumn& told = layout_.columns[column];
  const auto written = ReadNumber(field, layout_.style);
  const auto number = written ? NumberIn(*written, told.in_fields) : std::nullopt;
  if (!number && TrimmedField(field).empty()) return;
  next_[column] = number.value_or(std::numeric_limits<double>::quiet_NaN());
  if (number) {
    any_number_ = true;
    return;
  }
  any_words_ = true;
  skip_ = skip_ || (told.field == 0 && IsComment(field)) ||
          (!told.heading.empty() && field == told.heading);
}

bool CsvRows::Counts() const {
  if (line_ < layout_.lines_to_skip || skip_ || (finishing_ && !IsWhole())) return false;
  return any_number_ || (any_words_ && !layout_.has_times && IsWhole());
}

void CsvRows::TakeLine() {
  if (Counts()) {
    values_ = next_;
    take_({.seconds = seconds_, .values = values_, .line = line_});
  } else {
    next_ = values_;
  }
  ++line_;
  field_ = 0;
  seconds_.reset();
  any_number_ = any_words_ = skip_ = false;
}

std::vector<std::vector<std::string>> CsvFields(std::string_view text, char separator,
                                                std::size_t max_lines) {
  FieldList list{.lines = {}, .line = {}, .max_lines = max_lines};
  const auto on_field = [](void* bytes, std::size_t size, void* data) {
    auto& fields = *static_cast<FieldList*>(data);
    if (fields.lines.size() >= fields.max_lines) return;
    fields.line.emplace_back(static_cast<const char*>(bytes), size);
  };
  const auto on_line = [](int, void* data) {
    auto& fields = *static_cast<FieldList*>(data);
    if (fields.lines.size() >= fields.max_lines) return;
    fields.lines.push_back(std::exchange(fields.line, {}));
  };
  csv_parser parser{};
  InitParser(parser, separator);
  csv_parse(&parser, text.data(), text.size(), on_field, on_line, &list);
  csv_fini(&parser, on_field, on_line, &list);
  csv_free(&parser);
  return std::move(list.lines);
}

}  // namespace vantoscope
