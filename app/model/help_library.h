#pragma once

// The help articles and this version's release notes, shipped as Markdown inside
// the app. Articles have a short name ("trash-and-undo", what `helpTopic` holds),
// a title (their first heading) and their text, in a fixed reading order.

#include <QString>

#include <optional>
#include <vector>

namespace tallyfin::app {

struct HelpArticle {
  QString name;
  QString title;
  QString markdown;
};

class HelpLibrary {
 public:
  // Reads the articles from the app's resources.
  HelpLibrary();

  const std::vector<HelpArticle>& articles() const { return articles_; }
  const HelpArticle* article(const QString& name) const;
  // The articles holding every word of `query` in their title or text, ignoring
  // case, in reading order; all of them for an empty query.
  std::vector<const HelpArticle*> search(const QString& query) const;

  // The release notes of this version.
  static QString whatsNew();

 private:
  std::vector<HelpArticle> articles_;
};

}  // namespace tallyfin::app
