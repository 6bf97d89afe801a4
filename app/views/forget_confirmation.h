#pragma once

class QMessageBox;
class QWidget;

namespace tallyfin::app {

class AppModel;

// Asks before the saved report, the history chart and the change tracking are
// deleted (the keep list and the Trash journal stay), and deletes them on "Delete".
// The question shows at once, window-modal; it is returned for tests to answer.
QMessageBox* confirmDeleteScanData(AppModel& model, QWidget* parent);

}  // namespace tallyfin::app
