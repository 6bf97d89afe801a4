#include "app/views/help_screen.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTextBrowser>
#include <QTextDocument>
#include <QToolButton>

#include <algorithm>

#include "app/model/app_model.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"

namespace tallyfin::app {
namespace {

constexpr int kNameRole = Qt::UserRole;

}  // namespace

HelpScreen::HelpScreen(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      search_(new QLineEdit(this)),
      topics_(new QListWidget(this)),
      empty_(textLine({}, this)),
      article_(new QTextBrowser(this)) {
  search_->setPlaceholderText("Search help");
  search_->setClearButtonEnabled(true);
  search_->setAccessibleName("Search the help articles");
  for (QToolButton* clear : search_->findChildren<QToolButton*>()) clear->setAccessibleName("Clear the search");
  topics_->setAccessibleName("Help articles");
  topics_->setFixedWidth(250);
  empty_->setObjectName("noMatch");
  empty_->setAccessibleName("No article matches");
  article_->setAccessibleName("Help article");
  // Links between articles open here; nothing is fetched from anywhere.
  article_->setOpenLinks(false);
  article_->document()->setDocumentMargin(14);

  auto* side = new QVBoxLayout;
  side->addWidget(search_);
  side->addWidget(topics_, 1);
  side->addWidget(empty_);
  auto* body = new QHBoxLayout;
  body->addLayout(side);
  body->addWidget(article_, 1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addWidget(pageTitle("Help", this));
  layout->addLayout(body, 1);

  connect(search_, &QLineEdit::textChanged, this, &HelpScreen::listMatches);
  connect(topics_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
    if (item) model_.setHelpTopic(item->data(kNameRole).toString().toStdString());
  });
  connect(&model_, &AppModel::helpTopicChanged, this, &HelpScreen::showTopic);
  connect(article_, &QTextBrowser::anchorClicked, this,
          [this](const QUrl& link) { model_.openHelp(link.toString().toStdString()); });
  listMatches();
  showTopic();
}

void HelpScreen::listMatches() {
  const auto matches = library_.search(search_->text());
  const QSignalBlocker quiet(topics_);
  topics_->clear();
  for (const HelpArticle* article : matches) {
    auto* item = new QListWidgetItem(article->title, topics_);
    item->setData(kNameRole, article->name);
  }
  empty_->setText("No article mentions \u201c" + search_->text().trimmed() + "\u201d. Try fewer or other words.");
  empty_->setVisible(matches.empty());
  if (!matches.empty()) {
    // The article shown stays chosen while it matches; otherwise the best match shows.
    const QString shown = qstr(model_.helpTopic());
    const auto still = std::find_if(matches.begin(), matches.end(), [&](const auto* a) { return a->name == shown; });
    const HelpArticle* pick = still != matches.end() ? *still : matches.front();
    model_.setHelpTopic(pick->name.toStdString());
  }
  showTopic();
}

void HelpScreen::showTopic() {
  const HelpArticle* shown = library_.article(qstr(model_.helpTopic()));
  if (!shown) shown = &library_.articles().front();
  article_->setMarkdown(shown->markdown);
  // The search's words stand out in the article.
  QList<QTextEdit::ExtraSelection> marks;
  for (const QString& word : search_->text().split(' ', Qt::SkipEmptyParts)) {
    QTextCursor at(article_->document());
    while (!(at = article_->document()->find(word, at)).isNull()) {
      QTextEdit::ExtraSelection mark;
      mark.cursor = at;
      mark.format.setBackground(palette().color(QPalette::Highlight));
      mark.format.setForeground(palette().color(QPalette::HighlightedText));
      marks.push_back(mark);
    }
  }
  article_->setExtraSelections(marks);
  const QSignalBlocker quiet(topics_);
  for (int row = 0; row < topics_->count(); ++row) {
    if (topics_->item(row)->data(kNameRole).toString() == shown->name) topics_->setCurrentRow(row);
  }
}

}  // namespace tallyfin::app
