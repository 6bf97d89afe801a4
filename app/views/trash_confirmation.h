#pragma once

// Asks before anything moves: what would go to the Trash, each with its size and
// place, and the total. It opens window-modal and reports through accepted().

#include <QDialog>

#include <cstdint>
#include <functional>
#include <vector>

namespace tallyfin::app {

class TrashConfirmation : public QDialog {
  Q_OBJECT

 public:
  struct Entry {
    QString title;
    QString place;
    int64_t size = 0;
  };

  TrashConfirmation(const std::vector<Entry>& entries, QWidget* parent);

  // Opens it over `parent` and calls `confirmed` once the user agrees.
  static void ask(const std::vector<Entry>& entries, QWidget* parent, std::function<void()> confirmed);
};

}  // namespace tallyfin::app
