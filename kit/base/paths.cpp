#include "kit/base/paths.h"

namespace tallyfin {

std::string_view parentPath(std::string_view path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

std::string_view lastComponent(std::string_view path) {
  const size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string joinPath(std::string_view parent, std::string_view name) {
  std::string path;
  path.reserve(parent.size() + 1 + name.size());
  path += parent;
  if (path != "/") path += '/';
  path += name;
  return path;
}

bool hasDotComponents(std::string_view path) {
  bool found = false;
  forEachComponent(path, [&](std::string_view piece) { found = found || piece == "." || piece == ".."; });
  return found;
}

bool isInside(std::string_view path, std::string_view folder) {
  return path.size() > folder.size() && path.starts_with(folder) &&
         (folder == "/" || path[folder.size()] == '/');
}

std::string expandedHome(std::string_view path, std::string_view home) {
  if (path == "~" || path.starts_with("~/")) return std::string(home) + std::string(path.substr(1));
  return std::string(path);
}

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

}  // namespace tallyfin
