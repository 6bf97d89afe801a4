#include "kit/update/fetch_address.h"

#include <arpa/inet.h>

#include <memory>

#include "kit/base/text.h"
#include "kit/update/curl_library.h"

namespace tallyfin {
namespace {

struct CurlText {
  void operator()(char* text) const { release(text); }
  decltype(&curl_free) release;
};
using OwnedText = std::unique_ptr<char, CurlText>;

OwnedText part(const CurlLibrary& curl, CURLU* handle, CURLUPart which) {
  char* text = nullptr;
  if (curl.urlGet(handle, which, &text, 0) != CURLUE_OK) return OwnedText(nullptr, {curl.free});
  return OwnedText(text, {curl.free});
}

bool isLoopback(std::string host) {
  if (lowercased(host) == "localhost") return true;
  if (host.size() > 2 && host.front() == '[' && host.back() == ']')
    host = host.substr(1, host.size() - 2);
  in_addr v4;
  if (::inet_pton(AF_INET, host.c_str(), &v4) == 1) return (ntohl(v4.s_addr) >> 24) == 127;
  in6_addr v6;
  return ::inet_pton(AF_INET6, host.c_str(), &v6) == 1 && IN6_IS_ADDR_LOOPBACK(&v6);
}

}  // namespace

Expected<FetchAddress, Error> FetchAddress::check(std::string_view url) {
  const std::string given(url);
  const CurlLibrary* curl = curlLibrary();
  if (!curl) return fail(Error{kCurlMissing});
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> handle(curl->url(), curl->urlCleanup);
  if (!handle || curl->urlSet(handle.get(), CURLUPART_URL, given.c_str(), 0) != CURLUE_OK) {
    return fail(Error{given + " is not a web address — give one that starts with https://."});
  }
  const OwnedText scheme = part(*curl, handle.get(), CURLUPART_SCHEME);
  const OwnedText host = part(*curl, handle.get(), CURLUPART_HOST);
  if (!scheme || !host)
    return fail(Error{given + " is not a web address — give one that starts with https://."});
  const std::string schemeName = lowercased(scheme.get());
  const bool loopback = isLoopback(host.get());
  if (schemeName == "https") return FetchAddress{given, loopback};
  if (schemeName == "http" && loopback) return FetchAddress{given, true};
  if (schemeName == "http") {
    return fail(Error{
        given +
        " uses plain http, which is accepted only for this computer's own address (127.0.0.1, ::1, "
        "localhost) — use https."});
  }
  return fail(Error{given + " is not an https address — updates are fetched over HTTPS only."});
}

}  // namespace tallyfin
