// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/shortcuts.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QShortcut>
#include <QToolTip>
#include <utility>

#include "settings/open_address.h"

namespace vantoscope {
namespace {

void Tell(Form0& form, const QString& sentence) {
  constexpr int kMilliseconds = 2000;
  QToolTip::showText(form.mapToGlobal(QPoint(0, form.height())), sentence, &form, {},
                     kMilliseconds);
  form.Announce(sentence.toStdString());
}

void Copy(Form0& form, MeterWatch& watch, std::string (*text_of)(const ReadingParts&)) {
  const ReadingState state = watch.Judge().state;
  if (state == ReadingState::Waiting || state == ReadingState::Stopped) {
    Tell(form, "There is no reading to copy.");
    return;
  }
  const QString text = QString::fromStdString(text_of(watch.Parts()));
  QGuiApplication::clipboard()->setText(text);
  Tell(form, "Copied: " + QString(text).replace('\t', "  "));
}

template <typename Keys, typename Action>
void Add(Form0& form, const Keys& keys, Action action) {
  auto* shortcut = new QShortcut(keys, &form);
  shortcut->setAutoRepeat(false);
  QObject::connect(shortcut, &QShortcut::activated, &form, std::move(action));
}

}  // namespace

void AddShortcuts(Form0& form, MeterWatch& watch, std::function<void()> swap_look) {
  Add(form, QKeySequence::Copy, [&form, &watch] {
    Copy(form, watch, [](const ReadingParts& parts) { return parts.shown; });
  });
  Add(form, QKeySequence("Ctrl+Shift+C"), [&form, &watch] { Copy(form, watch, TableLine); });
  Add(form, QKeySequence("F1"), [] { OpenAddress(HelpPage()); });
  Add(form, QKeySequence("F11"), std::move(swap_look));
}

}  // namespace vantoscope
