// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/traced_text.h"

#include <algorithm>
#include <utility>

namespace vantoscope {

TracedText::TracedText(std::string typed) : typed_(std::move(typed)), text_(typed_) {
  origins_.reserve(text_.size());
  for (std::size_t at = 0; at < text_.size(); ++at) origins_.push_back({at, at + 1});
}

std::string_view TracedText::Typed(Span part) const {
  return std::string_view(typed_).substr(part.begin, part.Size());
}

Span TracedText::Origin(std::size_t begin, std::size_t end) const {
  end = std::min(end, text_.size());
  if (begin >= end) {
    const std::size_t at =
        begin == 0 || text_.empty() ? 0 : origins_[std::min(begin, text_.size()) - 1].end;
    return {at, at};
  }
  Span origin = origins_[begin];
  for (std::size_t at = begin; at < end; ++at) {
    origin.begin = std::min(origin.begin, origins_[at].begin);
    origin.end = std::max(origin.end, origins_[at].end);
  }
  return origin;
}

std::vector<Span> TracedText::ReplaceAll(std::string_view from, std::string_view to) {
  std::vector<Span> replaced;
  std::size_t found = from.empty() ? std::string::npos : text_.find(from);
  if (found == std::string::npos) return replaced;
  std::string text;
  std::vector<Span> origins;
  std::size_t done = 0;
  const auto keep = [&](std::size_t end) {
    text.append(text_, done, end - done);
    origins.insert(origins.end(), origins_.begin() + static_cast<std::ptrdiff_t>(done),
                   origins_.begin() + static_cast<std::ptrdiff_t>(end));
  };
  for (; found != std::string::npos; found = text_.find(from, done)) {
    keep(found);
    done = found + from.size();
    replaced.push_back(Origin(found, done));
    text += to;
    origins.insert(origins.end(), to.size(), replaced.back());
  }
  keep(text_.size());
  text_ = std::move(text);
  origins_ = std::move(origins);
  return replaced;
}

}  // namespace vantoscope
