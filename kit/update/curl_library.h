#pragma once

// libcurl, loaded the first time something is fetched rather than linked: with
// the TLS and directory libraries it pulls in, it cost every run of the command
// line about 6 MB of memory before main, though most runs never fetch anything.

#include <curl/curl.h>

namespace tallyfin {

struct CurlLibrary {
  decltype(&curl_easy_init) easyInit;
  decltype(&curl_easy_cleanup) easyCleanup;
  decltype(&curl_easy_setopt) easySetopt;
  decltype(&curl_easy_getinfo) easyGetinfo;
  decltype(&curl_easy_perform) easyPerform;
  decltype(&curl_easy_strerror) easyStrerror;
  decltype(&curl_url) url;
  decltype(&curl_url_set) urlSet;
  decltype(&curl_url_get) urlGet;
  decltype(&curl_url_cleanup) urlCleanup;
  decltype(&curl_free) free;
};

// The library, loaded and initialised once; none when it cannot be loaded.
const CurlLibrary* curlLibrary();

// Why there is no library, for a person to read.
inline constexpr const char* kCurlMissing =
    "Could not load libcurl, which updates are fetched with — install the libcurl4 package.";

}  // namespace tallyfin
