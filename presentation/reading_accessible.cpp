// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/reading_accessible.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QAccessibleWidget>
#include <QFontMetrics>

#include "presentation/form0.h"
#include "presentation/reading_label.h"

namespace vantoscope {
namespace {

/// A text without cursor or selection, and a value that nobody sets.
class ReadingInterface final : public QAccessibleWidget,
                               public QAccessibleTextInterface,
                               public QAccessibleValueInterface {
 public:
  explicit ReadingInterface(ReadingLabel& label)
      : QAccessibleWidget(&label, QAccessible::EditableText), label_(label) {}

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
    if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }

  QString text(QAccessible::Text kind) const override {
    if (kind == QAccessible::Value) return label_.Text();
    if (kind == QAccessible::Description) return Asked().beside;
    return QAccessibleWidget::text(kind);
  }

  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = true;
    return state;
  }

  QString text(int start, int end) const override { return label_.Text().mid(start, end - start); }
  int characterCount() const override { return static_cast<int>(label_.Text().size()); }
  QRect characterRect(int offset) const override {
    const QRect all = rect();
    const auto right_of = [&](int count) {
      return label_.fontMetrics().horizontalAdvance(label_.Text(), count);
    };
    return {all.x() + right_of(offset), all.y(), right_of(offset + 1) - right_of(offset),
            all.height()};
  }
  int offsetAtPoint(const QPoint& point) const override {
    for (int offset = 0; offset < characterCount(); ++offset) {
      if (characterRect(offset).contains(point)) return offset;
    }
    return -1;
  }
  QString attributes(int /*offset*/, int* start, int* end) const override {
    *start = 0;
    *end = characterCount();
    return {};
  }
  int cursorPosition() const override { return 0; }
  void setCursorPosition(int /*position*/) override {}
  int selectionCount() const override { return 0; }
  void selection(int /*index*/, int* start, int* end) const override { *start = *end = 0; }
  void addSelection(int /*start*/, int /*end*/) override {}
  void removeSelection(int /*index*/) override {}
  void setSelection(int /*index*/, int /*start*/, int /*end*/) override {}
  void scrollToSubstring(int /*start*/, int /*end*/) override {}

  QVariant currentValue() const override { return Asked().value; }
  QVariant minimumValue() const override { return Asked().low; }
  QVariant maximumValue() const override { return Asked().high; }
  QVariant minimumStepSize() const override { return 0.0; }
  void setCurrentValue(const QVariant& /*value*/) override {}

 private:
  [[nodiscard]] SpokenReading Asked() const {
    return label_.OnAskSpoken ? label_.OnAskSpoken() : SpokenReading{};
  }

  ReadingLabel& label_;
};

/// What the desktop's screen reader speaks when it shows up: a notification.
class AnnouncerInterface final : public QAccessibleObject {
 public:
  explicit AnnouncerInterface(Announcer& announcer)
      : QAccessibleObject(&announcer), announcer_(announcer) {}

  QAccessibleInterface* parent() const override {
    return QAccessible::queryAccessibleInterface(announcer_.parent());
  }
  QAccessibleInterface* child(int /*index*/) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface* /*child*/) const override { return -1; }
  QString text(QAccessible::Text kind) const override {
    return kind == QAccessible::Name ? announcer_.Sentence() : QString();
  }
  QAccessible::Role role() const override { return QAccessible::Notification; }
  QAccessible::State state() const override { return {}; }

 private:
  Announcer& announcer_;
};

QAccessibleInterface* InterfaceOf(const QString& /*class_name*/, QObject* object) {
  if (auto* label = dynamic_cast<ReadingLabel*>(object)) return new ReadingInterface(*label);
  if (auto* form = dynamic_cast<Form0*>(object)) {
    return new QAccessibleWidget(form, QAccessible::Window);
  }
  if (auto* announcer = dynamic_cast<Announcer*>(object)) return new AnnouncerInterface(*announcer);
  return nullptr;
}

}  // namespace

void InstallReadingAccessible() { QAccessible::installFactory(InterfaceOf); }

bool SomebodyListens() { return QAccessible::isActive(); }

void Announcer::Say(const QString& sentence) {
  sentence_ = sentence;
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
  QAccessibleAnnouncementEvent event(parent(), sentence);
#else
  QAccessibleEvent event(this, QAccessible::ObjectShow);
#endif
  QAccessible::updateAccessibility(&event);
}

}  // namespace vantoscope
