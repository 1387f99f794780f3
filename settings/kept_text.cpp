// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/kept_text.h"

#include <QToolTip>
#include <QValidator>
#include <algorithm>

#include "meter/profile.h"

namespace vantoscope {
namespace {

class KeptText final : public QValidator {
 public:
  KeptText(QObject* parent, FrontBlank front) : QValidator(parent), front_(front) {}

  State validate(QString& text, int& /*cursor*/) const override {
    for (QChar& c : text) {
      if (c == '\n' || c == '\r' || c == QChar::Null) c = ' ';
    }
    if (front_ == FrontBlank::KeptAsNoBreakSpace) {
      const auto is_blank = [](QChar c) { return c == ' ' || c == '\t' || c == QChar::Nbsp; };
      std::fill(text.begin(), std::find_if_not(text.begin(), text.end(), is_blank), QChar::Nbsp);
    }
    return static_cast<std::size_t>(text.toUtf8().size()) <= kProfileValueLimit ? Acceptable
                                                                                : Invalid;
  }

 private:
  FrontBlank front_;
};

}  // namespace

void TakeOnlyWhatIsKept(QLineEdit& field, FrontBlank front) {
  field.setValidator(new KeptText(&field, front));
  QObject::connect(&field, &QLineEdit::inputRejected, &field, [&field] {
    QToolTip::showText(
        field.mapToGlobal(QPoint(0, field.height())),
        QString("The settings file keeps %1 bytes; this would be longer.").arg(kProfileValueLimit),
        &field);
  });
}

}  // namespace vantoscope
