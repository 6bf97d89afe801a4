#include "app/views/whats_new_screen.h"

#include <QBoxLayout>
#include <QTextBrowser>
#include <QTextDocument>

#include "app/model/app_model.h"
#include "app/model/help_library.h"
#include "app/views/screen_parts.h"

namespace tallyfin::app {

WhatsNewScreen::WhatsNewScreen(AppModel& model, QWidget* parent)
    : QWidget(parent), model_(model), notes_(new QTextBrowser(this)) {
  notes_->setAccessibleName("Release notes");
  notes_->setOpenExternalLinks(false);
  notes_->setFrameShape(QFrame::NoFrame);
  notes_->setMarkdown(HelpLibrary::whatsNew());
  notes_->document()->setDocumentMargin(14);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addWidget(pageTitle("What's New", this));
  layout->addWidget(notes_, 1);
}

void WhatsNewScreen::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  model_.markWhatsNewSeen();
}

}  // namespace tallyfin::app
