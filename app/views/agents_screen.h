#pragma once

// The AI assistants Tallyfin can serve as an MCP server: which are installed and
// connected, Connect and Disconnect (the same edit, backup and checks as
// `tallyfin connect`), the entry to add by hand with Copy, and the agent guide.

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;

namespace tallyfin::app {

class AppModel;
class CopyBlock;
class ToolList;
class ToolListModel;

class AgentsScreen : public QWidget {
  Q_OBJECT

 public:
  explicit AgentsScreen(AppModel& model, QWidget* parent = nullptr);

  ToolList* clients() const { return clients_; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void refresh();
  void showCurrent();

  AppModel& model_;
  QLabel* state_;
  QPushButton* refresh_;
  ToolListModel* rows_;
  ToolList* clients_;
  QLineEdit* filter_;
  QPushButton* connect_;
  QPushButton* disconnect_;
  QLabel* manualHeading_;
  QLabel* manualNote_;
  CopyBlock* manual_;
  CopyBlock* guide_;
};

}  // namespace tallyfin::app
