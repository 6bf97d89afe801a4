#include "app/model/map_picture.h"

#include <algorithm>
#include <array>

#include "kit/base/text.h"

namespace tallyfin::app {
namespace {

constexpr std::array<std::pair<MapKind, std::string_view>, 3> kKindNames = {
    std::pair{MapKind::sunburst, "sunburst"}, std::pair{MapKind::treemap, "treemap"},
    std::pair{MapKind::city, "city"}};

}  // namespace

std::string_view label(MapKind kind) {
  switch (kind) {
    case MapKind::sunburst: return "Sunburst";
    case MapKind::treemap: return "Treemap";
    case MapKind::city: return "City";
  }
  return {};
}

std::optional<MapKind> mapKindNamed(std::string_view name) {
  for (const auto& [kind, named] : kKindNames) {
    if (lowercased(name) == named) return kind;
  }
  return std::nullopt;
}

size_t MapPicture::size() const {
  return std::visit([](const auto& l) { return l.shapes().size(); }, layout);
}

const map::MapEntry& MapPicture::entry(size_t index) const {
  return std::visit([index](const auto& l) -> const map::MapEntry& { return l.shapes()[index]; }, layout);
}

const std::string& MapPicture::rootPath() const {
  return std::visit([](const auto& l) -> const std::string& { return l.rootPath(); }, layout);
}

std::string MapPicture::path(size_t index) const {
  return std::visit([index](const auto& l) { return l.path(index); }, layout);
}

std::string MapPicture::folderPath(size_t index) const {
  return std::visit([index](const auto& l) { return l.folderPath(index); }, layout);
}

std::optional<size_t> MapPicture::locate(std::string_view path) const {
  return std::visit([path](const auto& l) { return l.locate(path); }, layout);
}

std::optional<size_t> MapPicture::hit(map::Point point) const {
  return std::visit([point](const auto& l) { return l.hit(point); }, layout);
}

std::optional<size_t> MapPicture::sibling(size_t index, int step) const {
  const int32_t parent = entry(index).parent;
  if (parent < 0 || step == 0) return std::nullopt;
  // Siblings follow their parent in drawing order, with the descendants of each
  // in between; walking from the parent finds them in order.
  std::vector<size_t> siblings;
  for (size_t i = static_cast<size_t>(parent) + 1; i < size(); ++i) {
    if (entry(i).parent == parent) siblings.push_back(i);
  }
  const auto at = std::find(siblings.begin(), siblings.end(), index) - siblings.begin();
  const auto wanted = at + step;
  if (wanted < 0 || wanted >= static_cast<std::ptrdiff_t>(siblings.size())) return std::nullopt;
  return siblings[static_cast<size_t>(wanted)];
}

std::shared_ptr<const MapPicture> layOut(MapKind kind, std::shared_ptr<const ScanReport> report,
                                         std::shared_ptr<const DiskNode> live, const DiskNode& folder,
                                         std::string path, map::Rect bounds) {
  auto picture = std::make_shared<MapPicture>();
  picture->kind = kind;
  picture->report = std::move(report);
  picture->live = std::move(live);
  switch (kind) {
    case MapKind::sunburst:
      picture->layout = map::sunburst(folder, std::move(path));
      break;
    case MapKind::treemap:
      picture->bounds = bounds;
      picture->layout = map::treemap(folder, std::move(path), bounds);
      break;
    case MapKind::city: {
      map::CityOptions options;
      options.now = static_cast<int64_t>(picture->report->date);
      picture->layout = map::city(folder, std::move(path), options);
      break;
    }
  }
  return picture;
}

}  // namespace tallyfin::app
