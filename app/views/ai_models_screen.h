#pragma once

// The local AI models of Ollama, LM Studio and the Hugging Face cache, with what
// each is, and the weights stored more than once with what removing a copy frees.
// Ollama keeps its own store: its models are removed with its command, to copy.

#include "app/views/tool_screen.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace tallyfin::app {

class CommandRow;
class ToolList;
class ToolListModel;

class AIModelsScreen : public ToolScreen {
  Q_OBJECT

 public:
  explicit AIModelsScreen(AppModel& model, QWidget* parent = nullptr);

  ToolList* models() const { return models_; }
  ToolList* storedTwice() const { return twice_; }

 protected:
  void refresh() override;

 private:
  void showCurrent();
  const AIModel* currentModel() const;
  void confirmTrash();

  QLabel* state_;
  QPushButton* refresh_;
  ToolListModel* modelRows_;
  ToolList* models_;
  QLineEdit* filter_;
  QLabel* title_;
  QLabel* detail_;
  CommandRow* command_;
  QPushButton* reveal_;
  QPushButton* trash_;
  QLabel* twiceHeading_;
  QLabel* twiceNote_;
  ToolListModel* twiceRows_;
  ToolList* twice_;
};

}  // namespace tallyfin::app
