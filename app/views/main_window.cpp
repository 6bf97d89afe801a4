#include "app/views/main_window.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QProgressBar>
#include <QStackedWidget>
#include <QStatusBar>

#include "app/model/app_model.h"
#include "app/views/forget_confirmation.h"
#include "app/views/notice_banner.h"
#include "app/views/scan_panel.h"
#include "app/views/text.h"

namespace tallyfin::app {
namespace {

// Ctrl+1 to Ctrl+9 reach the first nine screens.
constexpr int kNumberedRoutes = 9;

QKeySequence shortcutFor(Route route) {
  const int at = position(route);
  if (at >= kNumberedRoutes) return {};
  return QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + at));
}

}  // namespace

MainWindow::MainWindow(AppModel& model, ScreenRegistry screens, QWidget* parent)
    : QMainWindow(parent),
      model_(model),
      screens_(std::move(screens)),
      sidebar_(new QListWidget(this)),
      stack_(new QStackedWidget(this)),
      scanStatus_(new QLabel(this)),
      scanBar_(new QProgressBar(this)) {
  setWindowTitle("Tallyfin");
  resize(1180, 780);
  sidebar_->setAccessibleName("Screens");
  sidebar_->setFixedWidth(190);
  sidebar_->setFrameShape(QFrame::NoFrame);
  sidebar_->setStyleSheet("QListWidget::item { padding: 5px 12px; }");  // room to aim, in any palette
  for (const Route route : kRoutes) {
    auto* item = new QListWidgetItem(qstr(label(route)), sidebar_);
    const QKeySequence keys = shortcutFor(route);
    if (!keys.isEmpty()) item->setToolTip(keys.toString(QKeySequence::NativeText));
  }

  auto* content = new QWidget(this);
  auto* contentLayout = new QVBoxLayout(content);
  contentLayout->setContentsMargins(0, 0, 0, 0);
  contentLayout->setSpacing(0);
  contentLayout->addWidget(new NoticeBanner(model_, content));
  contentLayout->addWidget(stack_, 1);
  auto* central = new QWidget(this);
  auto* layout = new QHBoxLayout(central);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(sidebar_);
  layout->addWidget(content, 1);
  setCentralWidget(central);

  scanStatus_->setAccessibleName("Scan status");
  scanBar_->setRange(0, 1000);
  scanBar_->setMaximumWidth(160);
  scanBar_->setTextVisible(false);
  scanBar_->setAccessibleName("Scan progress");
  statusBar()->addWidget(scanStatus_, 1);
  statusBar()->addPermanentWidget(scanBar_);
  buildMenus();

  connect(sidebar_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (row >= 0) model_.setRoute(kRoutes[static_cast<size_t>(row)]);
  });
  connect(&model_, &AppModel::routeChanged, this, &MainWindow::showRoute);
  connect(&model_, &AppModel::whatsNewChanged, this, &MainWindow::markWhatsNew);
  markWhatsNew();
  connect(&model_.scanner(), &ScanController::progressChanged, this, &MainWindow::showScanStatus);
  connect(&model_.scanner(), &ScanController::scanningChanged, this, &MainWindow::showScanStatus);
  showRoute(model_.route());
  showScanStatus();
}

void MainWindow::buildMenus() {
  QMenu* file = menuBar()->addMenu("&Tallyfin");
  scan_ = file->addAction("&Scan Now", &model_.scanner(), &ScanController::scan);
  scan_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
  cancel_ = file->addAction("&Cancel Scan", &model_.scanner(), &ScanController::cancelScan);
  cancel_->setShortcut(QKeySequence(Qt::Key_Escape));
  file->addSeparator();
  file->addAction("&Delete Scan Data\u2026", this, [this] { confirmDeleteScanData(model_, this); });
  file->addSeparator();
  QAction* quit = file->addAction("&Quit", qApp, &QApplication::quit);
  quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));

  QMenu* go = menuBar()->addMenu("&Go");
  for (const Route route : kRoutes) {
    QAction* action = go->addAction(qstr(label(route)), this, [this, route] { model_.setRoute(route); });
    action->setShortcut(shortcutFor(route));
  }

  QMenu* view = menuBar()->addMenu("&View");
  const auto toggle = [&](const QString& text, bool on, auto set) {
    QAction* action = view->addAction(text);
    action->setCheckable(true);
    action->setChecked(on);
    connect(action, &QAction::toggled, &model_, set);
    return action;
  };
  QAction* tray = toggle("Show in the &Tray", model_.showMenuBar(), &AppModel::setShowMenuBar);
  QAction* free = toggle("Show &Free Space in the Tray", model_.menuBarShowsFree(), &AppModel::setMenuBarShowsFree);
  QAction* hide = toggle("&Hide from the Taskbar When Closed", model_.hideDockWhenClosed(), &AppModel::setHideDockWhenClosed);
  connect(&model_, &AppModel::menuBarChanged, this, [this, tray, free, hide] {
    tray->setChecked(model_.showMenuBar());
    free->setChecked(model_.menuBarShowsFree());
    hide->setChecked(model_.hideDockWhenClosed());
    // Hiding counts only while the tray shows the app, so it always stays reachable.
    free->setEnabled(model_.showMenuBar());
    hide->setEnabled(model_.showMenuBar());
  });
  free->setEnabled(model_.showMenuBar());
  hide->setEnabled(model_.showMenuBar());

  QMenu* appearance = view->addMenu("&Appearance");
  auto* choices = new QActionGroup(appearance);
  for (const auto& [name, value] : {std::pair{"&System", Appearance::system}, std::pair{"&Light", Appearance::light},
                                    std::pair{"&Dark", Appearance::dark}}) {
    QAction* action = appearance->addAction(name, this, [this, value = value] { model_.setAppearance(value); });
    action->setCheckable(true);
    action->setChecked(model_.appearance() == value);
    choices->addAction(action);
  }
}

QWidget* MainWindow::screen(Route route) {
  if (const auto found = made_.find(route); found != made_.end()) return found->second;
  QWidget* made = screens_.make(route, model_, stack_);
  made->setAccessibleName(qstr(label(route)));
  stack_->addWidget(made);
  made_[route] = made;
  return made;
}

void MainWindow::showRoute(Route route) {
  stack_->setCurrentWidget(screen(route));
  sidebar_->setCurrentRow(position(route));
  setWindowTitle(qstr(label(route)) + " \u2014 Tallyfin");
}

void MainWindow::markWhatsNew() {
  QListWidgetItem* item = sidebar_->item(position(Route::whatsNew));
  const bool unread = model_.whatsNewUnread();
  QFont font = item->font();
  font.setBold(unread);
  item->setFont(font);
  // A dot, not only the weight, so it shows in any style and reads out.
  item->setText(qstr(label(Route::whatsNew)) + (unread ? QString::fromUtf8("  \u25cf") : QString()));
  item->setData(Qt::AccessibleTextRole, qstr(label(Route::whatsNew)) + (unread ? ", not read yet" : ""));
}

void MainWindow::showScanStatus() {
  const auto& progress = model_.scanner().progress();
  scanBar_->setVisible(progress.has_value());
  cancel_->setEnabled(model_.scanner().isScanning());
  scan_->setEnabled(!model_.scanner().isScanning());
  if (!progress) {
    scanStatus_->clear();
    return;
  }
  scanBar_->setValue(static_cast<int>(progress->fraction() * 1000));
  scanStatus_->setText(progressText(*progress, model_.home()));
}

void MainWindow::bringToFront() {
  if (isMinimized()) showNormal();
  show();
  raise();
  activateWindow();
}

void MainWindow::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  model_.setLaunched();
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (!staysInTray_ || !model_.showMenuBar()) {
    event->accept();
    return;
  }
  // The app stays in the tray; without the taskbar entry when the user asked so.
  event->ignore();
  if (model_.hideDockWhenClosed()) {
    hide();
  } else {
    showMinimized();
  }
}

}  // namespace tallyfin::app
