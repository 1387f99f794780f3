// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/equation_completer.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTimer>
#include <QTreeView>

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

QTreeView* NewView() {
  auto* view = new QTreeView;
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
    : QCompleter(&field), field_(field), model_(new QStandardItemModel(this)), view_(NewView()) {
  setModel(model_);
  setPopup(view_);
  setCompletionMode(UnfilteredPopupCompletion);
  setMaxVisibleItems(kShownRows);
  setWidget(&field);
  connect(this, qOverload<const QModelIndex&>(&QCompleter::activated), this,
          [this](const QModelIndex& index) { Take(index.row()); });
}

bool EquationCompleter::IsOpen() const { return view_->isVisible(); }
bool EquationCompleter::HasChoice() const { return view_->currentIndex().isValid(); }
void EquationCompleter::Close() { view_->hide(); }

bool EquationCompleter::InWord() const {
  const std::string equation = field_.text().toStdString();
  const auto cursor =
      static_cast<std::size_t>(field_.text().left(field_.cursorPosition()).toUtf8().size());
  return CompletionsAt(equation, cursor, {}).word.begin < cursor;
}

void EquationCompleter::Offer() {
  const std::string equation = field_.text().toStdString();
  const auto cursor =
      static_cast<std::size_t>(field_.text().left(field_.cursorPosition()).toUtf8().size());
  list_ = CompletionsAt(equation, cursor, channels_);
  if (list_.items.empty() || (list_.whole && list_.items.size() == 1)) {
    Close();
  } else {
    Show(list_);
  }
}

void EquationCompleter::Show(const CompletionList& list) {
  model_->clear();
  for (const Completion& item : list.items) {
    auto* meaning = new QStandardItem(Characters(item.meaning));
    meaning->setForeground(Softer(view_->palette()));
    model_->appendRow({new QStandardItem(Characters(item.shown)), meaning});
  }
  view_->setFont(field_.font());
  view_->header()->setStretchLastSection(false);
  for (const int column : {0, 1}) {
    view_->resizeColumnToContents(column);
    view_->setColumnWidth(column, view_->columnWidth(column) + kGap);
  }
  const int width = view_->columnWidth(0) + view_->columnWidth(1) + 2 * view_->frameWidth() +
                    view_->verticalScrollBar()->sizeHint().width();
  view_->header()->setStretchLastSection(true);
  QRect place = field_.rect();
  place.setWidth(std::max(width, place.width()));
  complete(place);
  // A word that is complete stands as it is until one of the list is chosen.
  view_->setCurrentIndex(list.whole ? QModelIndex() : model_->index(0, 0));
}

void EquationCompleter::Take(int row) {
  if (row < 0 || static_cast<std::size_t>(row) >= list_.items.size()) return;
  const std::string equation = field_.text().toStdString();
  const std::string& text = list_.items[static_cast<std::size_t>(row)].text;
  const int begin = CharactersIn(equation, list_.word.begin);
  field_.setSelection(begin, CharactersIn(equation, list_.word.end) - begin);
  field_.insert(Characters(text));
  // The past of a channel is written in steps.
  if (text.ends_with('-') || text.ends_with(']')) QTimer::singleShot(0, this, [this] { Offer(); });
}

}  // namespace vantoscope
