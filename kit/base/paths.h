#pragma once

#include <string>
#include <string_view>

namespace tallyfin {

// Everything before the last "/": "/" when that is the first character, "" without one.
std::string_view parentPath(std::string_view path);

// The last path component.
std::string_view lastComponent(std::string_view path);

// "parent/name", with "/" as a parent giving "/name".
std::string joinPath(std::string_view parent, std::string_view name);

bool endsWith(std::string_view text, std::string_view suffix);

// "~" and "~/x" resolved against `home`; any other path as it is.
std::string expandedHome(std::string_view path, std::string_view home);

// Whether `path` lies below `folder` (not the folder itself); every path but "/" lies below "/".
bool isInside(std::string_view path, std::string_view folder);

// Whether any piece of the path is "." or "..".
bool hasDotComponents(std::string_view path);

// Calls `visit` with each non-empty piece of a slash-separated path.
template <class Visit>
void forEachComponent(std::string_view path, Visit&& visit) {
  size_t start = 0;
  while (start < path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string_view::npos) end = path.size();
    if (end > start) visit(path.substr(start, end - start));
    start = end + 1;
  }
}

}  // namespace tallyfin
