// SPDX-License-Identifier: GPL-3.0-or-later
// The list below the equation field of what the word at the cursor can become. The keyboard stays
// with the field, which hands over the keys that are the list's.
#pragma once

#include <QObject>
#include <utility>
#include <vector>

#include "equation/completions.h"

class QKeyEvent;
class QLineEdit;
class QStandardItemModel;
class QTreeView;

namespace vantoscope {

class EquationCompleter : public QObject {
  Q_OBJECT

 public:
  explicit EquationCompleter(QLineEdit& field);

  void SetChannels(std::vector<OfferedChannel> channels) { channels_ = std::move(channels); }
  /// Opens the list, or closes it where it holds nothing more than what stands there.
  void Offer();
  void Close();
  [[nodiscard]] bool IsOpen() const;
  /// Whether a word is being written at the cursor.
  [[nodiscard]] bool InWord() const;
  /// While the list is open: arrows choose, Tab and Enter take what is chosen, Escape closes. True
  /// when that was all of the key's doing.
  bool TakesKey(const QKeyEvent& key);

 private:
  [[nodiscard]] CompletionList ListAtCursor(const std::vector<OfferedChannel>& channels) const;
  void Show();
  void Place();
  void Choose(int row);
  void Take(int row);

  QLineEdit& field_;
  QStandardItemModel* model_;
  QTreeView* view_;
  std::vector<OfferedChannel> channels_;
  CompletionList list_;
};

}  // namespace vantoscope
