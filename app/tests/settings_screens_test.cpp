// The agents, help, what's-new and profile screens in the real window, driven
// offscreen as a user would.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QButtonGroup>
#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QTextBrowser>

#include "app/model/app_model.h"
#include "app/tests/app_home.h"
#include "app/tests/find_widget.h"
#include "app/tests/scanned_window.h"
#include "app/views/agents_screen.h"
#include "app/views/automation_panel.h"
#include "app/views/copy_block.h"
#include "app/views/help_screen.h"
#include "app/views/keep_list_panel.h"
#include "app/views/main_window.h"
#include "app/views/profile_screen.h"
#include "app/views/tool_parts.h"
#include "kit/agents/agent_guide.h"
#include "kit/cleanup/keep_list.h"
#include "tests/support/temp_folder.h"

namespace tallyfin::app {
namespace {

using testing::AppHome;
using testing::eventually;
using testing::find;
using testing::ScannedWindow;

using SettingsWindow = ScannedWindow;

TEST_F(SettingsWindow, AnAssistantIsConnectedFromItsRowAndTheGuideIsCopied) {
  tallyfin::testing::makeFolder(home / ".cursor");
  auto* screen = open<AgentsScreen>(Route::agents);
  ASSERT_NE(screen, nullptr);
  ToolList* clients = screen->clients();
  ASSERT_TRUE(eventually([&] { return clients->rows()->indexOf("cursor").isValid(); }));
  clients->setCurrentIndex(clients->sorted()->mapFromSource(clients->rows()->indexOf("cursor")));
  auto* disconnect = find<QPushButton>(screen, "disconnectAgent");
  EXPECT_FALSE(disconnect->isEnabled());
  EXPECT_NE(find<CopyBlock>(screen, "manualEntry")->text().indexOf("\"mcpServers\""), -1);

  QTest::mouseClick(find<QPushButton>(screen, "connectAgent"), Qt::LeftButton);
  ASSERT_TRUE(eventually([&] { return disconnect->isEnabled(); }));
  EXPECT_EQ(noticeText(), "Cursor is connected to Tallyfin. Restart Cursor to use it.");
  EXPECT_TRUE(AgentClients::isConnected(AgentClient::cursor, home.path()));
  const QModelIndex connected = clients->rows()->indexOf("cursor").siblingAtColumn(2);
  EXPECT_EQ(connected.data().toString(), "yes");

  // The filter box narrows the list to what it names.
  auto* filter = screen->findChild<QLineEdit*>();
  QTest::keyClicks(filter, "wind");
  EXPECT_EQ(clients->sorted()->rowCount(), 1);

  auto* guide = find<CopyBlock>(screen, "agentGuide");
  QTest::mouseClick(guide->copyButton(), Qt::LeftButton);
  EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), AgentGuide::markdown(TALLYFIN_BINARY));
  EXPECT_EQ(noticeText(), "The agent guide is copied.");
}

TEST_F(SettingsWindow, HelpIsSearchedAndOpensAtTheTopicAsked) {
  auto* screen = open<HelpScreen>(Route::help);
  ASSERT_NE(screen, nullptr);
  EXPECT_EQ(screen->topics()->count(), 7);
  QTest::keyClicks(screen->search(), "crontab");
  ASSERT_EQ(screen->topics()->count(), 1);
  EXPECT_EQ(model.helpTopic(), "scheduled-scans");
  EXPECT_TRUE(screen->article()->toPlainText().contains("crontab"));
  EXPECT_FALSE(screen->findChild<QLabel*>("noMatch")->isVisible());

  QTest::keyClicks(screen->search(), " zeppelin");
  EXPECT_EQ(screen->topics()->count(), 0);
  EXPECT_TRUE(screen->findChild<QLabel*>("noMatch")->isVisible());

  screen->search()->clear();
  model.setRoute(Route::overview);
  model.openHelp("privacy");
  EXPECT_EQ(model.route(), Route::help);
  EXPECT_TRUE(screen->article()->toPlainText().startsWith("Privacy: nothing leaves your computer"));
  EXPECT_EQ(screen->topics()->currentItem()->text(), "Privacy: nothing leaves your computer");
}

TEST_F(SettingsWindow, TheSidebarMarksTheReleaseNotesUntilTheyAreOpened) {
  QListWidgetItem* entry = window.sidebar()->item(position(Route::whatsNew));
  EXPECT_TRUE(entry->text().endsWith(QString::fromUtf8("\u25cf")));
  EXPECT_TRUE(entry->font().bold());
  auto* notes = open<QWidget>(Route::whatsNew)->findChild<QTextBrowser*>();
  EXPECT_TRUE(notes->toPlainText().contains("What's new in Tallyfin"));
  EXPECT_EQ(entry->text(), "What's New");
  EXPECT_FALSE(entry->font().bold());
}

TEST_F(SettingsWindow, TheProfileRemovesKeptItemsAndDeletesScanDataButKeepsTheListAndJournal) {
  const std::string pip = home / ".cache/pip";
  const std::string npm = home / ".npm/_cacache";
  model.setKept({pip, npm}, true);
  ASSERT_TRUE(eventually([&] { return model.keep().size() == 2; }));
  auto* screen = open<ProfileScreen>(Route::profile);
  ASSERT_NE(screen, nullptr);

  ToolList* kept = screen->keepList()->kept();
  ASSERT_EQ(kept->sorted()->rowCount(), 2);
  kept->setCurrentIndex(kept->sorted()->mapFromSource(kept->rows()->indexOf(npm)));
  QTest::mouseClick(screen->keepList()->removeButton(), Qt::LeftButton);
  ASSERT_TRUE(eventually([&] { return model.keep().size() == 1; }));
  EXPECT_EQ(KeepList::paths(home.store()), std::set<std::string>{pip});
  EXPECT_EQ(kept->sorted()->rowCount(), 1);

  QTest::mouseClick(screen->deleteData(), Qt::LeftButton);
  QMessageBox* ask = nullptr;
  ASSERT_TRUE(eventually([&] { return (ask = window.findChild<QMessageBox*>()) && ask->isVisible(); }));
  for (QAbstractButton* button : ask->buttons()) {
    if (ask->buttonRole(button) == QMessageBox::DestructiveRole) QTest::mouseClick(button, Qt::LeftButton);
  }
  ASSERT_TRUE(eventually([&] { return model.scanner().report() == nullptr; }));
  EXPECT_FALSE(home.store().modificationDate(Store::File::report).has_value());
  EXPECT_EQ(KeepList::paths(home.store()), std::set<std::string>{pip});
  EXPECT_EQ(kept->sorted()->rowCount(), 1);  // still kept, though no scan names it now
}

TEST_F(SettingsWindow, TheScheduleAndAppearanceAreChosenOnTheProfile) {
  auto* screen = open<ProfileScreen>(Route::profile);
  ASSERT_NE(screen, nullptr);
  QComboBox* schedule = screen->automation()->schedule();
  EXPECT_EQ(schedule->currentText(), "Off");
  schedule->setCurrentIndex(2);
  emit schedule->activated(2);
  ASSERT_TRUE(eventually([&] { return !model.isApplyingSchedule() && model.schedule() == Schedule::weekly; }));
  EXPECT_EQ(home.environment().preferences.schedule(), Schedule::weekly);
  EXPECT_FALSE(screen->automation()->scheduleState()->text().isEmpty());

  screen->appearance()->button(2)->click();
  EXPECT_EQ(model.appearance(), Appearance::dark);
  ASSERT_TRUE(eventually([&] { return home.environment().preferences.appearance() == Appearance::dark; }));
}

}  // namespace
}  // namespace tallyfin::app
