#include "app/views/history_screen.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>

#include "app/model/app_model.h"
#include "app/views/history_chart.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "kit/base/clock.h"
#include "kit/history/explained.h"
#include "kit/history/trends.h"

namespace tallyfin::app {
namespace {

constexpr size_t kChangesShown = 15;

QTreeWidget* list(const QStringList& headers, const QString& name, QWidget* parent) {
  auto* tree = new QTreeWidget(parent);
  tree->setHeaderLabels(headers);
  tree->setRootIsDecorated(false);
  tree->setAccessibleName(name);
  tree->setAlternatingRowColors(true);
  tree->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  tree->header()->setStretchLastSection(false);
  for (int column = 1; column < headers.size(); ++column) {
    tree->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
  }
  tree->setMinimumHeight(140);
  return tree;
}

QString statusText(Change::Status status) {
  switch (status) {
    case Change::Status::isNew: return "new";
    case Change::Status::gone: return "gone";
    case Change::Status::grew: return "grew";
    case Change::Status::shrank: return "shrank";
  }
  return {};
}

}  // namespace

HistoryScreen::HistoryScreen(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      chart_(new HistoryChart(this)),
      growth_(textLine({}, this)),
      forecast_(textLine({}, this)),
      changesLine_(textLine({}, this)),
      changes_(list({"Folder", "Change", "Now", ""}, "Changes since the previous scan", this)),
      growingLine_(textLine({}, this)),
      growing_(list({"Folder", "Per week", "Grown", "Now"}, "Folders that keep growing", this)) {
  growth_->setAccessibleName("Growth per week");
  forecast_->setAccessibleName("When the disk is full");

  auto* content = new QWidget(this);
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addWidget(pageTitle("History", content));
  layout->addWidget(sectionHeading("Used space per scan", content));
  layout->addWidget(chart_, 2);
  layout->addWidget(growth_);
  layout->addWidget(forecast_);
  layout->addSpacing(12);
  layout->addWidget(sectionHeading("Since the previous scan", content));
  layout->addWidget(changesLine_);
  layout->addWidget(changes_, 1);
  layout->addSpacing(12);
  layout->addWidget(sectionHeading("Growing folders", content));
  layout->addWidget(growingLine_);
  layout->addWidget(growing_, 1);
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->addWidget(scrolling(content, this));

  connect(&model_.scanner(), &ScanController::reportChanged, this, &HistoryScreen::refresh);
  refresh();
}

void HistoryScreen::refresh() {
  chart_->setHistory(model_.scanner().history());
  showTrend();
  showChanges();
  showGrowing();
}

void HistoryScreen::showTrend() {
  const auto& history = model_.scanner().history();
  const auto perDay = Trends::growthPerDay(history);
  if (!perDay) {
    growth_->setText("Growth: needs 2+ days of scans.");
    forecast_->setText(QString());
    forecast_->hide();
    return;
  }
  growth_->setText("Used space: " + signedBytesText(static_cast<int64_t>(*perDay * 7)) + " per week, on average.");
  forecast_->show();
  if (const auto full = Trends::fullDate(secondsSinceEpoch(), history)) {
    forecast_->setText("At this pace the disk is full around " + dayText(*full) + ".");
  } else {
    forecast_->setText("Not filling up at this pace.");
  }
}

void HistoryScreen::showChanges() {
  changes_->clear();
  const auto& report = model_.scanner().report();
  if (!report || !report->changes || report->changes->items.empty()) {
    changesLine_->setText(report && report->changes ? "Nothing changed by 100 MiB or more." : "Appears after two scans.");
    changes_->hide();
    return;
  }
  const ChangeSummary& summary = *report->changes;
  changesLine_->setText("Since the scan of " + dateText(summary.since) + ", used space changed by " +
                        signedBytesText(summary.usedDelta) + ".");
  const std::vector<Change> shown = withoutExplainedFolders(summary.items);
  for (size_t i = 0; i < shown.size() && i < kChangesShown; ++i) {
    const Change& change = shown[i];
    auto* row = new QTreeWidgetItem(changes_, {pathText(change.path, report->home), signedBytesText(change.delta),
                                               bytesText(change.after), statusText(change.status)});
    row->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    row->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
  }
  changes_->show();
}

void HistoryScreen::showGrowing() {
  growing_->clear();
  const auto& samples = model_.scanner().folderSamples();
  const auto& trends = model_.scanner().growingFolders();
  if (samples.size() < Trends::kShownMinSamples) {
    growingLine_->setText("Trends appear after 3 scans \u2014 " +
                          countOf(static_cast<int64_t>(samples.size()), "scan", "scans") + " so far.");
    growing_->hide();
    return;
  }
  if (trends.empty()) {
    growingLine_->setText("No folder keeps growing.");
    growing_->hide();
    return;
  }
  growingLine_->setText("Folders that grew across the last " +
                        countOf(static_cast<int64_t>(samples.size()), "scan", "scans") + ":");
  const std::string& home = model_.home();
  for (const auto& trend : trends) {
    auto* row = new QTreeWidgetItem(
        growing_, {pathText(trend.path, home), signedBytesText(static_cast<int64_t>(trend.perWeek)),
                   signedBytesText(trend.delta), bytesText(trend.series.empty() ? 0 : trend.series.back().size)});
    for (int column = 1; column < 4; ++column) row->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
  }
  growing_->show();
}

}  // namespace tallyfin::app
