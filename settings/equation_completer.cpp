// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/equation_completer.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScreen>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTreeView>
#include <algorithm>

namespace vantoscope {
namespace {

constexpr int kShownRows = 8;
constexpr int kGap = 12;  // between the columns, logical pixels

QString Characters(const std::string& text) { return QString::fromStdString(text); }

/// The characters of a QString in the first `bytes` of its UTF-8 form.
int CharactersIn(const std::string& text, std::size_t bytes) {
  return static_cast<int>(Characters(text.substr(0, bytes)).size());
}

/// Text that steps back behind the other, and still has more than 4.5:1.
QColor Softer(const QPalette& palette) {
  const QColor text = palette.color(QPalette::Text);
  const QColor base = palette.color(QPalette::Base);
  const auto mixed = [](int one, int other) { return (2 * one + other) / 3; };
  return {mixed(text.red(), base.red()), mixed(text.green(), base.green()),
          mixed(text.blue(), base.blue())};
}

QTreeView* NewView(QWidget* parent) {
  auto* view = new QTreeView(parent);
  view->setWindowFlags(Qt::ToolTip);  // takes no keys
  view->setFocusPolicy(Qt::NoFocus);
  view->setHeaderHidden(true);
  view->setRootIsDecorated(false);
  view->setUniformRowHeights(true);
  view->setEditTriggers(QAbstractItemView::NoEditTriggers);
  view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  view->setAccessibleName("Completions");
  return view;
}

}  // namespace

EquationCompleter::EquationCompleter(QLineEdit& field)
    : QObject(&field), field_(field), model_(new QStandardItemModel(this)), view_(NewView(&field)) {
  view_->setModel(model_);
  connect(view_, &QTreeView::clicked, this,
          [this](const QModelIndex& index) { Take(index.row()); });
}

bool EquationCompleter::IsOpen() const { return view_->isVisible(); }
void EquationCompleter::Close() { view_->hide(); }

CompletionList EquationCompleter::ListAtCursor(const std::vector<OfferedChannel>& channels) const {
  const QByteArray front = field_.text().left(field_.cursorPosition()).toUtf8();
  return CompletionsAt(field_.text().toStdString(), static_cast<std::size_t>(front.size()),
                       channels);
}

bool EquationCompleter::InWord() const {
  const QByteArray front = field_.text().left(field_.cursorPosition()).toUtf8();
  return ListAtCursor({}).word.begin < static_cast<std::size_t>(front.size());
}

void EquationCompleter::Offer() {
  list_ = ListAtCursor(channels_);
  if (list_.items.empty() || (list_.whole && list_.items.size() == 1)) {
    Close();
  } else {
    Show();
  }
}

void EquationCompleter::Show() {
  model_->clear();
  for (const Completion& item : list_.items) {
    auto* meaning = new QStandardItem(Characters(item.meaning));
    meaning->setForeground(Softer(view_->palette()));
    model_->appendRow({new QStandardItem(Characters(item.shown)), meaning});
  }
  view_->setFont(field_.font());
  Place();
  // A word that is complete stands as it is until one of the list is chosen.
  Choose(list_.whole ? -1 : 0);
  view_->show();
  view_->raise();
}

// Below the field, or above it where the screen ends.
void EquationCompleter::Place() {
  view_->header()->setStretchLastSection(false);
  for (const int column : {0, 1}) {
    view_->resizeColumnToContents(column);
    view_->setColumnWidth(column, view_->columnWidth(column) + kGap);
  }
  const int rows = std::min(model_->rowCount(), kShownRows);
  const int bar = rows < model_->rowCount() ? view_->verticalScrollBar()->sizeHint().width() : 0;
  const int frame = 2 * view_->frameWidth();
  const QSize size(
      std::max(view_->columnWidth(0) + view_->columnWidth(1) + bar + frame, field_.width()),
      rows * view_->sizeHintForRow(0) + frame);
  view_->header()->setStretchLastSection(true);
  const QRect screen = field_.screen()->availableGeometry();
  QPoint corner = field_.mapToGlobal(QPoint(0, field_.height()));
  if (corner.y() + size.height() > screen.bottom()) corner.ry() -= field_.height() + size.height();
  corner.setX(std::max(screen.left(), std::min(corner.x(), screen.right() - size.width())));
  view_->setGeometry(QRect(corner, size));
}

void EquationCompleter::Choose(int row) {
  view_->setCurrentIndex(row < 0 ? QModelIndex() : model_->index(row, 0));
}

bool EquationCompleter::TakesKey(const QKeyEvent& key) {
  if (!IsOpen()) return false;
  const int row = view_->currentIndex().row();  // -1 where nothing is chosen
  const int last = model_->rowCount() - 1;
  switch (key.key()) {
    case Qt::Key_Down:
      Choose(std::min(row + 1, last));
      return true;
    case Qt::Key_Up:
      Choose(std::max(row - 1, 0));
      return true;
    case Qt::Key_PageDown:
      Choose(std::min(row + kShownRows, last));
      return true;
    case Qt::Key_PageUp:
      Choose(std::max(row - kShownRows, 0));
      return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Tab:
      Take(row);
      return row >= 0 || key.key() != Qt::Key_Tab;
    case Qt::Key_Escape:
      Close();
      return true;
    default:
      return false;
  }
}

void EquationCompleter::Take(int row) {
  Close();
  if (row < 0 || static_cast<std::size_t>(row) >= list_.items.size()) return;
  const std::string equation = field_.text().toStdString();
  const std::string& text = list_.items[static_cast<std::size_t>(row)].text;
  const int begin = CharactersIn(equation, list_.word.begin);
  field_.setSelection(begin, CharactersIn(equation, list_.word.end) - begin);
  field_.insert(Characters(text));
  // The past of a channel is written in steps.
  if (text.ends_with('-') || text.ends_with(']')) Offer();
}

}  // namespace vantoscope
