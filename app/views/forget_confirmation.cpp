#include "app/views/forget_confirmation.h"

#include <QAbstractButton>
#include <QMessageBox>

#include "app/model/app_model.h"

namespace tallyfin::app {

QMessageBox* confirmDeleteScanData(AppModel& model, QWidget* parent) {
  auto* ask = new QMessageBox(QMessageBox::Question, "Delete Scan Data",
                              "Delete the scan data? This removes the saved report, the history chart and the change "
                              "tracking. The keep list and the Trash journal stay, so Undo still works.",
                              QMessageBox::Cancel, parent);
  ask->addButton("Delete", QMessageBox::DestructiveRole);
  ask->setDefaultButton(QMessageBox::Cancel);
  ask->setAttribute(Qt::WA_DeleteOnClose);
  QObject::connect(ask, &QMessageBox::buttonClicked, &model, [&model, ask](QAbstractButton* button) {
    if (ask->buttonRole(button) == QMessageBox::DestructiveRole) model.scanner().deleteData();
  });
  ask->open();
  return ask;
}

}  // namespace tallyfin::app
