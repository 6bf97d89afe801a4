#include "app/views/overview_screen.h"

#include <QBoxLayout>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

#include "app/model/app_model.h"
#include "app/views/colors.h"
#include "app/views/scan_panel.h"
#include "app/views/screen_parts.h"
#include "app/views/segment_bar.h"
#include "app/views/text.h"
#include "kit/cleanup/cleanup_totals.h"

namespace tallyfin::app {
namespace {

constexpr int kLegendColumns = 3;

void clear(QGridLayout* grid) {
  while (QLayoutItem* item = grid->takeAt(0)) {
    delete item->widget();
    delete item;
  }
}

// A small square in a legend's colour, drawn from the same bar so both agree.
QLabel* swatch(const QColor& color, QWidget* parent) {
  auto* square = new QLabel(parent);
  square->setFixedSize(12, 12);
  square->setAutoFillBackground(true);
  QPalette colors = square->palette();
  colors.setColor(QPalette::Window, color);
  square->setPalette(colors);
  return square;
}

}  // namespace

OverviewScreen::OverviewScreen(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      report_(new QWidget(this)),
      noReport_(textLine({}, this)),
      diskHeading_(sectionHeading({}, report_)),
      diskBar_(new SegmentBar(report_)),
      diskLine_(textLine({}, report_)),
      health_(textLine({}, report_)),
      storageBar_(new SegmentBar(report_)),
      legend_(new QGridLayout),
      cleanupLine_(textLine({}, report_)),
      review_(new QPushButton("Review Cleanup", report_)),
      hotspots_(new QGridLayout),
      lastScan_(textLine({}, report_)) {
  diskBar_->setAccessibleName("Disk space");
  storageBar_->setAccessibleName("What fills the disk");
  review_->setAccessibleName("Review the cleanup suggestions");
  review_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  diskLine_->setObjectName("diskLine");
  diskLine_->setAccessibleName("Used and free space");
  health_->setAccessibleName("Disk health");
  cleanupLine_->setAccessibleName("Space that can be freed");
  lastScan_->setAccessibleName("Last scan");

  auto* reportLayout = new QVBoxLayout(report_);
  reportLayout->setContentsMargins(0, 0, 0, 0);
  reportLayout->addWidget(diskHeading_);
  reportLayout->addWidget(diskBar_);
  reportLayout->addWidget(diskLine_);
  reportLayout->addWidget(health_);
  reportLayout->addSpacing(12);
  reportLayout->addWidget(sectionHeading("What fills it", report_));
  reportLayout->addWidget(storageBar_);
  reportLayout->addLayout(legend_);
  reportLayout->addSpacing(12);
  reportLayout->addWidget(sectionHeading("Cleanup", report_));
  reportLayout->addWidget(cleanupLine_);
  reportLayout->addWidget(review_);
  reportLayout->addSpacing(12);
  reportLayout->addWidget(sectionHeading("Biggest places", report_));
  reportLayout->addLayout(hotspots_);
  reportLayout->addSpacing(12);
  reportLayout->addWidget(lastScan_);

  auto* content = new QWidget(this);
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addWidget(pageTitle("Overview", content));
  layout->addWidget(noReport_);
  layout->addWidget(report_);
  layout->addSpacing(8);
  layout->addWidget(new ScanPanel(model_.scanner(), content));
  layout->addStretch(1);
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->addWidget(scrolling(content, this));

  connect(review_, &QPushButton::clicked, this, [this] { model_.setRoute(Route::cleanup); });
  connect(&model_.scanner(), &ScanController::reportChanged, this, &OverviewScreen::refresh);
  connect(&model_.scanner(), &ScanController::diskChanged, this, &OverviewScreen::showDisk);
  connect(&model_, &AppModel::cleanupChanged, this, &OverviewScreen::showCleanup);
  refresh();
}

void OverviewScreen::refresh() {
  const auto& report = model_.scanner().report();
  noReport_->setVisible(!report);
  noReport_->setText(noReportText(model_));
  report_->setVisible(report != nullptr);
  if (!report) return;
  showDisk();
  showStorage();
  showCleanup();
  showHotspots();
  QString last = "Last scan " + dateText(report->date) + " \u00b7 took " + durationText(report->duration) + " \u00b7 " +
                 countOf(report->fileCount, "file", "files") + " \u00b7 " + bytesText(report->scannedBytes);
  if (report->deniedCount > 0) {
    last += " \u00b7 " + countOf(report->deniedCount, "folder", "folders") + " could not be read";
  }
  lastScan_->setText(last);
}

// The disk as it is now, in df's figures: used blocks, space available to the user, size.
void OverviewScreen::showDisk() {
  const auto& report = model_.scanner().report();
  const auto& live = model_.scanner().disk();
  if (!report && !live) return;
  const DiskInfo& disk = live ? *live : report->disk;
  diskHeading_->setText("Disk " + qstr(disk.volumeName));
  diskBar_->setSegments({{"Used", disk.dataVolumeUsed, SegmentBar::Segment::Tint::used, 0},
                         {"Free", disk.free, SegmentBar::Segment::Tint::free, 0}},
                        disk.total);
  QString line = bytesText(disk.dataVolumeUsed) + " used \u00b7 " + bytesText(disk.free) + " free \u00b7 " +
                 bytesText(disk.total) + " in all";
  // What is neither used nor free to the user: blocks the file system keeps back.
  const int64_t heldBack = disk.total - disk.dataVolumeUsed - disk.free;
  if (heldBack > disk.total / 100) line += " (" + bytesText(heldBack) + " held back by the file system)";
  diskLine_->setText(line);
  const auto health = diskHealth(disk);
  health_->setVisible(health.has_value());
  if (!health) return;
  QString text = qstr(healthLabel(*health));
  if (*health != DiskHealth::healthy) text += " \u2014 " + qstr(healthExplanation(*health));
  health_->setText(text);
  tintText(health_, *health == DiskHealth::healthy    ? successColor(palette())
                    : *health == DiskHealth::critical ? errorColor(palette())
                                                      : warningColor(palette()));
}

void OverviewScreen::showStorage() {
  const auto& report = model_.scanner().report();
  std::vector<SegmentBar::Segment> segments;
  for (const auto& bucket : report->buckets) {
    segments.push_back({qstr(bucket.label), bucket.size, SegmentBar::Segment::Tint::series,
                        static_cast<int>(segments.size())});
  }
  storageBar_->setSegments(segments, report->scannedBytes);
  clear(legend_);
  int cell = 0;
  for (const auto& segment : segments) {
    const int row = cell / kLegendColumns;
    const int column = (cell % kLegendColumns) * 3;
    legend_->addWidget(swatch(storageBar_->colorOf(segment), report_), row, column);
    legend_->addWidget(new QLabel(segment.label, report_), row, column + 1);
    auto* size = new QLabel(bytesText(segment.size), report_);
    size->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    legend_->addWidget(size, row, column + 2);
    ++cell;
  }
  legend_->setColumnStretch(kLegendColumns * 3, 1);
}

void OverviewScreen::showCleanup() {
  const CleanupTotals totals = cleanupTotals(model_.cleanup(), {});
  cleanupLine_->setText(bytesText(totals.safe) + " safe to clean \u00b7 " + bytesText(totals.review) +
                        " worth reviewing \u00b7 " +
                        countOf(static_cast<int64_t>(model_.cleanup().size()), "suggestion", "suggestions"));
}

void OverviewScreen::showHotspots() {
  const auto& report = model_.scanner().report();
  clear(hotspots_);
  int row = 0;
  for (const auto& hotspot : report->hotspots) {
    auto* size = new QLabel(bytesText(hotspot.size), report_);
    size->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    hotspots_->addWidget(size, row, 0);
    // The place opens on the disk map.
    auto* place = new QLabel("<a href=\"map\">" + pathText(hotspot.path, report->home).toHtmlEscaped() + "</a>", report_);
    place->setTextFormat(Qt::RichText);
    place->setTextInteractionFlags(Qt::TextBrowserInteraction);
    place->setToolTip("Show on the disk map");
    place->setAccessibleName("Show " + pathText(hotspot.path, report->home) + " on the disk map");
    connect(place, &QLabel::linkActivated, this, [this, path = hotspot.path] { model_.showOnDiskMap(path); });
    hotspots_->addWidget(place, row, 1);
    ++row;
  }
  if (row == 0) hotspots_->addWidget(textLine("No single place of 1 GB or more.", report_), 0, 1);
  hotspots_->setColumnStretch(1, 1);
}

}  // namespace tallyfin::app
