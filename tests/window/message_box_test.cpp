// SPDX-License-Identifier: GPL-3.0-or-later
// Message boxes with real widgets on a screen in memory: how they wrap, what is copied.
#include "presentation/message_box.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QTest>

#include "presentation/message_text.h"

namespace vantoscope {
namespace {

std::string Lines(const QString& text, int characters) {
  const QFontMetricsF metrics(QApplication::font());
  QString lines;
  qsizetype start = 0;
  for (const int end :
       LineEnds(text, metrics, metrics.horizontalAdvance(QString(characters, 'C')))) {
    lines += text.mid(start, end - start) + "|";
    start = end;
  }
  return lines.toStdString();
}

TEST(MessageText, EndsItsLinesBehindOperators) {
  EXPECT_EQ(Lines("(CC-CC)*CCC", 8), "(CC-CC)*|CCC|");
  EXPECT_EQ(Lines("CCCC not in", 7), "CCCC not |in|");
  EXPECT_EQ(Lines("CCC*1E-5555", 8), "CCC*|1E-5555|") << "not behind the sign of an exponent";
  EXPECT_EQ(Lines("CCC*CC[T-1]3", 9), "CCC*|CC[T-1]3|") << "not inside a suffix";
  EXPECT_EQ(Lines("CCCCC^-CCCC", 7), "CCCCC^-|CCCC|") << "not between two signs";
  EXPECT_EQ(Lines("CCCCCCCCCC", 4), "CCCC|CCCC|CC|") << "where there is no other way";
  EXPECT_EQ(Lines("CC\nC\n\nC", 9), "CC\n|C\n|\n|C|");
  EXPECT_EQ(Lines("", 9), "");
}

void Open(MessageBox& box) {
  box.show();
  box.activateWindow();
  EXPECT_TRUE(QTest::qWaitForWindowActive(&box));
}

TEST(MessageBox, CopiesTheTextAsItIsAndTheOperandUnderAPointer) {
  QString text = "Channel(s) not found in Telvix (#99";
  while (text.size() < 400) text += "*#1";
  text += ")\n2nd line";
  MessageBox box(MessageIcon::Critical, text, QDialogButtonBox::Ok, nullptr);
  Open(box);
  EXPECT_LT(box.width(), 640);
  QClipboard& clipboard = *QApplication::clipboard();
  QTest::keyClick(&box, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(clipboard.text(), text);
  auto& shown = dynamic_cast<MessageText&>(*box.findChild<QWidget*>("text"));
  EXPECT_GT(shown.height(), 4 * shown.fontMetrics().height()) << "all of it, on lines of its own";
  const int token = shown.fontMetrics().horizontalAdvance("Channel(s) not found in Telvix (#");
  QTest::mouseDClick(&shown, Qt::LeftButton, {}, {token, 5});
  QTest::keyClick(&box, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(clipboard.text(), "#99");
  QTest::mousePress(&shown, Qt::LeftButton, {}, {0, 5});
  QTest::mouseMove(&shown, {0, shown.height() - 3});
  QTest::mouseRelease(&shown, Qt::LeftButton, {}, {0, shown.height() - 3});
  QTest::keyClick(&box, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(clipboard.text() + "2nd line", text) << "across lines, with their break";
}

// A text of any length stays on the screen; Return and Escape close.
TEST(MessageBox, FitsTheScreenAndClosesByKey) {
  for (const auto key : {Qt::Key_Return, Qt::Key_Escape, Qt::Key_Space}) {
    MessageBox box(MessageIcon::None, QString("word ").repeated(5000), QDialogButtonBox::Ok,
                   nullptr);
    Open(box);
    const QSize room = box.screen()->availableGeometry().size();
    EXPECT_EQ(box.size().boundedTo(room), box.size());
    QTest::keyClick(QApplication::focusWidget(), key);
    EXPECT_FALSE(box.isVisible());
  }
}

}  // namespace
}  // namespace vantoscope
