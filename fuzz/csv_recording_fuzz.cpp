// Any bytes as a CSV file: layout, times and lines. The lines must be the same whether they come in
// one piece or byte by byte.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "meter/data_source.h"
#include "sources/recording/csv_layout.h"
#include "sources/recording/csv_rows.h"

namespace {

using vantoscope::CsvLayout;
using vantoscope::CsvRow;
using vantoscope::CsvRows;

/// Every value of every line, and the rate, with the file handed over in pieces of that size.
std::vector<double> Values(const CsvLayout& layout, std::string_view text, std::size_t piece) {
  std::vector<double> values;
  vantoscope::TimeSteps steps;
  CsvRows rows(layout, [&](const CsvRow& row) {
    values.insert(values.end(), row.values.begin(), row.values.end());
    if (row.seconds) steps.Add(*row.seconds);
  });
  for (std::size_t i = 0; i < text.size(); i += piece) rows.Feed(text.substr(i, piece));
  rows.Finish();
  const double rate = steps.Rate().value_or(1);
  if (!(rate > 0)) std::abort();
  values.push_back(rate);
  return values;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 65536) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const CsvLayout layout = vantoscope::FindCsvLayout(text);
  if (layout.columns.size() > text.size() + 1) std::abort();
  if (layout.columns.empty()) return 0;
  const std::vector<double> whole = Values(layout, text, text.size() + 1);
  const std::vector<double> torn = Values(layout, text, 1);
  if (whole.size() != torn.size()) std::abort();
  if (std::memcmp(whole.data(), torn.data(), whole.size() * sizeof(double)) != 0) std::abort();
  return 0;
}
