#include "app/views/notice_banner.h"

#include <QBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

#include "app/model/app_model.h"
#include "app/views/colors.h"
#include "app/views/text.h"

namespace tallyfin::app {

NoticeBanner::NoticeBanner(AppModel& model, QWidget* parent)
    : QFrame(parent),
      model_(model),
      text_(new QLabel(this)),
      undo_(new QPushButton("Undo", this)),
      dismiss_(new QPushButton("Dismiss", this)) {
  setObjectName("noticeBanner");
  setFrameShape(QFrame::StyledPanel);
  setAccessibleName("Notice");
  text_->setWordWrap(true);
  text_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  text_->setObjectName("noticeText");
  text_->setAccessibleName("Notice text");
  undo_->setObjectName("noticeUndo");
  undo_->setAccessibleName("Undo the last move to the Trash");
  dismiss_->setAccessibleName("Dismiss the notice");
  auto* layout = new QHBoxLayout(this);
  layout->addWidget(text_, 1);
  layout->addWidget(undo_);
  layout->addWidget(dismiss_);

  connect(undo_, &QPushButton::clicked, this, [this] {
    if (const auto& outcome = model_.trash().lastOutcome()) model_.undo(outcome->batch);
  });
  connect(dismiss_, &QPushButton::clicked, &model_, &AppModel::dismissNotice);
  connect(&model_, &AppModel::noticeChanged, this, &NoticeBanner::refresh);
  connect(&model_.trash(), &TrashCoordinator::outcomeChanged, this, &NoticeBanner::refresh);
  connect(&model_.trash(), &TrashCoordinator::trashingChanged, this, &NoticeBanner::refresh);
  refresh();
}

void NoticeBanner::refresh() {
  setVisible(model_.notice().has_value());
  text_->setText(qstr(model_.notice().value_or("")));
  const auto& outcome = model_.trash().lastOutcome();
  undo_->setVisible(outcome && !outcome->moved.empty());
  undo_->setEnabled(!model_.trash().isTrashing());
  update();
}

// A tint of green or amber over the window's own colour, so the text stays readable.
void NoticeBanner::paintEvent(QPaintEvent* event) {
  const QColor tint = model_.noticeIsSuccess() ? successColor(palette()) : warningColor(palette());
  const QColor window = palette().color(QPalette::Window);
  const auto mix = [](float a, float b) { return a * 0.8f + b * 0.2f; };
  QPainter painter(this);
  painter.fillRect(rect(), QColor::fromRgbF(mix(window.redF(), tint.redF()), mix(window.greenF(), tint.greenF()),
                                            mix(window.blueF(), tint.blueF())));
  painter.end();
  QFrame::paintEvent(event);
}

}  // namespace tallyfin::app
