#include "app/views/map_text.h"

#include "app/views/text.h"

namespace tallyfin::app {
namespace {

QString changed(int64_t modified, double now) {
  const QString age = ageText(static_cast<double>(modified), now);
  return "changed " + (age == "today" || age == "yesterday" ? age : age + " ago");
}

}  // namespace

QString mapItemText(const MapPicture& picture, size_t index, std::string_view home) {
  const map::MapEntry& entry = picture.entry(index);
  const QString size = bytesText(entry.size);
  if (entry.aggregate()) {
    const QString where = pathText(picture.folderPath(index), home);
    const QString files = entry.files > 0 ? " in " + countOf(entry.files, "file", "files") : QString();
    if (entry.folded) {
      return qstr(map::label(entry)) + " in " + where + " \u00b7 " + size + files +
             " \u2014 too small for the scan to keep one by one; List Folder Now shows them";
    }
    return qstr(map::label(entry)) + " in " + where + " \u00b7 " + size + files +
           " \u2014 too small to draw here; zoom in to see them";
  }
  QString text = pathText(picture.path(index), home) + " \u00b7 " + size;
  if (entry.isFolder() && entry.files > 0) text += " \u00b7 " + countOf(entry.files, "file", "files");
  if (entry.modified > 0) text += " \u00b7 " + changed(entry.modified, picture.reportDate());
  if (entry.kind == DiskNode::Kind::unreadable) {
    text += " \u2014 the scan could not read it";
  } else if (entry.childrenNotHeld) {
    text += " \u2014 everything in it is too small for the scan to keep; zoom in to list it";
  } else if (entry.childrenHidden) {
    text += " \u2014 zoom in to see inside";
  }
  return text;
}

}  // namespace tallyfin::app
