#include "app/views/docker_screen.h"

#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "app/model/app_model.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/tool_parts.h"
#include "kit/base/saturating.h"

namespace tallyfin::app {

QString dockerAdvice(const DockerReport& report) {
  if (!report.cli) {
    return "Install Docker Engine with your package manager (sudo apt install docker.io) or from "
           "docs.docker.com, then press Refresh. The disk files below, if any, are what an engine left.";
  }
  if (!report.running) {
    return "Start it with sudo systemctl start docker (or Docker Desktop, or colima start), then press Refresh.";
  }
  if (report.usage.empty()) return "Docker holds no images, containers or volumes.";
  return {};
}

DockerScreen::DockerScreen(AppModel& model, QWidget* parent)
    : ToolScreen(model, ToolResults::Tool::docker, parent),
      status_(sectionHeading({}, this)),
      advice_(stateLine(this)),
      refresh_(new QPushButton("Refresh", this)),
      usageHeading_(sectionHeading("Space Docker uses", this)),
      usageRows_(new ToolListModel({"Type", "Count", "In use", "Size", "Reclaimable"}, this)),
      usage_(new ToolList(usageRows_, "Docker's space by type", this)),
      disksHeading_(sectionHeading("Virtual machine disks", this)),
      disksNote_(textLine({}, this)),
      diskRows_(new ToolListModel({"Disk", "On disk", "Size", "Location"}, this)),
      disks_(new ToolList(diskRows_, "Virtual machine disk files", this)),
      shrink_(new CommandRow(model, "Command that shrinks the chosen disk file", this)) {
  status_->setObjectName("dockerStatus");
  status_->setAccessibleName("Docker's state");
  refresh_->setObjectName("refreshDocker");
  refresh_->setAccessibleName("Ask Docker again");
  usage_->setRootIsDecorated(false);
  disks_->setRootIsDecorated(false);
  usage_->sortByColumn(-1, Qt::AscendingOrder);  // in Docker's own order until a header is clicked
  usage_->fitRows(8);
  disks_->fitRows(5);
  disksNote_->setText(
      qstr(DockerProbe::kShrinkNote) +
      " Pruning inside Docker frees space inside these files; the command below gives it back to the disk.");

  auto* content = new QWidget(this);
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(24, 18, 24, 18);
  auto* top = new QHBoxLayout;
  top->addWidget(pageTitle("Docker", content), 1);
  top->addWidget(refresh_);
  layout->addLayout(top);
  layout->addWidget(status_);
  layout->addWidget(advice_);
  layout->addWidget(usageHeading_);
  layout->addWidget(usage_);
  layout->addWidget(disksHeading_);
  layout->addWidget(disksNote_);
  layout->addWidget(disks_);
  layout->addWidget(shrink_);
  layout->addWidget(sectionHeading("Clean-up commands", content));
  layout->addWidget(
      textLine("Docker removes what it owns itself. Copy a command and run it in a terminal; "
               "Tallyfin never runs them.",
               content));
  for (const DockerCommand& command : DockerProbe::kCommands) {
    QLabel* title = textLine(
        "<b>" + qstr(command.title).toHtmlEscaped() + "</b> \u2014 " + qstr(command.explanation).toHtmlEscaped(),
        content);
    title->setTextFormat(Qt::RichText);
    layout->addWidget(title);
    auto* row = new CommandRow(model, qstr(command.title), content);
    row->setCommand(std::string(command.command));
    layout->addWidget(row);
  }
  layout->addStretch(1);
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->addWidget(scrolling(content, this));

  connect(refresh_, &QPushButton::clicked, this, [this] { model_.tools().load(ToolResults::Tool::docker); });
  connect(disks_->selectionModel(), &QItemSelectionModel::currentChanged, this, [this] {
    const auto* row = disks_->currentRow();
    const auto& docker = model_.tools().docker;
    std::optional<std::string> command;
    if (row && docker) {
      for (const auto& disk : docker->disks) {
        if (disk.path == row->key) command = disk.shrinkCommand;
      }
    }
    shrink_->setCommand(command);
  });
  refresh();
}

void DockerScreen::refresh() {
  const auto& docker = model_.tools().docker;
  const bool loading = model_.tools().isLoading(ToolResults::Tool::docker);
  refresh_->setEnabled(!loading);
  if (!docker) {
    status_->setText(loading ? "Asking Docker\u2026" : "Docker has not been asked yet.");
    advice_->setText(loading ? "Docker answers within 15 s, or counts as not running." : QString());
    advice_->setVisible(loading);
    for (QWidget* part :
         std::initializer_list<QWidget*>{usageHeading_, usage_, disksHeading_, disksNote_, disks_, shrink_}) {
      part->setVisible(false);
    }
    return;
  }
  status_->setText(qstr(docker->status()));
  advice_->setText(loading ? "Asking Docker again\u2026" : dockerAdvice(*docker));
  advice_->setVisible(!advice_->text().isEmpty());

  std::vector<ToolListModel::Row> usage;
  int64_t size = 0, reclaimable = 0;
  for (const auto& row : docker->usage) {
    size = saturatingAdd(size, row.size);
    reclaimable = saturatingAdd(reclaimable, row.reclaimable);
    usage.push_back({row.type,
                     {{qstr(row.type), {}},
                      countCell(row.count),
                      countCell(row.active),
                      sizeCell(row.size),
                      sizeCell(row.reclaimable)}});
  }
  usageRows_->setRows(std::move(usage));
  usageHeading_->setText("Space Docker uses \u00b7 " + bytesText(size) + " \u00b7 " + bytesText(reclaimable) +
                         " reclaimable");
  usageHeading_->setVisible(!docker->usage.empty());
  usage_->setVisible(!docker->usage.empty());

  std::vector<ToolListModel::Row> disks;
  for (const auto& disk : docker->disks) {
    disks.push_back({disk.path,
                     {{qstr(disk.name), {}},
                      sizeCell(disk.allocated),
                      sizeCell(disk.logical),
                      {pathText(disk.path, model_.home()), {}}},
                     pathText(disk.path, model_.home())});
  }
  disks_->setRows(std::move(disks));
  for (QWidget* part : std::initializer_list<QWidget*>{disksHeading_, disksNote_, disks_}) {
    part->setVisible(!docker->disks.empty());
  }
  if (docker->disks.empty()) shrink_->setCommand(std::nullopt);
}

}  // namespace tallyfin::app
