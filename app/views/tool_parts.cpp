#include "app/views/tool_parts.h"

#include <QBoxLayout>
#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <algorithm>

#include "app/model/app_model.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"

namespace tallyfin::app {

ToolList::ToolList(ToolListModel* rows, const QString& accessibleName, QWidget* parent)
    : QTreeView(parent), rows_(rows), sorted_(new QSortFilterProxyModel(this)) {
  sorted_->setSourceModel(rows_);
  sorted_->setSortRole(ToolListModel::kSortRole);
  sorted_->setFilterCaseSensitivity(Qt::CaseInsensitive);
  sorted_->setFilterKeyColumn(-1);
  sorted_->setRecursiveFilteringEnabled(true);
  sorted_->setAutoAcceptChildRows(true);
  setModel(sorted_);
  setAccessibleName(accessibleName);
  setSortingEnabled(true);
  setUniformRowHeights(true);
  setAlternatingRowColors(true);
  setTextElideMode(Qt::ElideMiddle);
  header()->setStretchLastSection(false);
  header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  header()->setSectionResizeMode(0, QHeaderView::Stretch);
  connect(rows_, &QAbstractItemModel::modelReset, this, [this] {
    expandAll();
    if (!currentIndex().isValid() && sorted_->rowCount() > 0) setCurrentIndex(sorted_->index(0, 0));
    applyFit();
  });
}

void ToolList::fitRows(int most) {
  mostRows_ = most;
  applyFit();
}

void ToolList::applyFit() {
  if (mostRows_ <= 0) return;
  const int rows = std::clamp(sorted_->rowCount(), 1, mostRows_);
  const int rowHeight = sorted_->rowCount() > 0 ? sizeHintForRow(0) : fontMetrics().height() + 6;
  setFixedHeight(header()->sizeHint().height() + rows * rowHeight + 2 * frameWidth());
}

const ToolListModel::Row* ToolList::currentRow() const { return rows_->rowAt(sorted_->mapToSource(currentIndex())); }

void ToolList::setRows(std::vector<ToolListModel::Row> rows) {
  const std::string current = currentRow() ? currentRow()->key : std::string();
  rows_->setRows(std::move(rows));
  if (const QModelIndex again = rows_->indexOf(current); again.isValid())
    setCurrentIndex(sorted_->mapFromSource(again));
}

QLineEdit* ToolList::makeFilterBox(const QString& placeholder, const QString& accessibleName, QWidget* parent) {
  auto* box = new QLineEdit(parent);
  box->setPlaceholderText(placeholder);
  box->setClearButtonEnabled(true);
  box->setAccessibleName(accessibleName);
  for (QToolButton* clear : box->findChildren<QToolButton*>()) clear->setAccessibleName("Clear the search");
  connect(box, &QLineEdit::textChanged, sorted_, &QSortFilterProxyModel::setFilterFixedString);
  return box;
}

CommandRow::CommandRow(AppModel& model, const QString& accessibleName, QWidget* parent)
    : QWidget(parent), model_(model), text_(textLine({}, this)), copy_(new QPushButton("Copy", this)) {
  QFont font("monospace");
  font.setStyleHint(QFont::Monospace);
  text_->setFont(font);
  text_->setAccessibleName(accessibleName);
  copy_->setAccessibleName("Copy: " + accessibleName);
  copy_->setToolTip("Copies the command; Tallyfin never runs it");
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(text_, 1);
  layout->addWidget(copy_);
  connect(copy_, &QPushButton::clicked, this, [this] {
    QGuiApplication::clipboard()->setText(qstr(command_));
    model_.setNotice("Copied: " + command_, true);
  });
  setVisible(false);
}

void CommandRow::setCommand(const std::optional<std::string>& command) {
  command_ = command.value_or("");
  text_->setText("$ " + qstr(command_));
  setVisible(command.has_value());
}

QString CommandRow::command() const { return qstr(command_); }

ToolListModel::Cell sizeCell(int64_t bytes) { return {bytesText(bytes), static_cast<qlonglong>(bytes), true}; }

ToolListModel::Cell countCell(int64_t count) { return {countText(count), static_cast<qlonglong>(count), true}; }

ToolListModel::Cell ageCell(std::optional<int64_t> secondsSince1970, double now) {
  if (!secondsSince1970) return {QString::fromUtf8("\u2014"), static_cast<qlonglong>(0)};
  QString age = ageText(static_cast<double>(*secondsSince1970), now);
  if (age != "today" && age != "yesterday") age += " ago";
  return {age, static_cast<qlonglong>(*secondsSince1970)};
}

ToolListModel::Cell textCell(const std::optional<std::string>& text, const QString& missing) {
  return {text ? qstr(*text) : missing, {}};
}

QSplitter* listAboveDetails(QWidget* list, QWidget* details, QWidget* parent) {
  auto* split = new QSplitter(Qt::Vertical, parent);
  split->addWidget(list);
  split->addWidget(details);
  split->setStretchFactor(0, 3);
  split->setStretchFactor(1, 2);
  split->setChildrenCollapsible(false);
  return split;
}

QLabel* stateLine(QWidget* parent) {
  QLabel* line = textLine({}, parent);
  line->setObjectName("toolState");
  line->setAccessibleName("What this screen is doing");
  return line;
}

}  // namespace tallyfin::app
