#pragma once

// The disk map: the report's tree as a sunburst, a treemap or a city, coloured by
// file kind or age, with the trail of folders zoomed into, what lies under the
// mouse, the actions on an item (Show in Folder, Copy Path, Keep, Move to Trash),
// a live listing where the report folded a folder's contents away, and beside it
// the recommendations, each leading to its place on the map or its suggestions.

#include <QWidget>

class QButtonGroup;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QSortFilterProxyModel;
class QStandardItemModel;

namespace tallyfin::app {

class AppModel;
class MapCanvas;

class MapScreen : public QWidget {
  Q_OBJECT

 public:
  explicit MapScreen(AppModel& model, QWidget* parent = nullptr);

  MapCanvas* canvas() const { return canvas_; }
  QLabel* itemLine() const { return itemLine_; }

 private:
  void showTrail();
  void showFolderState();
  void showItem();
  void showLegend();
  void fillRecommendations();
  // Whether the recommendations are still coming, and what the chosen one leads to.
  void showRecommendations();
  void showEmptyText();
  void openMenu(size_t index, QPoint at);
  void confirmTrash(const std::string& path, int64_t size);
  // The recommendation chosen in the list, as its index in the model's list.
  int chosenRecommendation() const;

  AppModel& model_;
  QButtonGroup* kinds_;
  QComboBox* colors_;
  QHBoxLayout* trail_;
  QPushButton* zoomOut_;
  MapCanvas* canvas_;
  QLabel* folderState_;
  QPushButton* listLive_;
  QLabel* itemLine_;
  QLabel* legend_;
  QLineEdit* filter_;
  QStandardItemModel* advice_;
  QSortFilterProxyModel* shownAdvice_;
  QListView* adviceList_;
  QLabel* adviceState_;
  QPushButton* showOnMap_;
  QPushButton* reviewItems_;
};

}  // namespace tallyfin::app
