#include "app/views/copy_block.h"

#include <QBoxLayout>
#include <QClipboard>
#include <QGuiApplication>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>

#include <algorithm>

#include "app/model/app_model.h"

namespace tallyfin::app {

CopyBlock::CopyBlock(AppModel& model, const QString& what, int visibleLines, QWidget* parent)
    : QWidget(parent),
      model_(model),
      what_(what),
      mostLines_(visibleLines),
      text_(new QPlainTextEdit(this)),
      copy_(new QPushButton("Copy", this)) {
  QFont font("monospace");
  font.setStyleHint(QFont::Monospace);
  text_->setFont(font);
  text_->setReadOnly(true);
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);
  text_->setTabChangesFocus(true);
  text_->setAccessibleName(what);
  setText({});
  copy_->setAccessibleName("Copy " + what);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(text_, 1);
  layout->addWidget(copy_, 0, Qt::AlignTop);
  connect(copy_, &QPushButton::clicked, this, [this] {
    QGuiApplication::clipboard()->setText(text_->toPlainText());
    QString named = what_;
    if (!named.isEmpty()) named[0] = named[0].toUpper();
    model_.setNotice((named + " is copied.").toStdString(), true);
  });
}

void CopyBlock::setText(const QString& text) {
  text_->setPlainText(text);
  // As tall as the text, up to the lines asked for; a scroll bar beyond that.
  const int lines = std::clamp(static_cast<int>(text.count('\n')) + 1, 1, mostLines_);
  text_->setFixedHeight(text_->fontMetrics().lineSpacing() * lines + 2 * text_->frameWidth() +
                        2 * static_cast<int>(text_->document()->documentMargin()) +
                        text_->horizontalScrollBar()->sizeHint().height());
}

QString CopyBlock::text() const { return text_->toPlainText(); }

}  // namespace tallyfin::app
