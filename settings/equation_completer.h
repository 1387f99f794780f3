// SPDX-License-Identifier: GPL-3.0-or-later
// The list below the equation field of what the word at the cursor can become.
#pragma once

#include <QCompleter>
#include <vector>

#include "equation/completions.h"

class QLineEdit;
class QStandardItemModel;
class QTreeView;

namespace vantoscope {

class EquationCompleter : public QCompleter {
  Q_OBJECT

 public:
  explicit EquationCompleter(QLineEdit& field);

  void SetChannels(std::vector<OfferedChannel> channels) { channels_ = std::move(channels); }
  /// Opens the list, or closes it where it holds nothing more than what stands there.
  void Offer();
  /// Whether a word is being written at the cursor.
  [[nodiscard]] bool InWord() const;
  [[nodiscard]] bool IsOpen() const;
  /// Whether one of the list is chosen, which Tab and Enter then take.
  [[nodiscard]] bool HasChoice() const;
  void Close();

 private:
  void Take(int row);
  void Show(const CompletionList& list);

  QLineEdit& field_;
  QStandardItemModel* model_;
  QTreeView* view_;
  std::vector<OfferedChannel> channels_;
  CompletionList list_;
};

}  // namespace vantoscope
