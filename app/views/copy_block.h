#pragma once

// A block of text to paste somewhere else (a settings entry, the agent guide),
// shown as it is in a fixed-width font, with a Copy button; the notice says what
// was copied.

#include <QWidget>

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace tallyfin::app {

class AppModel;

class CopyBlock : public QWidget {
  Q_OBJECT

 public:
  // `what` names the text in the notice and for screen readers ("the agent guide");
  // the block grows with its text up to `visibleLines` lines.
  CopyBlock(AppModel& model, const QString& what, int visibleLines, QWidget* parent);

  void setText(const QString& text);
  QString text() const;
  QPushButton* copyButton() const { return copy_; }

 private:
  AppModel& model_;
  QString what_;
  int mostLines_;
  QPlainTextEdit* text_;
  QPushButton* copy_;
};

}  // namespace tallyfin::app
