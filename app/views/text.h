#pragma once

// How the app words sizes, paths, counts and times: decimal sizes with their
// unit, paths under home with "~", English number grouping.

#include <QString>

#include <cstdint>
#include <string_view>

namespace tallyfin::app {

QString qstr(std::string_view text);
// "12.3 GB", as everywhere in Tallyfin.
QString bytesText(int64_t bytes);
// "~/Projects" for a path under home.
QString pathText(std::string_view path, std::string_view home);
// "1,234,567".
QString countText(int64_t count);
// "3 items", "1 item" — or any other noun with its plural.
QString countOf(int64_t count, const QString& one, const QString& many);
// "21 Nov 2026, 09:30" in local time.
QString dateText(double secondsSince1970);
// "21 Nov 2026" in local time.
QString dayText(double secondsSince1970);
// "9.4 s", "42 s", "3 min 5 s".
QString durationText(double seconds);
// How long ago: "today", "yesterday", "5 days", "3 months", "2 years".
QString ageText(double secondsSince1970, double now);
// "+1.20 GB", "−300 MB".
QString signedBytesText(int64_t bytes);

}  // namespace tallyfin::app
