#include "app/views/text.h"

#include <QDateTime>
#include <QLocale>

#include <cmath>

#include "kit/store/format.h"

namespace tallyfin::app {
namespace {

const QLocale& english() {
  static const QLocale locale(QLocale::English, QLocale::UnitedStates);
  return locale;
}

QDateTime local(double secondsSince1970) {
  return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(secondsSince1970 * 1000));
}

}  // namespace

QString qstr(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

QString bytesText(int64_t bytes) { return qstr(Format::bytes(bytes)); }

QString pathText(std::string_view path, std::string_view home) { return qstr(Format::shortPath(path, home)); }

QString countText(int64_t count) { return english().toString(static_cast<qlonglong>(count)); }

QString countOf(int64_t count, const QString& one, const QString& many) {
  return countText(count) + " " + (count == 1 ? one : many);
}

QString dateText(double secondsSince1970) { return english().toString(local(secondsSince1970), "d MMM yyyy, HH:mm"); }

QString dayText(double secondsSince1970) { return english().toString(local(secondsSince1970), "d MMM yyyy"); }

QString durationText(double seconds) {
  if (seconds < 10) return QString::number(seconds, 'f', 1) + " s";
  if (seconds < 60) return QString::number(std::lround(seconds)) + " s";
  const long whole = std::lround(seconds);
  return QString::number(whole / 60) + " min " + QString::number(whole % 60) + " s";
}

QString ageText(double secondsSince1970, double now) {
  const double days = std::floor((now - secondsSince1970) / 86'400);
  if (days < 1) return "today";
  if (days < 2) return "yesterday";
  if (days < 31) return countOf(static_cast<int64_t>(days), "day", "days");
  if (days < 365) return countOf(static_cast<int64_t>(days / 30.4), "month", "months");
  return countOf(static_cast<int64_t>(days / 365.25), "year", "years");
}

QString signedBytesText(int64_t bytes) {
  if (bytes < 0) return QString::fromUtf8("\u2212") + bytesText(bytes == INT64_MIN ? INT64_MAX : -bytes);
  return "+" + bytesText(bytes);
}

}  // namespace tallyfin::app
