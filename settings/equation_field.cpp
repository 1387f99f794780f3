// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/equation_field.h"

#include <QHelpEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTextDocument>
#include <QTextLayout>
#include <QToolTip>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "equation/fault_sentences.h"
#include "settings/equation_completer.h"

namespace vantoscope {
namespace {

constexpr auto kPause = std::chrono::milliseconds(400);
constexpr std::size_t kMostReasons = 3;

// At least 3:1 against a light and against a dark field.
QColor LineColor(EquationFinding::Severity severity, const QColor& field) {
  const bool dark = qGray(field.rgb()) < 128;
  if (severity == EquationFinding::Severity::Error) return dark ? 0xFF7B72 : 0xC62828;
  return dark ? 0xE3B341 : 0x8A5A00;
}

// Not smoothed, which would take half of the contrast from so thin a line.
// A wave below what is refused, dashes below what surprises: not the colour alone tells them apart.
void DrawLine(QPainter& painter, EquationFinding::Severity severity, QPointF from, qreal to) {
  constexpr qreal kStep = 2;
  constexpr qreal kHeight = 2;
  if (severity == EquationFinding::Severity::Warning) {
    QPen pen = painter.pen();
    pen.setDashPattern({3, 2});
    painter.setPen(pen);
    painter.drawLine(from, QPointF(to, from.y()));
    return;
  }
  QPolygonF wave;
  const int steps = static_cast<int>((to - from.x()) / kStep);
  for (int step = 0; step <= steps; ++step) {
    wave << from + QPointF(step * kStep, step % 2 == 0 ? 0 : -kHeight);
  }
  painter.drawPolyline(wave);
}

// As rich text a long sentence is wrapped.
void ShowTip(const QPoint& place, const QString& text, QWidget& field) {
  QToolTip::showText(
      place, text.isEmpty() ? text : Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal), &field);
}

int CharactersIn(const std::string& text, std::size_t bytes) {
  return static_cast<int>(QString::fromStdString(text.substr(0, bytes)).size());
}

}  // namespace

EquationField::EquationField(QWidget* parent)
    : QLineEdit(parent), completer_(new EquationCompleter(*this)) {
  pause_.setSingleShot(true);
  pause_.setInterval(kPause);
  connect(&pause_, &QTimer::timeout, this, &EquationField::Pause);
  connect(this, &QLineEdit::textChanged, this, &EquationField::Check);
}

void EquationField::SetAnswers(EquationAnswers answers) {
  answers_ = std::move(answers);
  completer_->SetChannels(answers_.channels);
  Check();
}

void EquationField::Check() {
  if (!answers_.findings) return;
  findings_ = answers_.findings(text().toStdString());
  if (typed_) QToolTip::hideText();
  pause_.start();
  update();
}

QString EquationField::State() const {
  QStringList lines;
  bool right = true;
  for (const EquationFinding& finding : findings_) {
    if (lines.size() < int{kMostReasons}) lines << QString::fromStdString(finding.sentence);
    right &= finding.severity != EquationFinding::Severity::Error;
  }
  if (right && answers_.value_now) lines << QString::fromStdString(answers_.value_now());
  return lines.join('\n');
}

// Screen readers hear it here and not at each letter.
void EquationField::Pause() {
  const QString state = State();
  QString spoken = state;
  if (!findings_.empty()) {
    const std::string equation = text().toStdString();
    spoken = QString::fromStdString(PlaceText(findings_.front().where, equation) + ": ") + state;
    spoken[0] = spoken[0].toUpper();
  }
  setAccessibleDescription(spoken);
  if (typed_ && hasFocus() && !completer_->IsOpen()) {
    ShowTip(mapToGlobal(QPoint(0, height())), state, *this);
  }
  typed_ = false;
}

bool EquationField::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    const QString state = State();
    const QString text = state.isEmpty() ? toolTip() : state + "\n" + toolTip();
    ShowTip(static_cast<QHelpEvent*>(event)->globalPos(), text, *this);
    return true;
  }
  if (event->type() == QEvent::KeyPress && completer_->TakesKey(*static_cast<QKeyEvent*>(event))) {
    return true;
  }
  return QLineEdit::event(event);
}

void EquationField::keyPressEvent(QKeyEvent* event) {
  const bool asks = event->key() == Qt::Key_Down ||
                    (event->key() == Qt::Key_Space && event->modifiers() == Qt::ControlModifier);
  if (asks && answers_.findings) {
    completer_->Offer();
    return;
  }
  const QString before = text();
  typed_ = true;
  QLineEdit::keyPressEvent(event);
  if (!event->matches(QKeySequence::Paste)) OfferWhileTyping(before);
}

void EquationField::inputMethodEvent(QInputMethodEvent* event) {
  const QString before = text();
  composing_ = !event->preeditString().isEmpty();
  typed_ = true;
  QLineEdit::inputMethodEvent(event);
  OfferWhileTyping(before);
}

void EquationField::OfferWhileTyping(const QString& before) {
  if (!answers_.findings || text() == before) return;
  if (completer_->InWord()) {
    completer_->Offer();
  } else {
    completer_->Close();
  }
}

void EquationField::mousePressEvent(QMouseEvent* event) {
  completer_->Close();
  QLineEdit::mousePressEvent(event);
}

void EquationField::focusOutEvent(QFocusEvent* event) {
  completer_->Close();
  QToolTip::hideText();
  QLineEdit::focusOutEvent(event);
}

void EquationField::paintEvent(QPaintEvent* event) {
  QLineEdit::paintEvent(event);
  if (findings_.empty() || composing_) return;
  QTextLayout layout(text(), font());
  layout.beginLayout();
  const QTextLine line = layout.createLine();
  layout.endLayout();
  // Where the field has scrolled to shows in where its cursor is.
  const QRect cursor = cursorRect();
  const qreal origin = cursor.center().x() + 1 - line.cursorToX(cursorPosition());
  constexpr int kMargin = 3;
  constexpr int kFrame = 2;  // where the field has the focus
  QPainter painter(this);
  painter.setClipRect(rect().adjusted(kMargin, 0, -kMargin, 0));
  const qreal low = std::min(cursor.bottom(), height() - kFrame - 1) + 0.25;
  const std::string equation = text().toStdString();
  for (const EquationFinding& finding : findings_) {
    painter.setPen(QPen(LineColor(finding.severity, palette().color(QPalette::Base)), 1));
    const qreal from = line.cursorToX(CharactersIn(equation, finding.where.begin));
    const qreal to = line.cursorToX(CharactersIn(equation, finding.where.end));
    DrawLine(painter, finding.severity, {std::round(origin + from), low}, origin + to);
  }
}

}  // namespace vantoscope
