#pragma once

// What every disk map layout offers besides its geometry: the shapes in drawing
// order, and the paths behind them, built only when asked for.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kit/map/map_entry.h"

namespace tallyfin::map {

template <class Shape>
class MapLayout {
 public:
  // The folder laid out, at shape 0; the path it was laid out from.
  const DiskNode* root() const { return root_; }
  const std::string& rootPath() const { return rootPath_; }

  // Every shape, parents before their children, in the order to draw them.
  const std::vector<Shape>& shapes() const { return shapes_; }

  // The full path of a shape; "" for an aggregate ("Smaller items", "12 smaller
  // items"), which is no single place on disk and never something to act on.
  std::string path(size_t index) const { return shapePath(rootPath_, shapes_, index); }

  // The folder a shape is or sits in: where "Show in folder" and a live listing start.
  std::string folderPath(size_t index) const { return shapeFolderPath(rootPath_, shapes_, index); }

  // The shape that shows a path: its own, the merged group it went into, or the
  // nearest folder drawn above it ("Show on Disk Map"). None outside the layout.
  std::optional<size_t> locate(std::string_view path) const {
    return root_ ? locateShape(*root_, rootPath_, shapes_, path) : std::nullopt;
  }

 protected:
  MapLayout() = default;
  MapLayout(const DiskNode& root, std::string rootPath, std::vector<Shape> shapes)
      : root_(&root), rootPath_(std::move(rootPath)), shapes_(std::move(shapes)) {}

  const DiskNode* root_ = nullptr;
  std::string rootPath_;
  std::vector<Shape> shapes_;
};

}  // namespace tallyfin::map
