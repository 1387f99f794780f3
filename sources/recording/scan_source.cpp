// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/scan_source.h"

#include <utility>

namespace vantoscope {
namespace {

class Memory final : public ScanSource {
 public:
  Memory(ScanPiece piece, std::unique_ptr<RecordedFile> file)
      : piece_(std::make_shared<const ScanPiece>(std::move(piece))), file_(std::move(file)) {}

  void ReadOn() override {}
  [[nodiscard]] std::int64_t Known() const override { return piece_->end; }
  [[nodiscard]] bool Complete() const override { return true; }
  std::shared_ptr<const ScanPiece> Read(std::int64_t) override { return piece_; }
  [[nodiscard]] const RecordedFile& File() const override { return *file_; }

 private:
  std::shared_ptr<const ScanPiece> piece_;
  std::unique_ptr<RecordedFile> file_;
};

}  // namespace

std::unique_ptr<ScanSource> InMemory(ScanPiece piece, std::unique_ptr<RecordedFile> file) {
  return std::make_unique<Memory>(std::move(piece), std::move(file));
}

}  // namespace vantoscope
