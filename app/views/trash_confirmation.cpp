#include "app/views/trash_confirmation.h"

#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>

#include "app/views/text.h"

namespace tallyfin::app {

TrashConfirmation::TrashConfirmation(const std::vector<Entry>& entries, QWidget* parent) : QDialog(parent) {
  setWindowTitle("Move to Trash");
  int64_t total = 0;
  for (const auto& entry : entries) total += entry.size;
  auto* question = new QLabel(
      "Move " + countOf(static_cast<int64_t>(entries.size()), "item", "items") + " (" + bytesText(total) +
          ") to the Trash?",
      this);
  QFont bold = question->font();
  bold.setBold(true);
  question->setFont(bold);
  auto* note = new QLabel("Each item is checked again right before it moves. Undo puts a batch back.", this);
  note->setWordWrap(true);

  auto* list = new QTreeWidget(this);
  list->setAccessibleName("What moves to the Trash");
  list->setRootIsDecorated(false);
  list->setHeaderLabels({"Item", "Size", "Location"});
  for (const auto& entry : entries) {
    auto* row = new QTreeWidgetItem(list, {entry.title, bytesText(entry.size), entry.place});
    row->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
  }
  list->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);

  auto* buttons = new QDialogButtonBox(this);
  QPushButton* move = buttons->addButton("Move to Trash", QDialogButtonBox::AcceptRole);
  move->setObjectName("confirmMove");
  move->setAccessibleName("Move to Trash");
  QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
  cancel->setDefault(true);  // Enter never moves anything by accident
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(question);
  layout->addWidget(note);
  layout->addWidget(list, 1);
  layout->addWidget(buttons);
  resize(640, 360);
}

void TrashConfirmation::ask(const std::vector<Entry>& entries, QWidget* parent, std::function<void()> confirmed) {
  auto* dialog = new TrashConfirmation(entries, parent);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  connect(dialog, &QDialog::accepted, dialog, std::move(confirmed));
  dialog->open();
}

}  // namespace tallyfin::app
