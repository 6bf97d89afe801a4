#pragma once

// What the line under the disk map says about one item: where it is, its size,
// files and age, and, for what the report did not keep one by one, why it shows
// as it does and how to see inside.

#include <QString>

#include <string_view>

#include "app/model/map_picture.h"

namespace tallyfin::app {

QString mapItemText(const MapPicture& picture, size_t index, std::string_view home);

}  // namespace tallyfin::app
