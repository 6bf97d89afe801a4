#pragma once

// The lists of the disk tools' screens: rows of cells, each with the text shown
// and the key it sorts by, optionally a tick box, and optionally rows below it
// (a project's clutter, a set's copies). A row above ticked rows shows whether
// all, some or none of them are ticked, and ticks or unticks them all.

#include <QAbstractItemModel>
#include <QStringList>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tallyfin::app {

class ToolListModel : public QAbstractItemModel {
  Q_OBJECT

 public:
  static constexpr int kSortRole = Qt::UserRole;

  struct Cell {
    Cell(QString text = {}, QVariant sortKey = {}, bool figure = false)
        : text(std::move(text)), sortKey(std::move(sortKey)), figure(figure) {}

    QString text;
    QVariant sortKey;  // none: the text
    bool figure;       // a size or a count: lined up on the right
  };
  struct Row {
    Row(std::string key, std::vector<Cell> cells, QString toolTip = {})
        : key(std::move(key)), cells(std::move(cells)), toolTip(std::move(toolTip)) {}

    std::string key;  // what the row stands for, usually a path
    std::vector<Cell> cells;
    QString toolTip;
    std::optional<bool> ticked;  // none: no tick box
    bool marked = false;         // drawn with the warning tint: it asks for attention
    // At least one of the rows below stays unticked (one copy of a set is kept).
    bool keepsOne = false;
    std::vector<Row> children;
  };

  explicit ToolListModel(QStringList headers, QObject* parent = nullptr);

  // Replaces every row; rows keep the ticks given here.
  void setRows(std::vector<Row> rows);
  const std::vector<Row>& rows() const { return rows_; }
  // The row of an index of this model; none for an invalid one.
  const Row* rowAt(const QModelIndex& index) const;
  // The first row with this key, top rows first, then the rows below them.
  QModelIndex indexOf(const std::string& key) const;
  // The keys of the ticked rows.
  std::set<std::string> ticked() const;
  // Ticks or unticks a row (all rows below it, for a row above others); whether it changed.
  bool setTicked(const QModelIndex& index, bool ticked);

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

 signals:
  void tickedChanged();

 private:
  Row* mutableRow(const QModelIndex& index);
  std::optional<Qt::CheckState> checkState(const Row& row) const;
  bool tickChild(Row& parent, Row& child, bool ticked);

  QStringList headers_;
  std::vector<Row> rows_;
};

}  // namespace tallyfin::app
