#include "app/model/help_library.h"

#include <QFile>

#include <algorithm>
#include <array>

// Resources of a static library are loaded by hand, by a name outside any namespace.
static void loadHelpResources() { Q_INIT_RESOURCE(help); }

namespace tallyfin::app {
namespace {

// The reading order: what the labels mean first, privacy last.
constexpr std::array<const char*, 7> kArticles = {"safe-and-review",    "trash-and-undo", "never-touched",
                                                  "scheduled-scans",    "mcp-server",     "updates",
                                                  "privacy"};

QString resourceText(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return {};
  return QString::fromUtf8(file.readAll());
}

// The text of the first "# " heading.
QString titleOf(const QString& markdown) {
  for (const QString& line : markdown.split('\n')) {
    if (line.startsWith("# ")) return line.mid(2).trimmed();
  }
  return {};
}

}  // namespace

HelpLibrary::HelpLibrary() {
  loadHelpResources();
  for (const char* name : kArticles) {
    const QString markdown = resourceText(QString(":/help/%1.md").arg(name));
    articles_.push_back({name, titleOf(markdown), markdown});
  }
}

const HelpArticle* HelpLibrary::article(const QString& name) const {
  const auto found =
      std::find_if(articles_.begin(), articles_.end(), [&](const HelpArticle& article) { return article.name == name; });
  return found == articles_.end() ? nullptr : &*found;
}

std::vector<const HelpArticle*> HelpLibrary::search(const QString& query) const {
  const QStringList words = query.split(' ', Qt::SkipEmptyParts);
  std::vector<const HelpArticle*> found;
  for (const HelpArticle& article : articles_) {
    const bool all = std::all_of(words.begin(), words.end(), [&](const QString& word) {
      return article.title.contains(word, Qt::CaseInsensitive) || article.markdown.contains(word, Qt::CaseInsensitive);
    });
    if (all) found.push_back(&article);
  }
  return found;
}

QString HelpLibrary::whatsNew() {
  loadHelpResources();
  return resourceText(":/whats-new.md");
}

}  // namespace tallyfin::app
